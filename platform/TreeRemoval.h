// Removes a directory with all that is in it, relative to the open directory that it lies in.
//
// It goes down one name at a time and removes by the descriptor of the directory that a name was listed in,
// so nothing that is renamed or replaced meanwhile leads out of the tree:
//
// - Going down, neither a link nor a mount point is passed (openat2(2); where the kernel refuses that call,
//   O_NOFOLLOW and a look at the mount). unlinkat(2) follows no link: what has become one since it was listed
//   goes as the link that it is.
// - Going up, a directory whose descriptor is still open is where it was listed, wherever it lies by now. One
//   that had to be closed is opened as ".." and has to be the same (st_dev, st_ino). If it is not, somebody
//   has moved what we were in, and the names are walked again from the top, each directory compared; what has
//   been moved out of the tree is left alone.
//
// Descriptors and buffers are those of the few directories that are furthest down. A directory that was
// closed is listed from its start again: all that could be removed is gone from it, and what could not is
// passed over up to the last failure. Memory grows with the depth alone. Used by one thread.
#pragma once

#include "platform/Device.h"
#include "platform/EntryListing.h"
#include "platform/Result.h"
#include "platform/SystemCalls.h"
#include "platform/UniqueFd.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace slicewise {

class TreeRemoval {
public:
    /// mostOpen: directories of the tree that are open between two steps, at least 1; two more are for a
    /// moment. The calls are borrowed.
    TreeRemoval(const SystemCalls &calls, std::size_t mostOpen);

    /// The number of entries removed, the directory included, or the first failure; see Remover. ELOOP and
    /// ENOTDIR where the name is a link or no directory; nothing is removed then.
    Result<std::uint64_t> remove(int parent, const std::string &name);

private:
    /// A directory on the way from the top to the one that is being emptied.
    struct Level {
        std::size_t nameAt = 0; ///< in m_names
        FileIdentity identity;
        unsigned passes = 1;          ///< how often its listing has begun without need to skip
        bool hasRemoved = false;      ///< something that lies in it, in this pass
        bool hasFailed = false;       ///< to remove something below it
        bool isSkipping = false;      ///< what comes before lastFailed has been tried already
        bool hasJustResumed = false;  ///< the listing has begun anew and given nothing yet
        bool hasLostItsPlace = false; ///< what it was to skip up to is not there any more
        std::string lastFailed;       ///< the last entry that could not be removed
    };

    void step();
    void removeEntry(const char *name, EntryListing::Kind kind);
    /// Whether it is dealt with: gone, or failed. False for a directory.
    bool removeFile(const char *name);
    void removeSubdirectory(const char *name);
    void removeWhatCannotBeListed(const char *name);
    void leave();
    void removeEmptied(const Level &level, const std::string &name);
    [[nodiscard]] static bool deservesAnotherPass(const Level &level);

    /// 0, or the errno; the directory is the last level then. The name may lie in the listing's buffer.
    int enter(int holder, const char *name);
    int enterAs(int holder, Level level);
    Result<UniqueFd> openInside(int holder, const char *name);
    int checkIsNoMountPoint(int holder, int directory);
    int openAbove();
    bool walkAgainFromTheTop(int error);
    void resume(std::size_t index, UniqueFd directory);
    void closeUpTo(std::size_t level);

    void noteRemoved();
    void noteFailure(const char *name, int error);

    [[nodiscard]] EntryListing &listingOf(std::size_t level) { return m_listings[level % m_listings.size()]; }
    [[nodiscard]] int innermost();

    const SystemCalls &m_calls;
    std::vector<EntryListing> m_listings; ///< a ring: those of the levels from m_firstOpen on
    std::vector<Level> m_levels;
    std::string m_names; ///< of the levels, each with a null byte behind it
    std::size_t m_firstOpen = 0;
    int m_parent = -1;
    int m_error = 0;
    std::uint64_t m_removed = 0;
    bool m_opensInOneCall = true; ///< openat2 has not been refused yet
};

} // namespace slicewise
