// Databases in every state that a device leaves them in; each query is held to changing nothing.
#include "platform/Database.h"

#include "tests/platform/DatabaseFixture.h"
#include "tests/support/InChild.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/OpenDescriptors.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace slicewise {
namespace {

const Answer kTwo = complete({"1|one", "2|two"});
const Answer kThree = complete({"1|one", "2|two", "3|three"});

class DatabaseTest : public DatabaseFixture {
protected:
    void copy(const std::string &from, const std::string &to) const
    {
        std::filesystem::copy_file(host(from), host(to));
    }
    // Two rows in the database, a third one in its log alone.
    void makeLogged() const
    {
        crashAfter("PRAGMA journal_mode=WAL;" + kTwoMessages +
                   "PRAGMA wal_checkpoint(TRUNCATE); INSERT INTO message VALUES(3,'three')");
        ASSERT_GT(std::filesystem::file_size(host("sms.db-wal")), 0U);
    }
    // Two rows, and a transaction that had begun to replace them when its process ended.
    void makeHotJournal() const
    {
        write("PRAGMA page_size=1024;" + kTwoMessages + "CREATE TABLE filler(x);");
        crashAfter("PRAGMA cache_size=4; BEGIN; UPDATE message SET text='changed';"
                   "INSERT INTO message VALUES(3,'three');"
                   "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<200)"
                   "INSERT INTO filler SELECT hex(zeroblob(400)) FROM n;");
        ASSERT_TRUE(std::filesystem::exists(host("sms.db-journal")));
        // The crashed transaction did reach the database, or nothing would be proved.
        std::ifstream stream(host("sms.db"), std::ios::binary);
        const std::string content((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
        ASSERT_NE(content.find("changed"), std::string::npos);
    }
    void closeDirectory() const
    {
        for (const auto &entry : std::filesystem::directory_iterator(m_directory.path())) {
            m_directory.setMode(entry.path().filename().string(), 0444);
        }
        std::filesystem::permissions(m_directory.path(), std::filesystem::perms(0555));
    }
};

TEST_F(DatabaseTest, aDatabaseWithARollbackJournalIsRead)
{
    write(kTwoMessages);
    EXPECT_EQ(messages(), kTwo);
}

TEST_F(DatabaseTest, aJournalThatIsKeptForTheNextTransactionIsNotRolledBack)
{
    write("PRAGMA journal_mode=PERSIST;" + kTwoMessages);
    ASSERT_GT(std::filesystem::file_size(host("sms.db-journal")), 0U);
    EXPECT_EQ(messages(), kTwo);
}

TEST_F(DatabaseTest, aDatabaseWithALogThatWasClosedIsRead)
{
    write("PRAGMA journal_mode=WAL;" + kTwoMessages);
    ASSERT_FALSE(std::filesystem::exists(host("sms.db-wal")));
    EXPECT_EQ(messages(), kTwo);
}

TEST_F(DatabaseTest, rowsThatAreOnlyInTheLogAreSeen)
{
    makeLogged();
    EXPECT_EQ(messages(), kThree);
}

TEST_F(DatabaseTest, rowsThatAreOnlyInTheLogAreSeenWithoutItsIndex)
{
    makeLogged();
    copy("sms.db", "copy.db");
    copy("sms.db-wal", "copy.db-wal");
    EXPECT_EQ(messages("copy.db"), kThree);
}

TEST_F(DatabaseTest, anIndexThatIsGarbageIsNoneOfOurs)
{
    makeLogged();
    m_directory.writeFile("sms.db-shm", std::string(32768, 'x'));
    EXPECT_EQ(messages(), kThree);
}

TEST_F(DatabaseTest, withoutItsLogTheDatabaseHasWhatWasMovedIntoIt)
{
    makeLogged();
    copy("sms.db", "copy.db");
    EXPECT_EQ(messages("copy.db"), kTwo);
    m_directory.writeFile("copy.db-wal", "");
    EXPECT_EQ(messages("copy.db"), kTwo);
}

TEST_F(DatabaseTest, aLogThatIsNoFileKeepsTheDatabaseFromBeingRead)
{
    makeLogged();
    copy("sms.db", "copy.db");
    m_directory.makeDirectory("copy.db-wal");
    EXPECT_EQ(messages("copy.db"), kRefused);
}

TEST_F(DatabaseTest, whereverTheLastTransactionOfALogBreaksOffTheOnesBeforeAreSeen)
{
    crashAfter("PRAGMA page_size=512; PRAGMA journal_mode=WAL;" + kTwoMessages +
               "PRAGMA wal_checkpoint(TRUNCATE); INSERT INTO message VALUES(3,'three');"
               "INSERT INTO message VALUES(4,'four')");
    constexpr std::uint64_t kFrameBytes = 512 + 24;
    const std::uint64_t size = std::filesystem::file_size(host("sms.db-wal"));
    ASSERT_EQ(size, 32 + 2 * kFrameBytes);
    EXPECT_EQ(messages(), complete({"1|one", "2|two", "3|three", "4|four"}));
    for (std::uint64_t length = size - 1; length >= size - kFrameBytes; --length) {
        std::filesystem::resize_file(host("sms.db-wal"), length);
        ASSERT_EQ(messages(), kThree) << length;
    }
    for (std::uint64_t length = size - kFrameBytes - 1; length + 1 > 0; length -= 1) {
        std::filesystem::resize_file(host("sms.db-wal"), length);
        ASSERT_EQ(messages(), kTwo) << length;
    }
}

TEST_F(DatabaseTest, aDirectoryThatCanNotBeWrittenHidesNoRows)
{
    makeLogged();
    closeDirectory();
    asOrdinaryUser([this] { EXPECT_EQ(messages(), kThree); });
    m_directory.remove("sms.db-shm");
    std::filesystem::permissions(m_directory.path(), std::filesystem::perms(0555));
    asOrdinaryUser([this] { EXPECT_EQ(messages(), kThree); });
}

TEST_F(DatabaseTest, aCrashedTransactionIsRolledBackInADirectoryThatCanNotBeWritten)
{
    makeHotJournal();
    closeDirectory();
    asOrdinaryUser([this] { EXPECT_EQ(messages(), kTwo); });
}

TEST_F(DatabaseTest, whatMayNotBeReadAnswersNothing)
{
    makeLogged();
    m_directory.setMode("sms.db-wal", 0);
    asOrdinaryUser([this] {
        Database database(*m_device, "/sms.db");
        EXPECT_EQ(ask(database, kAllMessages), kRefused);
    });
    m_directory.setMode("sms.db-wal", 0644);
    m_directory.setMode("sms.db", 0);
    asOrdinaryUser([this] {
        Database database(*m_device, "/sms.db");
        EXPECT_EQ(ask(database, kAllMessages), kRefused);
    });
}

TEST_F(DatabaseTest, aCrashedTransactionIsRolledBackForTheQueryAlone)
{
    makeHotJournal();
    EXPECT_EQ(messages(), kTwo);
    EXPECT_EQ(query("SELECT count(*) FROM filler"), complete({"0"}));
    EXPECT_EQ(messages(), kTwo); // nothing of it has been kept
}

TEST_F(DatabaseTest, aJournalThatCanNotBeReadKeepsTheDatabaseFromBeingRead)
{
    makeHotJournal();
    m_directory.remove("sms.db-journal");
    m_directory.makeDirectory("sms.db-journal");
    EXPECT_EQ(messages(), kRefused);
}

TEST_F(DatabaseTest, aJournalThatBreaksOffInItsHeaderIsNotRolledBack)
{
    write(kTwoMessages);
    m_directory.writeFile("sms.db-journal", "\xd9\xd5\x05\xf9");
    EXPECT_EQ(messages(), kTwo);
}

TEST_F(DatabaseTest, aWriterThatHasTheDatabaseToItselfIsNotDisturbed)
{
    write(kTwoMessages);
    const auto writer = databaseWriter(host("sms.db"));
    ASSERT_TRUE(writer->send("BEGIN EXCLUSIVE; INSERT INTO message VALUES(3,'three')"));
    EXPECT_EQ(messages(), kRefused);
    EXPECT_TRUE(writer->send("COMMIT"));
    EXPECT_EQ(messages(), kThree);
}

TEST_F(DatabaseTest, aWriterThatHasNotCommittedHidesNothingAndIsNotDisturbed)
{
    write(kTwoMessages);
    const auto writer = databaseWriter(host("sms.db"));
    ASSERT_TRUE(writer->send("BEGIN IMMEDIATE; INSERT INTO message VALUES(3,'three')"));
    ASSERT_TRUE(std::filesystem::exists(host("sms.db-journal")));
    EXPECT_EQ(messages(), kTwo);
    EXPECT_TRUE(writer->send("COMMIT"));
    EXPECT_EQ(messages(), kThree);
}

TEST_F(DatabaseTest, aJournalOfAWriterAtWorkIsNotRolledBack)
{
    // Written out already, so that nothing but the writer's lock tells it from one that a crash has left.
    makeHotJournal();
    const auto holder = byteLocker(host("sms.db"));
    ASSERT_TRUE(holder->send(std::to_string(0x40000001)));
    EXPECT_EQ(query("SELECT text FROM message WHERE id=1").rows, (std::vector<std::string>{"changed"}));
    holder->end();
    EXPECT_EQ(messages(), kTwo);
}

TEST_F(DatabaseTest, whileItIsReadNoWriterGetsTheDatabaseAndThenItDoes)
{
    write(kTwoMessages);
    const auto writer = databaseWriter(host("sms.db"));
    Database database(*m_device, "/sms.db");
    int refused = 0;
    EXPECT_TRUE(database.forEachRow(kAllMessages, [&](Database::Row) {
        refused += writer->send("INSERT INTO message(text) VALUES('more')") ? 0 : 1;
    }));
    EXPECT_EQ(refused, 2);
    EXPECT_TRUE(writer->send("INSERT INTO message VALUES(3,'three')"));
    EXPECT_EQ(messages(), kThree);
}

TEST_F(DatabaseTest, aWriterOfALogWorksOnWhileTheRowsStayThoseOfTheBeginning)
{
    const auto writer = databaseWriter(host("sms.db"));
    // More than SQLite keeps in memory, so that it reads to the end.
    ASSERT_TRUE(writer->send("PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0;"
                             "CREATE TABLE message(id INTEGER PRIMARY KEY, text TEXT);"
                             "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<4000)"
                             "INSERT INTO message SELECT i, 'old' || hex(zeroblob(500)) FROM n;"));
    Database database(*m_device, "/sms.db");
    int rows = 0;
    int others = 0;
    EXPECT_TRUE(database.forEachRow(kAllMessages, [&](Database::Row row) {
        ++rows;
        others += std::string(row[1]).starts_with("old") ? 0 : 1;
        if (rows == 10) {
            EXPECT_TRUE(writer->send("UPDATE message SET text = 'new' || substr(text, 4)"));
            EXPECT_TRUE(writer->send("PRAGMA wal_checkpoint(TRUNCATE)")); // says that it could not
            EXPECT_TRUE(writer->send("DELETE FROM message WHERE id % 2 = 0"));
        }
    }));
    EXPECT_EQ(rows, 4000);
    EXPECT_EQ(others, 0);
    EXPECT_GT(std::filesystem::file_size(host("sms.db-wal")), 0U);
    // No lock is left behind.
    EXPECT_TRUE(writer->send("PRAGMA wal_checkpoint(TRUNCATE)"));
    EXPECT_EQ(std::filesystem::file_size(host("sms.db-wal")), 0U);
    EXPECT_EQ(query("SELECT count(*), min(substr(text, 1, 3)) FROM message"), complete({"2000|new"}));
}

TEST_F(DatabaseTest, aLogThatIsBeingMovedIntoTheDatabaseIsNotRead)
{
    makeLogged();
    const auto checkpointer = byteLocker(host("sms.db-shm"));
    ASSERT_TRUE(checkpointer->send("123"));
    EXPECT_EQ(messages(), kRefused);
    checkpointer->end();
    EXPECT_EQ(messages(), kThree);
}

TEST_F(DatabaseTest, anyReadersMarkThatIsFreeWillDo)
{
    makeLogged();
    const auto others = byteLocker(host("sms.db-shm"));
    for (const char *offset : {"120", "121", "122", "124", "125", "126"}) {
        ASSERT_TRUE(others->send(offset));
        EXPECT_EQ(messages(), kThree) << offset;
    }
    ASSERT_TRUE(others->send("127"));
    EXPECT_EQ(messages(), kRefused);
}

TEST_F(DatabaseTest, whatIsNoDatabaseAnswersNothing)
{
    m_directory.makeDirectory("directory");
    m_directory.makeFifo("fifo");
    m_directory.writeFile("empty", "");
    m_directory.writeFile("garbage", std::string(10000, 'x'));
    m_directory.writeFile("short", "SQLite format 3");
    for (const char *name :
         {"missing", "missing/sms.db", "directory", "fifo", "fifo/sms.db", "empty", "garbage", "short", ""}) {
        EXPECT_EQ(messages(name), kRefused) << name;
    }
}

TEST_F(DatabaseTest, theLogOfALinkedDatabaseLiesBesideTheDatabase)
{
    m_directory.makeDirectory("real");
    crashAfter("PRAGMA journal_mode=WAL;" + kTwoMessages, "real/sms.db");
    m_directory.makeLink("relative.db", "real/sms.db");
    m_directory.makeLink("absolute.db", "/real/sms.db"); // from the device's root
    m_directory.makeLink("dangling.db", "real/none");
    m_directory.makeLink("loop.db", "loop.db");
    EXPECT_EQ(messages("relative.db"), kTwo);
    EXPECT_EQ(messages("absolute.db"), kTwo);
    EXPECT_EQ(messages("dangling.db"), kRefused);
    EXPECT_EQ(messages("loop.db"), kRefused);
}

TEST_F(DatabaseTest, aNameThatMeansSomethingToSqliteIsAFileLikeAnyOther)
{
    m_directory.makeDirectory("file:x?mode=memory");
    write(kTwoMessages);
    const std::string odd = "file:x?mode=memory/%73ms#1.db-wal";
    m_directory.rename("sms.db", odd);
    EXPECT_EQ(messages(odd), kTwo);
    m_directory.rename(odd, ":memory:");
    EXPECT_EQ(messages(":memory:"), kTwo);
}

TEST_F(DatabaseTest, aPathMayBeLongerThanSqliteHasThem)
{
    write(kTwoMessages);
    const std::string deep = TemporaryDirectory::chain(60, std::string(100, 'd')) + "/sms.db";
    m_directory.rename("sms.db", deep);
    Database database(*m_device, "/" + deep);
    EXPECT_EQ(ask(database, kAllMessages), kTwo);
}

TEST_F(DatabaseTest, anotherSchemaAnswersNothing)
{
    write("CREATE TABLE other(id, text); CREATE TABLE message(id)");
    EXPECT_EQ(messages(), kRefused);
    EXPECT_EQ(query("SELECT x FROM none"), kRefused);
    EXPECT_EQ(query("no query at all"), kRefused);
    EXPECT_EQ(query(""), kRefused);
}

TEST_F(DatabaseTest, valuesOfAnyTypeAreTextsAndNullIsNull)
{
    write("CREATE TABLE t(a,b,c,d,e); INSERT INTO t VALUES(-7,1.5,x'616263',NULL,''),"
          "(9223372036854775807,'x'||char(0)||'y',x'',x'610062','\xc3\xa4')");
    EXPECT_EQ(query("SELECT * FROM t"), complete({"-7|1.5|abc|NULL|", "9223372036854775807|x||a|\xc3\xa4"}));
}

TEST_F(DatabaseTest, textsInOtherEncodingsComeAsUtf8)
{
    write("PRAGMA encoding='UTF-16be';" + kTwoMessages + "INSERT INTO message VALUES(3,'\xe2\x82\xac')");
    EXPECT_EQ(messages(), complete({"1|one", "2|two", "3|\xe2\x82\xac"}));
}

TEST_F(DatabaseTest, likeAndGlobCompareAsAlways)
{
    write(kTwoMessages);
    EXPECT_EQ(query("SELECT 'abc' LIKE 'A_c', 'a%c' LIKE 'a\\%c' ESCAPE '\\', 'abc' LIKE 'a\\%c' ESCAPE '\\',"
                    "'abc' GLOB 'a*', 'ABC' GLOB 'a*', NULL LIKE 'a', 'a' GLOB NULL, 12 LIKE '1%'"),
              complete({"1|1|0|1|0|NULL|NULL|1"}));
}

TEST_F(DatabaseTest, nothingButReadingCanBeAskedFor)
{
    write(kTwoMessages + "CREATE INDEX texts ON message(text)");
    for (const char *sql :
         {"DELETE FROM message", "INSERT INTO message VALUES(3,'x')", "CREATE TABLE t(a)",
          "CREATE TEMP TABLE t(a)", "DROP TABLE message", "PRAGMA journal_mode=WAL", "PRAGMA user_version=1",
          "ATTACH ':memory:' AS x", "VACUUM INTO '/copy.db'", "VACUUM", "BEGIN EXCLUSIVE",
          "SELECT load_extension('x')", "REINDEX", "ANALYZE"}) {
        EXPECT_EQ(query(sql), kRefused) << sql;
    }
    EXPECT_EQ(messages(), kTwo);
}

TEST_F(DatabaseTest, whatTheCallerRaisesPassesThroughAndTheDatabaseCanBeAskedAgain)
{
    makeLogged();
    const std::set<int> descriptors = openDescriptors();
    Database database(*m_device, "/sms.db");
    int rows = 0;
    const auto raise = [&rows](Database::Row) {
        ++rows;
        throw std::domain_error("enough");
    };
    EXPECT_THROW(database.forEachRow(kAllMessages, raise), std::domain_error);
    EXPECT_EQ(rows, 1);
    Database::Limits limits;
    limits.stop = []() -> bool { throw std::range_error("stop"); };
    EXPECT_THROW(ask(database, kAllMessages, limits), std::range_error);
    EXPECT_EQ(ask(database, kAllMessages), kThree);
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(DatabaseTest, aRowMayAskTheSameDatabase)
{
    write(kTwoMessages);
    Database database(*m_device, "/sms.db");
    int rows = 0;
    EXPECT_TRUE(database.forEachRow(kAllMessages, [&](Database::Row row) {
        ++rows;
        const std::string id = row[0];
        EXPECT_EQ(ask(database, "SELECT id FROM message WHERE id=" + id), complete({id}));
    }));
    EXPECT_EQ(rows, 2);
}

TEST_F(DatabaseTest, aQuestionSeesWhatHasBeenWrittenSinceTheOneBefore)
{
    write(kTwoMessages);
    Database database(*m_device, "/sms.db");
    EXPECT_EQ(ask(database, kAllMessages), kTwo);
    write("INSERT INTO message VALUES(3,'three')");
    EXPECT_EQ(ask(database, kAllMessages), kThree);
}

TEST_F(DatabaseTest, threadsAskTheirDatabasesAtTheSameTime)
{
    makeLogged();
    write(kTwoMessages, "other.db");
    const auto askOften = [this](const std::string &name, const Answer &expected) {
        Database database(*m_device, name);
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(ask(database, kAllMessages), expected);
        }
    };
    std::thread second([&] { askOften("/other.db", kTwo); });
    std::thread third([&] { askOften("/sms.db", kThree); });
    askOften("/sms.db", kThree);
    second.join();
    third.join();
}

TEST_F(DatabaseTest, aDeviceThatOpensNoFilesHasNoDatabases)
{
    MemoryDevice device = {{"/sms.db", 4096}};
    Database database(device, "/sms.db");
    EXPECT_EQ(ask(database, kAllMessages), kRefused);
}

} // namespace
} // namespace slicewise
