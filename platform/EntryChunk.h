// A stretch of one directory's entries, packed: the names in one buffer, sizes and types beside it.
//
// Only regular files and directories are in it, in the order in which the file system listed them; links,
// sockets, fifos and devices are left out by whoever fills it. A chunk belongs to one thread at a time and
// is handed on and reused whole, so that a walk over millions of files allocates a few dozen of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

enum class EntryType : std::uint8_t { RegularFile, Directory };

class EntryChunk {
public:
    struct Entry {
        std::uint64_t sizeBytes = 0; ///< apparent size (st_size) of a regular file; 0 for a directory
        std::uint32_t nameOffset = 0;
        std::uint16_t nameLength = 0;
        EntryType type = EntryType::RegularFile;
    };

    /// A regular file whose size could not be read; its entry is there with size 0.
    struct Failure {
        std::uint32_t entry = 0; ///< index into entries()
        int error = 0;           ///< errno
    };

    /// A name as a directory entry has it: no "/", at most 65535 bytes (kernels stop at 255).
    void append(std::string_view name, EntryType type, std::uint64_t sizeBytes)
    {
        m_entries.push_back(Entry{.sizeBytes = sizeBytes,
                                  .nameOffset = static_cast<std::uint32_t>(m_names.size()),
                                  .nameLength = static_cast<std::uint16_t>(name.size()),
                                  .type = type});
        m_names.append(name);
    }
    void setSize(std::size_t entry, std::uint64_t sizeBytes) { m_entries[entry].sizeBytes = sizeBytes; }
    void addFailure(std::size_t entry, int error)
    {
        m_failures.push_back({.entry = static_cast<std::uint32_t>(entry), .error = error});
    }

    /// Empties it and keeps the memory for the next stretch.
    void clear()
    {
        m_entries.clear();
        m_names.clear();
        m_failures.clear();
    }

    [[nodiscard]] bool empty() const { return m_entries.empty(); }
    [[nodiscard]] std::size_t size() const { return m_entries.size(); }
    [[nodiscard]] const std::vector<Entry> &entries() const { return m_entries; }
    [[nodiscard]] const std::vector<Failure> &failures() const { return m_failures; }
    /// Valid until the chunk is next changed.
    [[nodiscard]] std::string_view name(const Entry &entry) const
    {
        return std::string_view(m_names).substr(entry.nameOffset, entry.nameLength);
    }

private:
    std::vector<Entry> m_entries;
    std::string m_names;
    std::vector<Failure> m_failures;
};

} // namespace slicewise
