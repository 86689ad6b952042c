#include "tests/platform/DatabaseFixture.h"

#include "tests/support/OpenDescriptors.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>
#include <utility>

namespace slicewise {

namespace {

struct CloseConnection {
    void operator()(sqlite3 *connection) const { sqlite3_close(connection); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;

Connection openToWrite(const std::string &hostPath)
{
    sqlite3 *opened = nullptr;
    if (sqlite3_open(hostPath.c_str(), &opened) != SQLITE_OK) {
        throw std::runtime_error("can't open " + hostPath);
    }
    return Connection(opened);
}

std::string contentOf(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return std::move(text).str();
}

// Messages are datagrams, so that they stay whole.
constexpr std::size_t kMostMessageBytes = 65536;

[[noreturn]] void handleMessages(int channel, const OtherProcess::Handler &handler)
{
    std::string message(kMostMessageBytes, '\0');
    while (true) {
        const ssize_t length = ::recv(channel, message.data(), message.size(), 0);
        if (length <= 0) {
            ::_exit(0);
        }
        const char answer = handler(message.substr(0, static_cast<std::size_t>(length))) ? 'y' : 'n';
        if (::send(channel, &answer, 1, MSG_NOSIGNAL) != 1) {
            ::_exit(1);
        }
    }
}

} // namespace

void writeDatabase(const std::string &hostPath, const std::string &sql)
{
    const Connection connection = openToWrite(hostPath);
    char *message = nullptr;
    const int code = sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, &message);
    const std::string text = message != nullptr ? message : "";
    sqlite3_free(message);
    if (code != SQLITE_OK) {
        throw std::runtime_error(hostPath + ": " + text);
    }
}

OtherProcess::OtherProcess(const Handler &handler)
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    m_channel = UniqueFd(ends[0]);
    const UniqueFd theirs(ends[1]);
    m_process = ::fork();
    if (m_process == 0) {
        m_channel.reset();
        handleMessages(theirs.get(), handler);
    }
    if (m_process < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
}

bool OtherProcess::send(const std::string &message)
{
    char answer = 'n';
    return ::send(m_channel.get(), message.data(), message.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(message.size()) &&
           ::recv(m_channel.get(), &answer, 1, 0) == 1 && answer == 'y';
}

void OtherProcess::end()
{
    m_channel.reset();
    if (m_process > 0) {
        while (::waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
        }
        m_process = -1;
    }
}

std::unique_ptr<OtherProcess> databaseWriter(const std::string &hostPath)
{
    auto connection = std::make_shared<Connection>();
    return std::make_unique<OtherProcess>([hostPath, connection](const std::string &sql) {
        if (!*connection) {
            sqlite3_hard_heap_limit64(0); // a reader's, which has come with the fork
            *connection = openToWrite(hostPath);
        }
        return sqlite3_exec(connection->get(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    });
}

std::unique_ptr<OtherProcess> byteLocker(const std::string &hostPath)
{
    auto file = std::make_shared<UniqueFd>();
    return std::make_unique<OtherProcess>([hostPath, file](const std::string &offset) {
        if (!*file) {
            *file = UniqueFd(::open(hostPath.c_str(), O_RDWR | O_CLOEXEC));
        }
        struct flock range = {};
        range.l_type = F_WRLCK;
        range.l_whence = SEEK_SET;
        range.l_start = std::stol(offset);
        range.l_len = 1;
        return ::fcntl(file->get(), F_SETLK, &range) == 0;
    });
}

std::ostream &operator<<(std::ostream &stream, const Answer &answer)
{
    stream << (answer.complete ? "complete" : "incomplete") << ", " << answer.rows.size() << " rows:";
    for (const std::string &row : answer.rows) {
        stream << "\n  " << row;
    }
    return stream;
}

Answer ask(Database &database, const std::string &query, const Database::Limits &limits)
{
    Answer answer;
    answer.complete = database.forEachRow(
        query,
        [&answer](Database::Row row) {
            std::string line;
            for (const char *text : row) {
                line += (line.empty() ? "" : "|") + std::string(text != nullptr ? text : "NULL");
            }
            answer.rows.push_back(std::move(line));
        },
        limits);
    return answer;
}

std::map<std::string, std::string> snapshot(const std::string &hostDirectory)
{
    std::map<std::string, std::string> found;
    const auto add = [&found](const std::string &path) {
        struct stat status = {};
        if (::lstat(path.c_str(), &status) != 0) {
            throw std::system_error(errno, std::generic_category(), path);
        }
        std::ostringstream text;
        text << std::oct << status.st_mode << std::dec << ' ' << status.st_ino << ' ' << status.st_size << ' '
             << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec << ' ' << status.st_ctim.tv_sec << '.'
             << status.st_ctim.tv_nsec << '\n';
        if (S_ISREG(status.st_mode)) {
            text << contentOf(path);
        }
        found[path] = std::move(text).str();
    };
    add(hostDirectory);
    for (const auto &entry : std::filesystem::recursive_directory_iterator(hostDirectory)) {
        add(entry.path().string());
    }
    return found;
}

DatabaseFixture::DatabaseFixture()
{
    auto device = HostDevice::open(m_directory.path(), &m_calls);
    if (!device) {
        throw std::system_error(device.error(), std::generic_category(), m_directory.path());
    }
    m_device = std::move(device).value();
}

Answer DatabaseFixture::query(const std::string &sql, const Database::Limits &limits,
                              const std::string &name) const
{
    const auto before = snapshot(m_directory.path());
    const std::set<int> descriptors = openDescriptors();
    Database database(*m_device, "/" + name);
    Answer answer = ask(database, sql, limits);
    EXPECT_EQ(openDescriptors(), descriptors);
    // Not EXPECT_EQ, which would print whole files.
    EXPECT_TRUE(snapshot(m_directory.path()) == before) << "The query has changed something on the disk";
    return answer;
}

Answer DatabaseFixture::messages(const std::string &name) const
{
    return query(kAllMessages, {}, name);
}

void DatabaseFixture::crashAfter(const std::string &sql, const std::string &name) const
{
    const auto writer = databaseWriter(host(name));
    EXPECT_TRUE(writer->send(sql));
}

} // namespace slicewise
