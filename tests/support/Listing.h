// What a device lists, in a shape that a test can compare.
#pragma once

#include "platform/Device.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace slicewise {

struct ListedEntry {
    std::string name;
    EntryType type = EntryType::RegularFile;
    std::uint64_t sizeBytes = 0;
    int error = 0; ///< why the size is not known; 0 where it is

    friend bool operator==(const ListedEntry &, const ListedEntry &) = default;
    friend std::ostream &operator<<(std::ostream &stream, const ListedEntry &entry);
};

[[nodiscard]] ListedEntry listedFile(std::string name, std::uint64_t sizeBytes, int error = 0);
[[nodiscard]] ListedEntry listedDirectory(std::string name);

struct Listing {
    std::vector<ListedEntry> entries;
    std::size_t stretches = 0;
    int error = 0; ///< of opening, or of what ended the reading; 0 where it came to the end

    /// In the order of the names.
    [[nodiscard]] std::vector<ListedEntry> sorted() const;
};

[[nodiscard]] Listing listDirectory(DirectoryReader &reader, const std::string &path);
/// With a reader of its own.
[[nodiscard]] Listing listDirectory(const Device &device, const std::string &path);

} // namespace slicewise
