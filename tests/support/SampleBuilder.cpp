#include "tests/support/SampleBuilder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace slicewise {

namespace {

// 2 November 2015, noon, UTC: everything was changed in the hundred days before.
constexpr std::uint64_t kLatestChange = 1'446'465'600;
constexpr std::uint64_t kSecondsOfChanges = 8'640'000;

[[noreturn]] void failAt(const std::string &what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

// FNV-1a: std::hash may differ from library to library.
std::uint64_t hashOf(std::string_view text)
{
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const char byte : text) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3ULL;
    }
    return hash;
}

/// Depends on the path alone, so the order in which things are made does not matter.
std::array<timespec, 2> timesOf(std::string_view path)
{
    const std::uint64_t seconds = kLatestChange - hashOf(path) % kSecondsOfChanges;
    const timespec time = {.tv_sec = static_cast<time_t>(seconds), .tv_nsec = 0};
    return {time, time};
}

void setTimes(const std::string &hostPath, std::string_view path)
{
    if (::utimensat(AT_FDCWD, hostPath.c_str(), timesOf(path).data(), AT_SYMLINK_NOFOLLOW) != 0) {
        failAt(hostPath);
    }
}

} // namespace

// splitmix64.
std::uint64_t Dice::next()
{
    m_state += 0x9e3779b97f4a7c15ULL;
    std::uint64_t mixed = m_state;
    mixed = (mixed ^ (mixed >> 30U)) * 0xbf58476d1ce4e5b9ULL;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94d049bb133111ebULL;
    return mixed ^ (mixed >> 31U);
}

std::uint64_t Dice::between(std::uint64_t least, std::uint64_t most)
{
    return least + next() % (most - least + 1);
}

std::string Dice::hex(unsigned digits)
{
    std::string text;
    for (unsigned digit = 0; digit < digits; ++digit) {
        text += "0123456789ABCDEF"[next() % 16];
    }
    return text;
}

std::string Dice::uuid()
{
    std::string text = hex(32);
    for (const std::size_t at : {8U, 13U, 18U, 23U}) {
        text.insert(at, "-");
    }
    return text;
}

SampleBuilder::SampleBuilder(const std::string &directory, const SampleDeviceOptions &options)
    : m_options(options)
{
    if (!std::isfinite(options.scale) || options.scale <= 0) {
        throw std::runtime_error("The scale of a sample device is a number above 0");
    }
    std::filesystem::create_directories(directory);
    if (!std::filesystem::is_empty(directory)) {
        errno = ENOTEMPTY;
        failAt(directory);
    }
    m_root = std::filesystem::canonical(directory).string();
    m_directories.insert("");
}

Dice SampleBuilder::dice(std::string_view part) const
{
    return Dice(Dice(m_options.seed).next() ^ hashOf(part));
}

std::uint64_t SampleBuilder::count(double atScaleOne, std::uint64_t least) const
{
    return std::max(static_cast<std::uint64_t>(std::llround(atScaleOne * m_options.scale)), least);
}

void SampleBuilder::directory(std::string_view path)
{
    makeDirectories(path);
}

void SampleBuilder::makeDirectories(std::string_view directory)
{
    if (m_directories.contains(std::string(directory))) {
        return;
    }
    makeDirectories(directory.substr(0, directory.rfind('/')));
    if (::mkdir(onHost(directory).c_str(), 0755) != 0) {
        failAt(onHost(directory));
    }
    m_directories.emplace(directory);
}

void SampleBuilder::link(std::string_view path, const std::string &target)
{
    const std::string hostPath = this->hostPath(path);
    if (::symlink(target.c_str(), hostPath.c_str()) != 0) {
        failAt(hostPath);
    }
    setTimes(hostPath, path);
}

UniqueFd SampleBuilder::create(std::string_view path)
{
    const std::string hostPath = this->hostPath(path);
    UniqueFd file(::open(hostPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    if (!file) {
        failAt(hostPath);
    }
    return file;
}

void SampleBuilder::file(std::string path, std::uint64_t sizeBytes, std::string category)
{
    const UniqueFd file = create(path);
    if (::ftruncate(file.get(), static_cast<::off_t>(sizeBytes)) != 0 ||
        ::futimens(file.get(), timesOf(path).data()) != 0) {
        failAt(onHost(path));
    }
    plan(std::move(path), sizeBytes, std::move(category));
}

void SampleBuilder::write(std::string path, std::string_view content, std::string category)
{
    const UniqueFd file = create(path);
    for (std::string_view left = content; !left.empty();) {
        const ssize_t written = ::write(file.get(), left.data(), left.size());
        if (written < 0) {
            failAt(onHost(path));
        }
        left.remove_prefix(static_cast<std::size_t>(written));
    }
    if (::futimens(file.get(), timesOf(path).data()) != 0) {
        failAt(onHost(path));
    }
    plan(std::move(path), content.size(), std::move(category));
}

std::string SampleBuilder::hostPath(std::string_view path)
{
    makeDirectories(path.substr(0, path.rfind('/')));
    return onHost(path);
}

void SampleBuilder::planFile(std::string path, std::string category)
{
    const std::string hostPath = onHost(path);
    setTimes(hostPath, path);
    const std::uint64_t sizeBytes = std::filesystem::file_size(hostPath);
    plan(std::move(path), sizeBytes, std::move(category));
}

void SampleBuilder::plan(std::string path, std::uint64_t sizeBytes, std::string category)
{
    m_plan.totalBytes += sizeBytes;
    m_plan.files.push_back(
        {.path = std::move(path), .sizeBytes = sizeBytes, .category = std::move(category)});
}

SampleDevicePlan SampleBuilder::finish()
{
    // Last, because each thing that was made in a directory changed its time.
    for (const std::string &directory : m_directories) {
        setTimes(onHost(directory), directory);
    }
    return std::move(m_plan);
}

} // namespace slicewise
