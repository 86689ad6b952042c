#include "platform/TreeRemoval.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace slicewise {

namespace {

constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

// How often one directory is listed. Once is enough on most file systems; some leave entries out of a listing
// when others are removed meanwhile. Whoever fills a directory faster than this empties it wins.
constexpr unsigned kMostPasses = 16;

bool saysNotEmpty(int error)
{
    return error == ENOTEMPTY || error == EEXIST;
}

// Whether a name does not lead to the directory any more that it led to.
bool saysMoved(int error)
{
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ESTALE;
}

FileIdentity identityOf(const struct stat &status)
{
    return {.device = status.st_dev, .inode = status.st_ino};
}

} // namespace

TreeRemoval::TreeRemoval(const SystemCalls &calls, std::size_t mostOpen) : m_calls(calls)
{
    mostOpen = std::max<std::size_t>(mostOpen, 1);
    m_listings.reserve(mostOpen);
    for (std::size_t i = 0; i < mostOpen; ++i) {
        m_listings.emplace_back(calls);
    }
}

Result<std::uint64_t> TreeRemoval::remove(int parent, const std::string &name)
{
    m_parent = parent;
    m_error = 0;
    m_removed = 0;
    removeSubdirectory(name.c_str());
    while (!m_levels.empty()) {
        step();
    }
    if (m_error != 0) {
        return ErrorNumber{m_error};
    }
    return m_removed;
}

void TreeRemoval::step()
{
    Level &level = m_levels.back();
    const Result<EntryListing::Entry> entry = listingOf(m_levels.size() - 1).next();
    level.hasJustResumed = false;
    if (!entry) {
        noteFailure("", entry.error());
        leave();
    } else if (entry->name == nullptr) {
        level.hasLostItsPlace = level.isSkipping;
        leave();
    } else if (level.isSkipping) {
        level.isSkipping = level.lastFailed != entry->name;
    } else {
        removeEntry(entry->name, entry->kind);
    }
}

// ---- one entry

void TreeRemoval::removeEntry(const char *name, EntryListing::Kind kind)
{
    if (kind == EntryListing::Kind::Directory || !removeFile(name)) {
        removeSubdirectory(name);
    }
}

