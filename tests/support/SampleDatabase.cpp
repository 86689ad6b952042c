#include "tests/support/SampleDatabase.h"

#include <sqlite3.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace slicewise {

namespace {

// The write-ahead log, as SQLite's file format describes it.
constexpr std::size_t kLogHeaderBytes = 32;
constexpr std::size_t kFrameHeaderBytes = 24;
constexpr std::size_t kPageSizeAt = 8;
constexpr std::size_t kLogSaltAt = 16;
constexpr std::size_t kFrameSaltAt = 8;
constexpr std::size_t kSumAfterSalt = 8;

using Log = std::span<char>;

std::uint32_t read(Log bytes, std::size_t at, std::endian order)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::size_t place = order == std::endian::big ? i : 3 - i;
        number = number << 8U | static_cast<unsigned char>(bytes[at + place]);
    }
    return number;
}

void writeBig(Log bytes, std::size_t at, std::uint32_t number)
{
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<char>(static_cast<unsigned char>(number >> (24 - 8 * i)));
    }
}

struct Sum {
    std::uint32_t first = 0;
    std::uint32_t second = 0;

    void add(Log bytes, std::endian order)
    {
        for (std::size_t at = 0; at + 8 <= bytes.size(); at += 8) {
            first += read(bytes, at, order) + second;
            second += read(bytes, at + 4, order) + first;
        }
    }
};

void writeSalt(Log bytes, std::size_t saltAt, std::uint64_t salt)
{
    writeBig(bytes, saltAt, static_cast<std::uint32_t>(salt >> 32U));
    writeBig(bytes, saltAt + 4, static_cast<std::uint32_t>(salt));
}

void writeSum(Log bytes, std::size_t at, const Sum &sum)
{
    writeBig(bytes, at, sum.first);
    writeBig(bytes, at + 4, sum.second);
}

// SQLite takes chance numbers as a log's salt, which all of its check sums go on from; with a salt that is
// given two logs of the same changes are the same.
void setSalt(Log log, std::uint64_t salt)
{
    // The lowest bit of the first number says how the sums read the rest.
    const std::endian order =
        (read(log, 0, std::endian::big) & 1U) != 0 ? std::endian::big : std::endian::little;
    Sum sum;
    writeSalt(log, kLogSaltAt, salt);
    sum.add(log.first(kLogSaltAt + kSumAfterSalt), order);
    writeSum(log, kLogSaltAt + kSumAfterSalt, sum);

    const std::size_t frameBytes = kFrameHeaderBytes + read(log, kPageSizeAt, std::endian::big);
    for (Log left = log.subspan(kLogHeaderBytes); left.size() >= frameBytes;
         left = left.subspan(frameBytes)) {
        writeSalt(left, kFrameSaltAt, salt);
        sum.add(left.first(kFrameSaltAt), order);
        sum.add(left.subspan(kFrameHeaderBytes, frameBytes - kFrameHeaderBytes), order);
        writeSum(left, kFrameSaltAt + kSumAfterSalt, sum);
    }
}

void setSaltOfFile(const std::string &path, std::uint64_t salt)
{
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file || bytes.size() <= kLogHeaderBytes) {
        throw std::runtime_error(path + ": not a write-ahead log");
    }
    setSalt(bytes, salt);
    file.seekp(0);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error(path + ": could not be written");
    }
}

} // namespace

void SampleDatabase::Closer::operator()(sqlite3 *database) const
{
    ::sqlite3_close(database);
}

void SampleDatabase::Closer::operator()(sqlite3_stmt *statement) const
{
    ::sqlite3_finalize(statement);
}

SampleDatabase::SampleDatabase(std::string hostPath, const std::string &schema) : m_path(std::move(hostPath))
{
    sqlite3 *opened = nullptr;
    const int result =
        ::sqlite3_open_v2(m_path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    m_database.reset(opened);
    check(result);
    // Nobody needs it after a crash, so nothing waits for the disk.
    run("PRAGMA page_size = 4096; PRAGMA synchronous = OFF; PRAGMA journal_mode = MEMORY;" + schema +
        "BEGIN;");
}

void SampleDatabase::check(int result) const
{
    if (result != SQLITE_OK && result != SQLITE_DONE) {
        throw std::runtime_error(m_path + ": " + ::sqlite3_errmsg(m_database.get()));
    }
}

void SampleDatabase::run(const std::string &statements)
{
    check(::sqlite3_exec(m_database.get(), statements.c_str(), nullptr, nullptr, nullptr));
}

SampleDatabase::Statement &SampleDatabase::inserterInto(const std::string &table, std::size_t columns)
{
    Statement &inserter = m_inserters[table];
    if (!inserter) {
        std::string text = "INSERT INTO " + table + " VALUES (?";
        for (std::size_t column = 1; column < columns; ++column) {
            text += ", ?";
        }
        sqlite3_stmt *prepared = nullptr;
        const int result =
            ::sqlite3_prepare_v2(m_database.get(), (text + ")").c_str(), -1, &prepared, nullptr);
        inserter.reset(prepared);
        check(result);
    }
    return inserter;
}

void SampleDatabase::insert(const std::string &table, const std::vector<Value> &values)
{
    sqlite3_stmt *inserter = inserterInto(table, values.size()).get();
    int column = 0;
    for (const Value &value : values) {
        ++column;
        if (const auto *number = std::get_if<std::int64_t>(&value)) {
            check(::sqlite3_bind_int64(inserter, column, *number));
        } else if (const auto *text = std::get_if<std::string>(&value)) {
            // Read before this function returns, so it need not be copied.
            check(
                ::sqlite3_bind_text(inserter, column, text->data(), static_cast<int>(text->size()), nullptr));
        } else {
            check(::sqlite3_bind_null(inserter, column));
        }
    }
    check(::sqlite3_step(inserter));
    check(::sqlite3_reset(inserter));
}

void SampleDatabase::startLog()
{
    m_hasLog = true;
    // One that locks everybody else out keeps the log's index in memory, where it need not be removed again.
    run("COMMIT; PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL;"
        "PRAGMA wal_autocheckpoint = 0; BEGIN;");
    check(::sqlite3_db_config(m_database.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr));
}

void SampleDatabase::close(std::uint64_t salt)
{
    run("COMMIT;");
    m_inserters.clear();
    const int result = ::sqlite3_close(m_database.release());
    if (result != SQLITE_OK) {
        throw std::runtime_error(m_path + ": " + ::sqlite3_errstr(result));
    }
    if (m_hasLog) {
        setSaltOfFile(m_path + "-wal", salt);
    }
}

} // namespace slicewise
