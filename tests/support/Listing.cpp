#include "tests/support/Listing.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace slicewise {

std::ostream &operator<<(std::ostream &stream, const ListedEntry &entry)
{
    stream << (entry.type == EntryType::Directory ? "directory " : "file ") << entry.name << " of "
           << entry.sizeBytes << " bytes";
    if (entry.error != 0) {
        stream << ", error " << entry.error;
    }
    return stream;
}

ListedEntry listedFile(std::string name, std::uint64_t sizeBytes, int error)
{
    return {.name = std::move(name), .type = EntryType::RegularFile, .sizeBytes = sizeBytes, .error = error};
}

ListedEntry listedDirectory(std::string name)
{
    return {.name = std::move(name), .type = EntryType::Directory, .sizeBytes = 0, .error = 0};
}

std::vector<ListedEntry> Listing::sorted() const
{
    std::vector<ListedEntry> copy = entries;
    std::sort(copy.begin(), copy.end(),
              [](const ListedEntry &left, const ListedEntry &right) { return left.name < right.name; });
    return copy;
}

Listing listDirectory(DirectoryReader &reader, const std::string &path)
{
    Listing listing;
    if (const Result<FileIdentity> opened = reader.open(path); !opened) {
        listing.error = opened.error();
        return listing;
    }
    EntryChunk chunk;
    while (true) {
        const Result<DirectoryReader::Progress> progress = reader.next(chunk);
        const std::size_t first = listing.entries.size();
        for (const EntryChunk::Entry &entry : chunk.entries()) {
            listing.entries.push_back({.name = std::string(chunk.name(entry)),
                                       .type = entry.type,
                                       .sizeBytes = entry.sizeBytes,
                                       .error = 0});
        }
        for (const EntryChunk::Failure &failure : chunk.failures()) {
            listing.entries.at(first + failure.entry).error = failure.error;
        }
        if (!progress) {
            listing.error = progress.error();
            return listing;
        }
        if (*progress == DirectoryReader::Progress::End) {
            return listing;
        }
        ++listing.stretches;
    }
}

Listing listDirectory(const Device &device, const std::string &path)
{
    return listDirectory(*device.makeReader(), path);
}

} // namespace slicewise
