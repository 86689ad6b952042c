#include "tests/support/SetUserIdCopy.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

namespace slicewise {

namespace {

bool honoursTheBit(const std::string &directory)
{
    struct statvfs facts = {};
    return ::statvfs(directory.c_str(), &facts) == 0 && (facts.f_flag & (ST_NOSUID | ST_NOEXEC)) == 0;
}

} // namespace

SetUserIdCopy::SetUserIdCopy(const std::string &program)
{
    if (::geteuid() != 0) {
        m_why = "only root can make a program that belongs to root";
        return;
    }
    for (const auto where : {TemporaryDirectory::Lies::Anywhere, TemporaryDirectory::Lies::OnDisk}) {
        m_directory = std::make_unique<TemporaryDirectory>(where);
        if (honoursTheBit(m_directory->path())) {
            copy(program, *m_directory);
            return;
        }
    }
    m_why = "the file systems of temporary files are mounted nosuid or noexec";
}

void SetUserIdCopy::copy(const std::string &program, const TemporaryDirectory &directory)
{
    std::ifstream stream(program, std::ios::binary);
    directory.writeFile("program", std::string(std::istreambuf_iterator<char>(stream), {}));
    directory.setMode("program", 04755);
    m_path = directory.pathOf("program");
}

} // namespace slicewise
