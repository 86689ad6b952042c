// Databases that are damaged, and devices that fail while one is read.
#include "platform/Database.h"
#include "tests/platform/DatabaseFixture.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

using Function = FailingSystemCalls::Function;

class DatabaseFaultsTest : public DatabaseFixture {
protected:
    [[nodiscard]] std::string content(const std::string &name) const
    {
        std::ifstream stream(host(name), std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        return std::move(text).str();
    }
    // Several pages of rows, with an index.
    void makePages() const
    {
        write("PRAGMA page_size=512; CREATE TABLE message(id INTEGER PRIMARY KEY, text TEXT);"
              "CREATE INDEX texts ON message(text);"
              "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<60)"
              "INSERT INTO message SELECT i, 'text ' || i || hex(zeroblob(30)) FROM n;"
              "INSERT INTO message VALUES(61, hex(zeroblob(1000)));");
    }
    void makeHotJournal() const
    {
        makePages();
        crashAfter("PRAGMA cache_size=4; BEGIN; UPDATE message SET text='changed ' || text");
        ASSERT_TRUE(std::filesystem::exists(host("sms.db-journal")));
    }
    // Each system call of a query fails once, and the answer is whole or none. How often it was none.
    [[nodiscard]] int failEachCall(int error)
    {
        const Answer whole = messages();
        EXPECT_TRUE(whole.complete);
        int refused = 0;
        for (const Function function : FailingSystemCalls::allFunctions()) {
            std::uint64_t before = m_calls.count(function);
            EXPECT_EQ(messages(), whole);
            const std::uint64_t calls = m_calls.count(function) - before;
            for (std::uint64_t n = 1; n <= calls; ++n) {
                m_calls.failNth(function, n, error);
                const Answer answer = messages();
                m_calls.heal();
                refused += answer.complete ? 0 : 1;
                if (answer.complete) {
                    EXPECT_EQ(answer, whole) << FailingSystemCalls::nameOf(function) << ' ' << n;
                }
            }
        }
        EXPECT_EQ(messages(), whole);
        return refused;
    }
};

TEST_F(DatabaseFaultsTest, aDatabaseThatBreaksOffAnswersNothing)
{
    makePages();
    const std::string whole = content("sms.db");
    ASSERT_GT(whole.size(), 10 * 512U);
    for (std::size_t page = 0; page * 512 < whole.size(); ++page) {
        for (const std::size_t more : {0U, 1U, 16U, 99U, 100U, 101U, 511U}) {
            m_directory.writeFile("sms.db", whole.substr(0, page * 512 + more));
            EXPECT_FALSE(messages().complete) << page << " pages and " << more;
        }
    }
    m_directory.writeFile("sms.db", whole);
    EXPECT_TRUE(messages().complete);
}

TEST_F(DatabaseFaultsTest, aHeaderMayHaveAnyByteWrong)
{
    makePages();
    const std::string whole = content("sms.db");
    for (std::size_t at = 0; at < 100; ++at) {
        for (const int value : {0x00, 0x01, 0x02, 0x7f, 0xff}) {
            std::string damaged = whole;
            damaged[at] = static_cast<char>(value);
            m_directory.writeFile("sms.db", damaged);
            const Answer answer = messages();
            if (damaged == whole) {
                EXPECT_EQ(answer.rows.size(), 61U);
            } else if (at < 16) {
                EXPECT_EQ(answer, kRefused) << at;
            }
            EXPECT_LE(answer.rows.size(), 61U) << at << ' ' << value;
        }
    }
}

TEST_F(DatabaseFaultsTest, damageAnywhereIsSurvived)
{
    makeHotJournal();
    write("PRAGMA page_size=512; PRAGMA journal_mode=WAL;" + kTwoMessages, "log.db");
    crashAfter("UPDATE message SET text='logged ' || text", "log.db");
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same each time
    int refused = 0;
    for (const auto &[database, damaged] :
         {std::pair{"sms.db", "sms.db"}, std::pair{"sms.db", "sms.db-journal"}, std::pair{"log.db", "log.db"},
          std::pair{"log.db", "log.db-wal"}, std::pair{"log.db", "log.db-shm"}}) {
        const std::string whole = content(damaged);
        ASSERT_FALSE(whole.empty()) << damaged;
        for (int round = 0; round < 150; ++round) {
            std::string bytes = whole;
            for (int i = 0; i < 8; ++i) {
                bytes[random() % std::min<std::size_t>(bytes.size(), 8192)] = static_cast<char>(random());
            }
            m_directory.writeFile(damaged, bytes);
            refused += messages(database).complete ? 0 : 1;
        }
        m_directory.writeFile(damaged, whole);
        EXPECT_TRUE(messages(database).complete);
    }
    EXPECT_GT(refused, 0);
}

TEST_F(DatabaseFaultsTest, rowsBeforeTheDamageAreHandedOut)
{
    makePages();
    const Answer whole = messages();
    std::string bytes = content("sms.db");
    // A page in the middle of the table is none any more.
    constexpr char kLeafOfTable = 13;
    std::size_t at = bytes.find("text 31") / 512 * 512;
    while (bytes.at(at) != kLeafOfTable) {
        at = bytes.find("text 31", at + 512) / 512 * 512;
    }
    bytes.replace(at, 16, 16, 'x');
    m_directory.writeFile("sms.db", bytes);
    const Answer answer = messages();
    EXPECT_FALSE(answer.complete);
    ASSERT_GT(answer.rows.size(), 5U);
    ASSERT_LT(answer.rows.size(), 61U);
    for (std::size_t i = 0; i < answer.rows.size(); ++i) {
        EXPECT_EQ(answer.rows[i], whole.rows[i]);
    }
}

TEST_F(DatabaseFaultsTest, eachCallMayFailWhileADatabaseIsRead)
{
    makePages();
    EXPECT_GT(failEachCall(EIO), 10);
    EXPECT_GT(failEachCall(EACCES), 10);
}

TEST_F(DatabaseFaultsTest, eachCallMayFailWhileALogIsRead)
{
    crashAfter("PRAGMA page_size=512; PRAGMA journal_mode=WAL;" + kTwoMessages +
               "PRAGMA wal_checkpoint(TRUNCATE); INSERT INTO message VALUES(3,'three')");
    EXPECT_GT(failEachCall(EIO), 10);
    EXPECT_GT(failEachCall(EACCES), 10);
}

TEST_F(DatabaseFaultsTest, eachCallMayFailWhileATransactionIsRolledBack)
{
    makeHotJournal();
    EXPECT_GT(failEachCall(EIO), 10);
    // Not as EACCES: of a lock that means that a writer has it, whose journal this would be.
    EXPECT_GT(failEachCall(ENOMEM), 10);
}

TEST_F(DatabaseFaultsTest, whereLocksAreUnknownTheDatabaseIsReadWithoutThem)
{
    makePages();
    const Answer whole = messages();
    for (const int error : {ENOLCK, EOPNOTSUPP, ENOSYS}) {
        m_calls.failEach(Function::LockRange, error);
        EXPECT_EQ(messages(), whole);
        m_calls.heal();
    }
    m_calls.failEach(Function::LockRange, EAGAIN);
    EXPECT_EQ(messages(), kRefused);
}

TEST_F(DatabaseFaultsTest, aTransactionThatChangedTooMuchIsNotRolledBack)
{
    const auto writer = databaseWriter(host("sms.db"));
    ASSERT_TRUE(writer->send("PRAGMA page_size=65536; CREATE TABLE message(id, text);"
                             "INSERT INTO message VALUES(1, zeroblob(45000000));"));
    ASSERT_TRUE(writer->send("PRAGMA cache_size=10; BEGIN; UPDATE message SET text=randomblob(45000000)"));
    writer->end();
    ASSERT_GT(std::filesystem::file_size(host("sms.db-journal")), 41'000'000U);
    EXPECT_EQ(query("SELECT id FROM message"), kRefused);
}

TEST_F(DatabaseFaultsTest, aTransactionOverSeveralDatabasesHasCommittedWhenItsListIsGone)
{
    makeHotJournal();
    const std::string first = "SELECT substr(text, 1, 6) FROM message WHERE id=1";
    EXPECT_EQ(query(first), complete({"text 1"}));
    // What ends a journal of such a transaction: a page that is none, the list's path, its length and sum.
    const auto number = [](std::uint32_t value) {
        std::string bytes;
        for (unsigned shift = 32; shift > 0; shift -= 8) {
            bytes += static_cast<char>(value >> (shift - 8));
        }
        return bytes;
    };
    const std::string path = "/list-of-journals";
    std::uint32_t sum = 0;
    for (const char character : path) {
        sum += static_cast<unsigned char>(character);
    }
    const std::string journal = content("sms.db-journal");
    m_directory.writeFile("sms.db-journal", journal + number(0x40000000 / 512 + 1) + path +
                                                number(static_cast<std::uint32_t>(path.size())) +
                                                number(sum) + journal.substr(0, 8));
    EXPECT_EQ(query(first), complete({"change"}));
    m_directory.writeFile("list-of-journals", host("sms.db-journal") + '\0' + host("other.db-journal"));
    EXPECT_EQ(query(first), complete({"text 1"}));
}

} // namespace
} // namespace slicewise
