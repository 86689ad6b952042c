// What it takes to read a device's catalogues before a scan: the package index of this machine beside one
// `dpkg -L` after another, and the media library and the messages database with a hundred thousand rows each.
//
// Usage: catalogue-load [ROWS]   rows of each database (default 100000)
#include "platform/CommandRunner.h"
#include "platform/Database.h"
#include "platform/HostDevice.h"
#include "platform/Log.h"
#include "scan/MediaClassifier.h"
#include "scan/PackageIndex.h"

#include <fmt/format.h>

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

namespace slicewise {
namespace {

double secondsOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void measurePackageIndex()
{
    const auto device = HostDevice::open("/").value();
    Log log([](std::string_view) {});
    std::size_t paths = 0;
    std::set<std::string> packages;
    const auto load = [&] {
        const PackageIndex index = loadPackageIndex(*device, log, packageToolOnPath(nullptr));
        paths = index.pathCount();
        index.forEach([&](const std::string &, std::string_view package) { packages.emplace(package); });
    };
    load(); // so that both find everything in memory
    const double together =
        secondsOf([&] { static_cast<void>(loadPackageIndex(*device, log, packageToolOnPath(nullptr))); });
    const double oneByOne = secondsOf([&] {
        for (const std::string &package : packages) {
            static_cast<void>(forEachOutputLine("dpkg", {"dpkg", "-L", package}, [](auto) { return true; }));
        }
    });
    fmt::print(
        "package index: {} paths of {} packages in {:.3f} s; one dpkg -L after another {:.3f} s; 1/{:.0f} "
        "(budget 1/20)\n",
        paths, packages.size(), together, oneByOne, oneByOne / together);
}

class Writer {
public:
    explicit Writer(const std::string &path)
    {
        sqlite3 *opened = nullptr;
        const int failed = ::sqlite3_open(path.c_str(), &opened);
        m_database.reset(opened);
        if (failed != SQLITE_OK) {
            throw std::runtime_error("can't make " + path);
        }
    }
    void run(const std::string &statements)
    {
        if (::sqlite3_exec(m_database.get(), statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
            throw std::runtime_error(::sqlite3_errmsg(m_database.get()));
        }
    }

private:
    struct Closer {
        void operator()(sqlite3 *database) const { ::sqlite3_close(database); }
    };
    std::unique_ptr<sqlite3, Closer> m_database;
};

const char *numbersUpTo()
{
    return "WITH RECURSIVE numbers(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM numbers WHERE n < {}) ";
}

void measureMessages(const std::string &root, std::uint64_t rows)
{
    std::filesystem::create_directories(root + "/private/var/mobile/Library/SMS");
    const std::string numbers = fmt::format(fmt::runtime(numbersUpTo()), rows);
    Writer(root + kMessagesPath)
        .run("CREATE TABLE attachment (ROWID INTEGER PRIMARY KEY, guid TEXT, filename TEXT, transfer_name "
             "TEXT); " +
             numbers +
             "INSERT INTO attachment SELECT n, 'guid' || n, '~/Library/SMS/Attachments/ab/01/' || hex(n) || "
             "'/IMG_0001.JPG', 'IMG_0001.JPG' FROM numbers;");
    const auto device = HostDevice::open(root).value();
    MessageAttachmentIndex index;
    const double seconds = secondsOf([&] {
        Database(*device, kMessagesPath).forEachRow(kMessagesQuery, [&](Database::Row row) {
            messageAttachmentRowCallback(index, row);
        });
    });
    fmt::print("messages: {} attachments that share one name in {:.3f} s (budget 1 s for 100000)\n",
               index.size() / 2, seconds);
}

void measureMedia(const std::string &root, std::uint64_t rows)
{
    std::filesystem::create_directories(root + "/private/var/mobile/Media/iTunes_Control/iTunes");
    const std::string numbers = fmt::format(fmt::runtime(numbersUpTo()), rows);
    Writer(root + kMediaLibraryPath)
        .run("CREATE TABLE item (item_pid INTEGER PRIMARY KEY, base_location_id INTEGER); "
             "CREATE TABLE item_extra (item_pid INTEGER PRIMARY KEY, title TEXT, location TEXT); "
             "CREATE TABLE base_location (base_location_id INTEGER PRIMARY KEY, path TEXT); " +
             numbers + "INSERT INTO item SELECT n, n % 50 FROM numbers; " + numbers +
             "INSERT INTO item_extra SELECT n, 'Title ' || n, hex(n) || '.mp3' FROM numbers; " +
             "WITH RECURSIVE numbers(n) AS (SELECT 0 UNION ALL SELECT n + 1 FROM numbers WHERE n < 49) "
             "INSERT INTO base_location SELECT n, 'iTunes_Control/Music/F' || n FROM numbers;");
    const auto device = HostDevice::open(root).value();
    MediaIndex index;
    Log log([](std::string_view) {});
    const double seconds = secondsOf([&] {
        Database(*device, kMediaLibraryPath).forEachRow(kMediaLibraryQuery, [&](Database::Row row) {
            mediaLibraryRowCallback(index, log, row);
        });
    });
    fmt::print("media library: {} items in {:.3f} s (budget 1 s for 100000)\n", index.size(), seconds);
}

int measureAll(std::uint64_t rows)
{
    std::string root = (std::filesystem::temp_directory_path() / "slicewise-catalogues-XXXXXX").string();
    if (::mkdtemp(root.data()) == nullptr) {
        fmt::print(stderr, "catalogue-load: no temporary directory can be made\n");
        return 1;
    }
    int status = 0;
    try {
        measurePackageIndex();
        measureMessages(root, rows);
        measureMedia(root, rows);
    } catch (const std::exception &failure) {
        fmt::print(stderr, "catalogue-load: {}\n", failure.what());
        status = 1;
    }
    std::filesystem::remove_all(root);
    return status;
}

} // namespace
} // namespace slicewise

int main(int argc, char **argv)
{
    constexpr std::uint64_t kRows = 100'000;
    return slicewise::measureAll(argc > 1 ? std::strtoull(argv[1], nullptr, 10) : kRows);
}
