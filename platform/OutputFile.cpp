#include "platform/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace slicewise {

namespace {

constexpr ::mode_t kForEveryone =
    S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH; // but the umask's

bool isRegular(int file)
{
    struct stat status = {};
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

OutputFile::OutputFile(UniqueFd file) : m_file(std::move(file)) {}

Result<OutputFile> OutputFile::open(const std::string &path)
{
    UniqueFd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY, kForEveryone));
    if (!file) {
        return ErrorNumber{errno};
    }
    return OutputFile(std::move(file));
}

int OutputFile::replaceContent(std::string_view bytes)
{
    // A device or a pipe has no end to cut off.
    if (isRegular(m_file.get()) && ::ftruncate(m_file.get(), 0) != 0) {
        return errno;
    }
    while (!bytes.empty()) {
        const ::ssize_t written = ::write(m_file.get(), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return 0;
}

} // namespace slicewise
