// A whole device of the kind that Slicewise looks at, made up and written to a folder: operating system,
// applications in both layouts, media with its library, messages with their attachments, photos, packages,
// logs and all the rest, of any size.
//
// Lists, databases and tables are real, and as a running device has them (the last messages are only in the
// write-ahead log of theirs); every other file is sparse, so that tens of gigabytes take a few megabytes of
// disk. One seed and scale always give the same tree: names, sizes, contents, times. Needs no privileges and
// no test framework. Failures throw std::system_error or std::runtime_error and leave what there is by then.
// One thread for each folder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace slicewise {

struct SampleDeviceOptions {
    std::uint64_t seed = 1;
    /// How many times as many files of each kind as on a device of about 6,000 files and 40 GB; more than 0.
    /// What there is one of, and each special case, is there at any scale. The number of packages is always
    /// the same, they have more files.
    double scale = 1;
};

struct SampleFile {
    std::string path; ///< on the device, without links
    std::uint64_t sizeBytes = 0;
    std::string category; ///< where Slicewise files it, known from what it was made as
};

/// Every regular file of a device, each once, in the order in which they were made.
struct SampleDevicePlan {
    std::vector<SampleFile> files;
    std::uint64_t totalBytes = 0;
};

/// The directory must be missing or empty.
SampleDevicePlan makeSampleDevice(const std::string &directory, const SampleDeviceOptions &options);

} // namespace slicewise
