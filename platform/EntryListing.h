// The entries of an open directory one after the other, while they are being removed.
//
// Keeps a buffer of one stretch, whatever the directory holds. Removing what has been given, or anything
// else, between two steps is what it is for: what is listed is what was there all the time, and what comes
// meanwhile may be listed or not (readdir(3)). Used by one thread.
#pragma once

#include "platform/Result.h"
#include "platform/SystemCalls.h"
#include "platform/UniqueFd.h"

#include <dirent.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace slicewise {

class EntryListing {
public:
    /// The calls are borrowed.
    explicit EntryListing(const SystemCalls &calls) : m_calls(&calls) {}

    /// Owns the directory from now on, and lists it from its start.
    void begin(UniqueFd directory);
    /// The buffer stays for the next one.
    void close();
    [[nodiscard]] int directory() const { return m_directory.get(); }

    enum class Kind : std::uint8_t { Directory, Other, Unknown };
    struct Entry {
        const char *name = nullptr; ///< until the next step; null: there are no more
        Kind kind = Kind::Unknown;
    };
    /// "." and ".." are left out.
    [[nodiscard]] Result<Entry> next();

private:
    [[nodiscard]] Result<Entry> nextByStream();

    const SystemCalls *m_calls;
    UniqueFd m_directory;
    std::vector<std::byte> m_records;
    std::size_t m_at = 0;
    std::size_t m_end = 0;

    struct StreamCloser {
        void operator()(DIR *stream) const { ::closedir(stream); }
    };
    std::unique_ptr<DIR, StreamCloser> m_stream; ///< only where the platform has no getdents64
};

} // namespace slicewise
