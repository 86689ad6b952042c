// What the parts of a sample device are made with: numbers from a seed, and files that go into the plan.
#pragma once

#include "platform/UniqueFd.h"
#include "tests/support/SampleDevice.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

namespace slicewise {

/// Numbers that depend on the seed alone. The standard's distributions would differ from library to library.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next();
    /// Both ends included.
    std::uint64_t between(std::uint64_t least, std::uint64_t most);
    /// So many upper-case hexadecimal digits.
    std::string hex(unsigned digits);
    /// As "5F0C2E8B-...": 36 characters, upper case.
    std::string uuid();

private:
    std::uint64_t m_state;
};

/// Paths are the device's, without links, and begin with "/"; directories above a name are made. A file that
/// is there already is an error: two parts of the device would each have planned it.
class SampleBuilder {
public:
    SampleBuilder(const std::string &directory, const SampleDeviceOptions &options);

    /// Numbers of a part's own, so that a change of one part leaves the others as they are.
    [[nodiscard]] Dice dice(std::string_view part) const;
    /// How many of what there are so many of at scale 1; never less than `least`.
    [[nodiscard]] std::uint64_t count(double atScaleOne, std::uint64_t least = 1) const;

    void directory(std::string_view path);
    void link(std::string_view path, const std::string &target);
    /// A file of nothing but zeros, which take no disk.
    void file(std::string path, std::uint64_t sizeBytes, std::string category);
    void write(std::string path, std::string_view content, std::string category);

    /// Where a library may make a file of its own; planFile() then takes it into the plan. Makes the
    /// directories above it.
    std::string hostPath(std::string_view path);
    void planFile(std::string path, std::string category);

    /// Once, at the end.
    SampleDevicePlan finish();

private:
    UniqueFd create(std::string_view path);
    void makeDirectories(std::string_view directory);
    void plan(std::string path, std::uint64_t sizeBytes, std::string category);
    [[nodiscard]] std::string onHost(std::string_view path) const { return m_root + std::string(path); }

    std::string m_root;
    SampleDeviceOptions m_options;
    SampleDevicePlan m_plan;
    std::unordered_set<std::string> m_directories;
};

} // namespace slicewise
