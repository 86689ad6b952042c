// A SQLite database of a device, read and never written.
//
// A database in a scanned tree is evidence: it is read through the device alone, nothing is created, changed
// or recovered beside it, whatever state it is in. Rows that are still only in its write-ahead log are seen,
// also where the directory can't be written; a transaction that a crash has left half done is rolled back in
// memory, for the query alone. Each query opens the files anew, holds a reader's locks while it runs, and
// waits for nobody: where a writer is just committing, or moving the log into the database, it fails.
//
// Its schema may come from anyone, so a query that runs without end, or makes texts or memory without end, is
// ended. A value has at most 16 MB, and no more than twice what the files have, if that is above 1 MB. Only
// harmless functions can be used, in queries as in views and generated columns: dates, numbers, lengths,
// parts, aggregates, LIKE and GLOB; not replace, instr, printf, group_concat, JSON, window functions or
// virtual tables. SQLite's memory is limited to 48 MB for the whole process, which is the only limit that it
// has: nothing else in this process uses it, and a query that finds the memory taken fails like one that
// takes too much itself.
//
// The device must outlive the database. One thread at a time; several databases may be read at once. The
// locks are the process's, so a second query on the same file, in another thread or from a row's callback,
// gives them back when it ends: the first one then goes on unprotected.
#pragma once

#include "platform/Device.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace slicewise {

class Database {
public:
    /// Of one query. Its processor time is limited to 50 ns for each instruction that it may make and 0.2 s
    /// more, all of it to 10 s; the time that `row` takes counts for neither.
    struct Limits {
        std::uint64_t mostSteps = 40'000'000;                   ///< instructions of SQLite's machine
        std::uint64_t mostTextBytes = std::uint64_t{32} << 20U; ///< of all rows of a query together
        std::function<bool()> stop;                             ///< asked now and then; true ends the query
    };

    /// The columns of a row as NUL-terminated texts, whatever their type; null for NULL. Valid during the
    /// call.
    using Row = std::span<const char *const>;

    /// Never fails: where there is no such database, the queries do.
    Database(const Device &device, std::string path);
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;
    ~Database();

    /// Runs one query and calls `row` for each of its rows, in order. False where it could not be run to its
    /// end (missing, locked by a writer, damaged, another schema, beyond the limits, no query that only
    /// reads); rows before that have been handed out. What follows the query's semicolon is not run. What
    /// `row` raises passes through.
    bool forEachRow(const std::string &query, const std::function<void(Row)> &row, const Limits &limits);
    bool forEachRow(const std::string &query, const std::function<void(Row)> &row)
    {
        return forEachRow(query, row, Limits());
    }

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace slicewise
