// A SQLite database of a device, read and never written.
//
// A database in a scanned tree is evidence: it is read through the device alone, nothing is created, changed
// or recovered beside it, whatever state it is in, and rows that are still only in its write-ahead log are
// seen. Its schema may come from anyone, so a query that runs without end, or makes texts or memory without
// end, is ended. The device must outlive the database. One thread at a time.
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
    struct Limits {
        std::uint64_t mostSteps = 40'000'000;                   ///< instructions of SQLite's machine, a query
        std::uint64_t mostTextBytes = std::uint64_t{64} << 20U; ///< of all rows of a query together
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
    /// end (missing, locked by a writer, damaged, another schema, beyond the limits); rows before that have
    /// been handed out. What `row` raises passes through.
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