bool TreeRemoval::removeFile(const char *name)
{
    if (m_calls.unlinkAt(innermost(), name, 0) == 0) {
        noteRemoved();
        return true;
    }
    const int error = errno;
    if (error == EISDIR) {
        return false;
    }
#if !defined(__linux__)
    // What other systems say of a directory.
    struct stat status = {};
    if (error == EPERM && m_calls.statAt(innermost(), name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISDIR(status.st_mode)) {
        return false;
    }
#endif
    if (error != ENOENT) { // somebody else was faster
        noteFailure(name, error);
    }
    return true;
}

void TreeRemoval::removeSubdirectory(const char *name)
{
    const bool isTop = m_levels.empty();
    const int error = enter(innermost(), name);
    if (error == 0 || (error == ENOENT && !isTop)) {
        return;
    }
    if (error == EACCES) {
        removeWhatCannotBeListed(name);
    } else if ((error == ENOTDIR || error == ELOOP) && !isTop) {
        // Something else has its name by now. Should that be a directory once more, it is left to the next
        // pass.
        if (!removeFile(name)) {
            noteFailure(name, error);
        }
    } else {
        noteFailure(name, error);
    }
}

// An empty directory need not be listed.
void TreeRemoval::removeWhatCannotBeListed(const char *name)
{
    if (m_calls.unlinkAt(innermost(), name, AT_REMOVEDIR) == 0) {
        noteRemoved();
    } else {
        noteFailure(name, saysNotEmpty(errno) ? EACCES : errno);
    }
}

// ---- down

int TreeRemoval::innermost()
{
    return m_levels.empty() ? m_parent : listingOf(m_levels.size() - 1).directory();
}

int TreeRemoval::enter(int holder, const char *name)
{
    Level level;
    level.nameAt = m_names.size();
    m_names.append(name).push_back('\0');
    return enterAs(holder, std::move(level));
}

// The level's name is the last one in m_names, and goes from there on failure.
int TreeRemoval::enterAs(int holder, Level level)
{
    const std::size_t index = m_levels.size();
    const char *name = m_names.c_str() + level.nameAt;
    Result<UniqueFd> opened = openInside(holder, name);
    if (!opened && (opened.error() == EMFILE || opened.error() == ENFILE) && index > m_firstOpen + 1) {
        closeUpTo(index - 1);
        opened = openInside(holder, name);
    }
    struct stat status = {};
    int error = opened.error();
    if (error == 0 && m_calls.statOpen(opened->get(), &status) != 0) {
        error = errno;
    }
    if (error == 0 && level.passes > 1 && identityOf(status) != level.identity) {
        error = ENOTEMPTY; // one pass more was for the directory that had this name
    }
    if (error != 0) {
        m_names.resize(level.nameAt);
        return error;
    }
    level.identity = identityOf(status);
    if (index - m_firstOpen == m_listings.size()) {
        closeUpTo(m_firstOpen + 1);
    }
    listingOf(index).begin(std::move(opened).value());
    m_levels.push_back(std::move(level));
    return 0;
}

void TreeRemoval::closeUpTo(std::size_t level)
{
    for (; m_firstOpen < level; ++m_firstOpen) {
        listingOf(m_firstOpen).close();
    }
}

Result<UniqueFd> TreeRemoval::openInside(int holder, const char *name)
{
    if (m_opensInOneCall) {
        // The call itself refuses links, and then says so.
        UniqueFd opened(m_calls.openBeneath(holder, name, kOpenDirectory & ~O_NOFOLLOW));
        if (opened) {
            return opened;
        }
        if (errno != ENOSYS && errno != EPERM) {
            return ErrorNumber{errno == EXDEV ? EBUSY : errno};
        }
        m_opensInOneCall = false;
    }
    UniqueFd opened(m_calls.openAt(holder, name, kOpenDirectory));
    if (!opened) {
        // O_DIRECTORY says ENOTDIR of a link. One answer for both ways.
        const int error = errno;
        struct stat status = {};
        const bool isLink = error == ENOTDIR &&
                            m_calls.statAt(holder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                            S_ISLNK(status.st_mode);
        return ErrorNumber{isLink ? ELOOP : error};
    }
    if (const int error = checkIsNoMountPoint(holder, opened.get()); error != 0) {
        return ErrorNumber{error};
    }
    return opened;
}

int TreeRemoval::checkIsNoMountPoint(int holder, int directory)
{
    std::uint64_t mount = 0;
    std::uint64_t mountAbove = 0;
    if (m_calls.mountOf(directory, &mount) == 0 && m_calls.mountOf(holder, &mountAbove) == 0) {
        return mount == mountAbove ? 0 : EBUSY;
    }
    if (errno != ENOSYS) {
        return errno;
    }
    // What is left tells another file system, but not another part of the same one.
    struct stat status = {};
    struct stat statusAbove = {};
    if (m_calls.statOpen(directory, &status) != 0 || m_calls.statOpen(holder, &statusAbove) != 0) {
        return errno;
    }
    return status.st_dev == statusAbove.st_dev ? 0 : EBUSY;
}

// ---- up

void TreeRemoval::leave()
{
    const std::size_t index = m_levels.size() - 1;
    if (index == 0 || m_firstOpen < index) {
        listingOf(index).close();
    } else if (const int error = openAbove(); error != 0 && !walkAgainFromTheTop(error)) {
        return;
    }
    const Level level = std::move(m_levels.back());
    const std::string name = m_names.c_str() + level.nameAt;
    m_levels.pop_back();
    m_names.resize(level.nameAt);
    m_firstOpen = std::min(m_firstOpen, m_levels.size());
    if (level.hasFailed && !m_levels.empty()) {
        m_levels.back().hasFailed = true;
    }
    removeEmptied(level, name);
}

// The innermost level is the only one that is open; opens the one above it, which takes its place.
int TreeRemoval::openAbove()
{
    const std::size_t index = m_levels.size() - 1;
    UniqueFd opened(m_calls.openAt(innermost(), "..", kOpenDirectory));
    struct stat status = {};
    if (!opened || m_calls.statOpen(opened.get(), &status) != 0) {
        return errno;
    }
    if (identityOf(status) != m_levels[index - 1].identity) {
        return ESTALE;
    }
    listingOf(index).close();
    resume(index - 1, std::move(opened));
    return 0;
}

// The innermost level has been moved, or the one above it can't be opened from there for another reason.
// Opens the one furthest down that is still at its place. True where that is the one above; otherwise those
// below it are given up, and whatever has their place by now is met when it is listed again.
bool TreeRemoval::walkAgainFromTheTop(int error)
{
    closeUpTo(m_levels.size());
    const std::size_t wanted = m_levels.size() - 1;
    UniqueFd at;
    std::size_t found = 0;
    for (; found < wanted; ++found) {
        const Level &level = m_levels[found];
        Result<UniqueFd> opened = openInside(at ? at.get() : m_parent, m_names.c_str() + level.nameAt);
        struct stat status = {};
        if (!opened || m_calls.statOpen(opened->get(), &status) != 0) {
            error = opened ? errno : opened.error();
            break;
        }
        if (identityOf(status) != level.identity) {
            error = ESTALE;
            break;
        }
        at = std::move(opened).value();
    }
    if (found == wanted) {
        resume(found - 1, std::move(at));
        return true;
    }
    const std::string lost = m_names.c_str() + m_levels[found].nameAt;
    m_names.resize(m_levels[found].nameAt);
    m_levels.resize(found);
    m_firstOpen = 0;
    if (found > 0) {
        resume(found - 1, std::move(at));
    }
    // Who moves directories again and again does not keep us here.
    if (found == 0 || !saysMoved(error) || ++m_levels.back().passes >= kMostPasses) {
        noteFailure(lost.c_str(), error);
    }
    return false;
}

void TreeRemoval::resume(std::size_t index, UniqueFd directory)
{
    Level &level = m_levels[index];
    listingOf(index).begin(std::move(directory));
    m_firstOpen = index;
    level.isSkipping = !level.lastFailed.empty();
    level.hasJustResumed = true;
}

// The level's directory has been emptied as far as that went; the one that it lies in is the innermost again.
void TreeRemoval::removeEmptied(const Level &level, const std::string &name)
{
    if (m_calls.unlinkAt(innermost(), name.c_str(), AT_REMOVEDIR) == 0) {
        noteRemoved();
        return;
    }
    const int error = errno;
    const bool isTop = m_levels.empty();
    if (saysNotEmpty(error) && deservesAnotherPass(level)) {
        Level again;
        again.nameAt = m_names.size();
        again.identity = level.identity;
        again.passes = level.passes + 1;
        again.hasFailed = level.hasFailed;
        m_names.append(name).push_back('\0');
        if (enterAs(innermost(), std::move(again)) == 0) {
            return;
        }
    }
    if (error == ENOTDIR && !isTop) { // somebody has put something else in its place
        if (!removeFile(name.c_str())) {
            noteFailure(name.c_str(), error);
        }
    } else if (error != ENOENT || isTop) {
        noteFailure(name.c_str(), error);
    }
}

bool TreeRemoval::deservesAnotherPass(const Level &level)
{
    return level.passes < kMostPasses && (level.hasLostItsPlace || (level.hasRemoved && !level.hasFailed));
}

// ---- what has happened

void TreeRemoval::noteRemoved()
{
    ++m_removed;
    if (!m_levels.empty()) {
        m_levels.back().hasRemoved = true;
    }
}

void TreeRemoval::noteFailure(const char *name, int error)
{
    if (m_error == 0) {
        m_error = error;
    }
    if (!m_levels.empty()) {
        Level &level = m_levels.back();
        level.hasFailed = true;
        level.lastFailed = name;
        // It was met before the listing began anew, and would be met again.
        level.isSkipping = level.isSkipping || level.hasJustResumed;
    }
}

} // namespace slicewise
