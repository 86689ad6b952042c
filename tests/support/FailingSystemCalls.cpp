#include "tests/support/FailingSystemCalls.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace slicewise {

namespace {

constexpr std::size_t indexOf(FailingSystemCalls::Function function)
{
    return static_cast<std::size_t>(function);
}

void hideTypes(std::span<std::byte> records)
{
    for (std::size_t at = 0; at < records.size();) {
        std::uint16_t length = 0;
        std::memcpy(&length, records.data() + at + offsetof(dirent64, d_reclen), sizeof length);
        records[at + offsetof(dirent64, d_type)] = std::byte{DT_UNKNOWN};
        at += length;
    }
}

} // namespace

std::array<FailingSystemCalls::Function, FailingSystemCalls::kFunctionCount> FailingSystemCalls::
    allFunctions()
{
    return {Function::OpenWithoutLinks, Function::OpenBeneath, Function::OpenAt,       Function::StatAt,
            Function::StatOpen,         Function::MountOf,     Function::FileSystemOf, Function::ReadLinkAt,
            Function::ReadAt,           Function::LockRange,   Function::ReadEntries,  Function::UnlinkAt};
}

const char *FailingSystemCalls::nameOf(Function function)
{
    static constexpr std::array kNames = {"openWithoutLinks", "openBeneath", "openAt",       "statAt",
                                          "statOpen",         "mountOf",     "fileSystemOf", "readLinkAt",
                                          "readAt",           "lockRange",   "readEntries",  "unlinkAt"};
    return kNames.at(indexOf(function));
}

void FailingSystemCalls::addRule(Function function, Rule rule)
{
    const std::lock_guard lock(m_mutex);
    m_rules.at(indexOf(function)).push_back(std::move(rule));
}

void FailingSystemCalls::failNth(Function function, std::uint64_t n, int error)
{
    const std::uint64_t failing = count(function) + n;
    addRule(function, [failing, error](const Call &call) { return call.number == failing ? error : 0; });
}

void FailingSystemCalls::failEach(Function function, int error)
{
    addRule(function, [error](const Call &) { return error; });
}

void FailingSystemCalls::failWhere(Function function, std::function<bool(const Call &call)> condition,
                                   int error)
{
    addRule(function, [condition = std::move(condition), error](const Call &call) {
        return condition(call) ? error : 0;
    });
}

void FailingSystemCalls::runBefore(Function function, std::function<void(const Call &call)> hook)
{
    addRule(function, [hook = std::move(hook)](const Call &call) {
        hook(call);
        return 0;
    });
}

void FailingSystemCalls::hideEntryTypes()
{
    const std::lock_guard lock(m_mutex);
    m_typesHidden = true;
}

void FailingSystemCalls::limitRecords(std::size_t bytes)
{
    const std::lock_guard lock(m_mutex);
    m_recordBytes = bytes;
}

void FailingSystemCalls::heal()
{
    const std::lock_guard lock(m_mutex);
    m_recordBytes = kNoLimit;
    for (std::vector<Rule> &rules : m_rules) {
        rules.clear();
    }
    m_typesHidden = false;
}

std::uint64_t FailingSystemCalls::count(Function function) const
{
    const std::lock_guard lock(m_mutex);
    return m_counts.at(indexOf(function));
}

bool FailingSystemCalls::passes(Function function, int directory, const char *path, int flags) const
{
    Call call{.function = function,
              .number = 0,
              .directory = directory,
              .path = path != nullptr ? path : "",
              .flags = flags};
    std::vector<Rule> rules;
    {
        const std::lock_guard lock(m_mutex);
        call.number = ++m_counts.at(indexOf(function));
        rules = m_rules.at(indexOf(function));
    }
    for (const Rule &rule : rules) {
        if (const int error = rule(call); error != 0) {
            errno = error;
            return false;
        }
    }
    return true;
}

int FailingSystemCalls::openWithoutLinks(int directory, const char *path, int flags) const
{
    return passes(Function::OpenWithoutLinks, directory, path, flags)
               ? SystemCalls::openWithoutLinks(directory, path, flags)
               : -1;
}

int FailingSystemCalls::openBeneath(int directory, const char *path, int flags) const
{
    return passes(Function::OpenBeneath, directory, path, flags)
               ? SystemCalls::openBeneath(directory, path, flags)
               : -1;
}

int FailingSystemCalls::openAt(int directory, const char *path, int flags) const
{
    return passes(Function::OpenAt, directory, path, flags) ? SystemCalls::openAt(directory, path, flags)
                                                            : -1;
}

int FailingSystemCalls::statAt(int directory, const char *path, struct stat *status, int flags) const
{
    return passes(Function::StatAt, directory, path, flags)
               ? SystemCalls::statAt(directory, path, status, flags)
               : -1;
}

int FailingSystemCalls::statOpen(int descriptor, struct stat *status) const
{
    return passes(Function::StatOpen, descriptor, nullptr, 0) ? SystemCalls::statOpen(descriptor, status)
                                                              : -1;
}

int FailingSystemCalls::mountOf(int descriptor, std::uint64_t *mount) const
{
    return passes(Function::MountOf, descriptor, nullptr, 0) ? SystemCalls::mountOf(descriptor, mount) : -1;
}

int FailingSystemCalls::fileSystemOf(int descriptor, FileSystemFacts *facts) const
{
    return passes(Function::FileSystemOf, descriptor, nullptr, 0)
               ? SystemCalls::fileSystemOf(descriptor, facts)
               : -1;
}

ssize_t FailingSystemCalls::readLinkAt(int directory, const char *path, std::span<char> target) const
{
    return passes(Function::ReadLinkAt, directory, path, 0) ? SystemCalls::readLinkAt(directory, path, target)
                                                            : -1;
}

ssize_t FailingSystemCalls::readAt(int file, std::span<std::byte> into, std::uint64_t offset) const
{
    return passes(Function::ReadAt, file, nullptr, 0) ? SystemCalls::readAt(file, into, offset) : -1;
}

int FailingSystemCalls::lockRange(int file, short type, std::uint64_t offset, std::uint64_t length) const
{
    return passes(Function::LockRange, file, nullptr, type)
               ? SystemCalls::lockRange(file, type, offset, length)
               : -1;
}

ssize_t FailingSystemCalls::readEntries(int directory, std::span<std::byte> records) const
{
    if (!passes(Function::ReadEntries, directory, nullptr, 0)) {
        return -1;
    }
    bool typesHidden = false;
    {
        const std::lock_guard lock(m_mutex);
        typesHidden = m_typesHidden;
        records = records.first(std::min(records.size(), m_recordBytes));
    }
    const ssize_t length = SystemCalls::readEntries(directory, records);
    if (length > 0 && typesHidden) {
        hideTypes(records.first(static_cast<std::size_t>(length)));
    }
    return length;
}

int FailingSystemCalls::unlinkAt(int directory, const char *path, int flags) const
{
    return passes(Function::UnlinkAt, directory, path, flags) ? SystemCalls::unlinkAt(directory, path, flags)
                                                              : -1;
}

} // namespace slicewise
