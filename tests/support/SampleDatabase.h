// A SQLite database that is made up, as a running device leaves it: with a write-ahead log beside it, if
// wanted.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace slicewise {

/// What goes wrong throws std::runtime_error, with SQLite's own sentence.
class SampleDatabase {
public:
    using Value = std::variant<std::nullptr_t, std::int64_t, std::string>;

    /// Makes the file; everything up to the end is one transaction, or one up to startLog() and one after.
    explicit SampleDatabase(std::string hostPath, const std::string &schema);
    SampleDatabase(const SampleDatabase &) = delete;
    SampleDatabase &operator=(const SampleDatabase &) = delete;
    ~SampleDatabase() = default;

    /// One row into a table, a value for each column.
    void insert(const std::string &table, const std::vector<Value> &values);

    /// What follows goes into the log alone, which stays behind, "-wal" after the database's name.
    void startLog();
    /// Once, at the end. `salt` stands in the log, if there is one, where SQLite has chance numbers.
    void close(std::uint64_t salt = 0);

private:
    struct Closer {
        void operator()(sqlite3 *database) const;
        void operator()(sqlite3_stmt *statement) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

    void run(const std::string &statements);
    void check(int result) const;
    Statement &inserterInto(const std::string &table, std::size_t columns);

    std::string m_path;
    std::unique_ptr<sqlite3, Closer> m_database;
    std::map<std::string, Statement> m_inserters; ///< by table
    bool m_hasLog = false;
};

} // namespace slicewise
