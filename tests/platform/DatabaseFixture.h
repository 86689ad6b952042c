// What the tests of databases have in common: a directory, a device on it, queries that are held to changing
// nothing, and other processes that write.
#pragma once

#include "platform/Database.h"
#include "platform/HostDevice.h"
#include "platform/UniqueFd.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace slicewise {

/// Runs SQL on a database with a connection that writes, which is closed then.
void writeDatabase(const std::string &hostPath, const std::string &sql);

/// A process that handles messages one after the other until it is ended, without tidying up.
class OtherProcess {
public:
    /// In the other process; whether it worked.
    using Handler = std::function<bool(const std::string &message)>;

    explicit OtherProcess(const Handler &handler);
    OtherProcess(const OtherProcess &) = delete;
    OtherProcess &operator=(const OtherProcess &) = delete;
    ~OtherProcess() { end(); }

    /// Waits until the message has been handled.
    bool send(const std::string &message);
    /// At once, as by a crash.
    void end();

private:
    ::pid_t m_process = -1;
    UniqueFd m_channel;
};

/// One that runs SQL on a database, with one connection.
std::unique_ptr<OtherProcess> databaseWriter(const std::string &hostPath);
/// One that locks a byte of the file for writing for each message, its offset.
std::unique_ptr<OtherProcess> byteLocker(const std::string &hostPath);

/// A query's rows, one line each: "1|text|NULL".
struct Answer {
    bool complete = false;
    std::vector<std::string> rows;

    friend bool operator==(const Answer &, const Answer &) = default;
    friend std::ostream &operator<<(std::ostream &stream, const Answer &answer);
};
inline Answer complete(std::vector<std::string> rows)
{
    return {.complete = true, .rows = std::move(rows)};
}
inline const Answer kRefused = {.complete = false, .rows = {}};

Answer ask(Database &database, const std::string &query, const Database::Limits &limits = {});

/// Names, kinds, modes, sizes, times of change and contents of all that is in a directory.
std::map<std::string, std::string> snapshot(const std::string &hostDirectory);

class DatabaseFixture : public testing::Test {
public:
    DatabaseFixture();

protected:
    [[nodiscard]] std::string host(const std::string &name) const { return m_directory.pathOf(name); }
    /// Asks the database "/<name>", and expects that nothing is changed on the disk or left open.
    [[nodiscard]] Answer query(const std::string &sql, const Database::Limits &limits = {},
                               const std::string &name = "sms.db") const;
    /// `SELECT id, text FROM message ORDER BY id`
    [[nodiscard]] Answer messages(const std::string &name = "sms.db") const;
    void write(const std::string &sql, const std::string &name = "sms.db") const
    {
        writeDatabase(host(name), sql);
    }
    /// Runs SQL in another process that then ends as by a crash.
    void crashAfter(const std::string &sql, const std::string &name = "sms.db") const;

    TemporaryDirectory m_directory;
    FailingSystemCalls m_calls;
    std::unique_ptr<HostDevice> m_device;
};

inline const std::string kAllMessages = "SELECT id, text FROM message ORDER BY id";
inline const std::string kTwoMessages = "CREATE TABLE message(id INTEGER PRIMARY KEY, text TEXT);"
                                        "INSERT INTO message VALUES(1,'one'),(2,'two');";

} // namespace slicewise
