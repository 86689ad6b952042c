#include "tests/support/DiskState.h"

#include <fmt/format.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace slicewise {

namespace {

std::string stateOf(const std::string &path)
{
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return fmt::format("mode {:o}, {} bytes, modified {}.{:09}, changed {}.{:09}", status.st_mode,
                       status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ctim.tv_sec,
                       status.st_ctim.tv_nsec);
}

} // namespace

std::map<std::string, std::string> diskState(const std::string &hostDirectory)
{
    std::map<std::string, std::string> state;
    state[""] = stateOf(hostDirectory);
    for (const auto &entry : std::filesystem::recursive_directory_iterator(hostDirectory)) {
        const std::string path = entry.path().string();
        state[path.substr(hostDirectory.size())] = stateOf(path);
    }
    return state;
}

} // namespace slicewise
