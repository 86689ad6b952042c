#include "tests/support/SetUserIdCopy.h"

#include "tests/support/RunProgram.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <sstream>

namespace slicewise {

namespace {

bool honoursTheBit(const std::string &directory)
{
    struct statvfs facts = {};
    return ::statvfs(directory.c_str(), &facts) == 0 && (facts.f_flag & (ST_NOSUID | ST_NOEXEC)) == 0;
}

std::string contentOf(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
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

void SetUserIdCopy::bringLibraries() const
{
    // Lines as "libm.so.6 => /lib/x86_64-linux-gnu/libm.so.6 (0x00007f...)", and the loader's path alone.
    std::istringstream lines(runProgram({.arguments = {"ldd", m_path}}).standardOutput);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t start = line.find('/');
        if (start != std::string::npos) {
            const std::string library = line.substr(start, line.find(' ', start) - start);
            m_directory->writeFile(library.substr(1), contentOf(library));
            m_directory->setMode(library.substr(1), 0755);
        }
    }
}

void SetUserIdCopy::copy(const std::string &program, const TemporaryDirectory &directory)
{
    directory.writeFile("program", contentOf(program));
    directory.setMode("program", 04755);
    m_path = directory.pathOf("program");
}

} // namespace slicewise
