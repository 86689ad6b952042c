// Databases that were made to keep whoever reads them busy, or to make him do something else.
#include "platform/Database.h"
#include "tests/platform/DatabaseFixture.h"

#include <gtest/gtest.h>

#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <vector>

namespace slicewise {
namespace {

// SQLite's memory may grow to this, and by what it needs to say so.
constexpr std::int64_t kMostMemoryBytes = std::int64_t{50} << 20U;
const std::string kEndless = "WITH RECURSIVE r(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM r) ";
// A table with a thousand rows, for joins.
const std::string kThousand =
    "CREATE TABLE n(i); WITH RECURSIVE r(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM r "
    "WHERE x<1000) INSERT INTO n SELECT x FROM r;";

class DatabaseHostileTest : public DatabaseFixture {
protected:
    void TearDown() override { EXPECT_LE(sqlite3_memory_highwater(1), kMostMemoryBytes); }
    // Another database for each body of the view "message".
    [[nodiscard]] Answer askView(const std::string &body, const std::string &before = "")
    {
        const std::string name = "view" + std::to_string(++m_views) + ".db";
        write(before + "CREATE VIEW message AS " + body, name);
        return query("SELECT text FROM message", {}, name);
    }

private:
    int m_views = 0;
};

TEST_F(DatabaseHostileTest, endlessRowsEnd)
{
    const Answer answer = askView(kEndless + "SELECT x AS text FROM r");
    EXPECT_FALSE(answer.complete);
    ASSERT_GT(answer.rows.size(), 10U);
    EXPECT_EQ(answer.rows[9], "10");
}

TEST_F(DatabaseHostileTest, whatIsEndlessWithoutARowEnds)
{
    EXPECT_EQ(askView(kEndless + "SELECT x AS text FROM r WHERE x<0"), kRefused);
    EXPECT_EQ(askView(kEndless + "SELECT count(*) AS text FROM r"), kRefused);
    EXPECT_EQ(askView("SELECT count(*) AS text FROM n a, n b, n c, n d, n e WHERE a.i+b.i+c.i+d.i+e.i<0",
                      kThousand),
              kRefused);
}

TEST_F(DatabaseHostileTest, aSortWithoutEndEndsWithinItsMemory)
{
    EXPECT_EQ(askView(kEndless + "SELECT x AS text FROM r ORDER BY -x"), kRefused);
    EXPECT_EQ(askView(kEndless + "SELECT hex(hex(hex(hex(x*1.5)))) AS text FROM r ORDER BY 1"), kRefused);
    EXPECT_EQ(askView(kEndless + "SELECT DISTINCT hex(hex(hex(hex(x*1.5)))) AS text FROM r WHERE x<>0 "
                                 "GROUP BY x HAVING x<0"),
              kRefused);
}

TEST_F(DatabaseHostileTest, functionsThatMakeGiantsAreNotRun)
{
    for (const char *text :
         {"zeroblob(1000000000)", "zeroblob(1000000)", "hex(randomblob(500000))", "printf('%.*c',900000,'x')",
          "format('%900000d',1)", "replace(hex(1),'3','abc')", "instr('abc','c')", "char(120,120)",
          "group_concat('x')", "json_array(1,2)", "json('[1]')", "'{\"a\":1}'->>'a'", "rtrim('xyx','xy')",
          "soundex('x')", "load_extension('x')", "fts3_tokenizer('x')", "sqlite_compileoption_get(1)"}) {
        EXPECT_EQ(askView(std::string("SELECT ") + text + " AS text"), kRefused) << text;
        EXPECT_EQ(query(std::string("SELECT ") + text, {}, "view1.db"), kRefused) << text;
    }
    EXPECT_EQ(askView("SELECT trim(' x ') AS text"), complete({"x"}));
}

TEST_F(DatabaseHostileTest, noFunctionButTheHarmlessIsRunWhateverTheEncoding)
{
    for (const char *encoding : {"UTF-8", "UTF-16le", "UTF-16be"}) {
        const std::string name = std::string(encoding) + ".db";
        // As generated columns too, which nobody is asked about when they are run.
        write(std::string("PRAGMA encoding='") + encoding +
                  "'; CREATE TABLE message(id INTEGER PRIMARY KEY, a AS (replace(id,1,2)), b AS (hex(id)),"
                  "c AS (json_array(id)), d AS (instr(id,1)), e AS (printf('%d',id)), f AS (zeroblob(id)),"
                  "g AS (trim(id,1)), h AS (soundex(id)), i AS (quote(id)), j AS (id LIKE '1'));"
                  "INSERT INTO message VALUES(1);",
              name);
        for (const char *column : {"a", "c", "d", "e", "f", "g", "h"}) {
            EXPECT_EQ(query(std::string("SELECT ") + column + " FROM message", {}, name), kRefused)
                << encoding << ' ' << column;
        }
        EXPECT_EQ(query("SELECT id, b, i, j FROM message", {}, name), complete({"1|31|1|1"})) << encoding;
        for (const char *text :
             {"fts3_tokenizer('simple')", "fts3_tokenizer('simple', x'00')", "fts5(NULL)", "snippet('x')",
              "optimize('x')", "matchinfo('x')", "rtreecheck('message')", "rtreedepth(x'00000000')",
              "rtreenode(2, x'00000000')", "randomblob(1)", "random()"}) {
            EXPECT_EQ(query(std::string("SELECT ") + text, {}, name), kRefused) << encoding << ' ' << text;
        }
    }
}

TEST_F(DatabaseHostileTest, textsThatDoubleEndAtTheLargestLength)
{
    EXPECT_EQ(askView("WITH RECURSIVE r(x) AS (SELECT 'x' UNION ALL SELECT x||x FROM r) "
                      "SELECT max(length(x)) AS text FROM r"),
              kRefused);
}

TEST_F(DatabaseHostileTest, largeTextsThatAreMadeOverAndOverEnd)
{
    EXPECT_EQ(
        askView("WITH RECURSIVE d(x) AS (SELECT 'x' UNION ALL SELECT x||x FROM d WHERE length(x)<300000),"
                "l(x) AS (SELECT x FROM d ORDER BY length(x) DESC LIMIT 1),"
                "r(x) AS (SELECT x FROM l UNION ALL SELECT substr(x||x,1,length(x)) FROM r) "
                "SELECT count(x) AS text FROM r"),
        kRefused);
}

TEST_F(DatabaseHostileTest, aLargeTextIsNotComparedWithALargePattern)
{
    const std::string text = "WITH RECURSIVE d(x) AS (SELECT 'a' UNION ALL SELECT x||x FROM d WHERE "
                             "length(x)<60000), l(x) AS (SELECT x FROM d ORDER BY length(x) DESC LIMIT 1)";
    std::string wildcards;
    for (int i = 0; i < 2000; ++i) {
        wildcards += "%a_a";
    }
    EXPECT_EQ(askView(text + "SELECT x LIKE '" + wildcards + "b' AS text FROM l"), kRefused);
    EXPECT_EQ(askView(text + "SELECT x GLOB replace('" + wildcards + "','%','*') AS text FROM l"), kRefused);
    EXPECT_EQ(askView(text + "SELECT x LIKE '%b' AS text FROM l"), complete({"0"}));
    EXPECT_EQ(askView(text + "SELECT sum(a.x LIKE '%ab%ba%') AS text FROM l a, n b, n c", kThousand),
              kRefused);
}

TEST_F(DatabaseHostileTest, generatedColumnsAreHeldToTheSame)
{
    write("CREATE TABLE message(id, text AS (printf('%.*c',900000,'x'))); INSERT INTO message VALUES(1)");
    EXPECT_EQ(query("SELECT text FROM message"), kRefused);
    EXPECT_EQ(query("SELECT id FROM message"), complete({"1"}));
    write("CREATE TABLE message(a, b AS (a||a), c AS (b||b), d AS (c||c), text AS (d||d));"
          "INSERT INTO message VALUES(hex(zeroblob(40000)))",
          "doubled.db");
    EXPECT_EQ(query("SELECT text FROM message", {}, "doubled.db"), kRefused);
}

TEST_F(DatabaseHostileTest, viewsOfViewsOfViewsEnd)
{
    std::string views = "CREATE VIEW v0 AS SELECT 1 AS text;";
    for (int i = 1; i <= 40; ++i) {
        const std::string below = "v" + std::to_string(i - 1);
        views += "CREATE VIEW v" + std::to_string(i) + " AS SELECT a.text FROM " + below + " a, " + below +
                 " b UNION ALL SELECT text FROM " + below + ";";
    }
    EXPECT_EQ(askView("SELECT text FROM v40", views), kRefused);
    EXPECT_EQ(query("SELECT text FROM v1", {}, "view1.db"), complete({"1", "1"}));
    EXPECT_EQ(askView("SELECT text FROM message"), kRefused);
}

TEST_F(DatabaseHostileTest, virtualTablesAreNotRead)
{
    write("CREATE VIRTUAL TABLE message USING fts5(text); INSERT INTO message VALUES('x');"
          "CREATE VIRTUAL TABLE tree USING rtree(id, a, b);"
          "CREATE TABLE plain(text); INSERT INTO plain VALUES('y');");
    EXPECT_EQ(query("SELECT text FROM message"), kRefused);
    EXPECT_EQ(query("SELECT id FROM tree"), kRefused);
    EXPECT_EQ(query("SELECT name FROM dbstat"), kRefused);
    EXPECT_EQ(query("SELECT file FROM pragma_database_list"), kRefused);
    EXPECT_EQ(query("SELECT value FROM json_each('[1]')"), kRefused);
    EXPECT_EQ(query("SELECT text FROM plain"), complete({"y"}));
}

TEST_F(DatabaseHostileTest, aSchemaWithWhatIsNotRunIsReadAllTheSame)
{
    write("CREATE TABLE message(id INTEGER PRIMARY KEY, text TEXT CHECK(instr(text,'z')=0), data);"
          "CREATE INDEX byKey ON message(json_extract(data,'$.key')) WHERE replace(text,'a','b')<>'';"
          "CREATE TRIGGER loud AFTER INSERT ON message BEGIN SELECT printf('%d',1); END;"
          "CREATE VIEW broken AS SELECT none FROM nowhere;"
          "INSERT INTO message VALUES(1,'one','{\"key\":1}')");
    EXPECT_EQ(messages(), complete({"1|one"}));
}

TEST_F(DatabaseHostileTest, aSchemaThatIsAGiantEnds)
{
    {
        const auto writer = databaseWriter(host("sms.db"));
        ASSERT_TRUE(writer->send("CREATE TABLE message(id, text)"));
        ASSERT_TRUE(writer->send("PRAGMA writable_schema=ON;" + kEndless +
                                 "INSERT INTO sqlite_schema SELECT 'table','t'||x,'t'||x,2,"
                                 "'CREATE TABLE t'||x||'(a DEFAULT '''||hex(zeroblob(1000))||''')' "
                                 "FROM r LIMIT 30000"));
    }
    EXPECT_EQ(messages(), kRefused);
}

TEST_F(DatabaseHostileTest, allTextsOfAQueryTogetherAreLimited)
{
    write(kTwoMessages);
    Database::Limits limits;
    limits.mostTextBytes = 1 + 3 + 1 + 3;
    EXPECT_EQ(query(kAllMessages, limits), complete({"1|one", "2|two"}));
    --limits.mostTextBytes;
    const Answer answer = query(kAllMessages, limits);
    EXPECT_FALSE(answer.complete);
    EXPECT_EQ(answer.rows, (std::vector<std::string>{"1|one"}));
    // What a NUL hides counts as well.
    limits.mostTextBytes = 1000;
    write("CREATE TABLE large(x); INSERT INTO large VALUES(zeroblob(1001))");
    EXPECT_EQ(query("SELECT x FROM large", limits), kRefused);
}

TEST_F(DatabaseHostileTest, aRowWithALargePictureIsReadAndOneThatIsTooLargeIsNot)
{
    const auto writer = databaseWriter(host("sms.db"));
    ASSERT_TRUE(writer->send("CREATE TABLE message(id, picture, text);"
                             "INSERT INTO message VALUES(1, zeroblob(15000000), 'one');"));
    EXPECT_EQ(messages(), complete({"1|one"}));
    ASSERT_TRUE(writer->send("INSERT INTO message VALUES(2, zeroblob(17000000), 'two');"));
    EXPECT_EQ(messages(), complete({"1|one", "2|two"}));
    EXPECT_EQ(query("SELECT length(hex(picture)) FROM message WHERE id=2"), kRefused);
    EXPECT_EQ(query("SELECT picture FROM message WHERE id=2"), kRefused);
}

TEST_F(DatabaseHostileTest, instructionsAreCounted)
{
    write(kThousand);
    Database::Limits limits;
    const std::string pairs = "SELECT count(*) FROM n a, n b WHERE a.i+b.i<0";
    limits.mostSteps = 1'000'000;
    EXPECT_EQ(query(pairs, limits), kRefused);
    limits.mostSteps = 20'000'000;
    EXPECT_EQ(query(pairs, limits), complete({"0"}));
}

TEST_F(DatabaseHostileTest, theCallerCanStopAQuery)
{
    write(kThousand);
    Database::Limits limits;
    int asked = 0;
    limits.mostSteps = std::uint64_t{1} << 60U;
    limits.stop = [&asked] { return ++asked > 5; };
    EXPECT_EQ(query("SELECT count(*) FROM n a, n b, n c, n d WHERE a.i+b.i+c.i+d.i<0", limits), kRefused);
    EXPECT_EQ(asked, 6);
    limits.stop = [] { return true; };
    EXPECT_EQ(query("SELECT count(*) FROM n", limits), kRefused);
}

} // namespace
} // namespace slicewise
