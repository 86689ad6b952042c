// The files of a database as SQLite finds them: those of a device, to be read, whatever SQLite asks for.
//
// A VFS of SQLite, registered under a name of its own as long as the object lives. It opens the database, its
// write-ahead log and its journal, and nothing else; it creates, changes and removes nothing, and says that
// it did where SQLite would not go on otherwise.
//
// It takes the locks of any reader and waits for none: those on the database, and where a write-ahead log has
// its index beside it, two readers' marks in that, so that no other process moves the log into the database
// or begins it anew while it is read. They are locks of the process (fcntl(2)): where two of these have one
// database open, closing one gives up the locks of both.
#pragma once

#include "platform/Device.h"

#include <functional>
#include <memory>
#include <string>

namespace slicewise {

class DatabaseFiles {
public:
    /// Asked at each reading; true makes it fail. Raises nothing.
    using GiveUp = std::function<bool()>;

    /// path: the database's, without links, since what belongs to it lies beside the file itself. The device
    /// is borrowed.
    DatabaseFiles(const Device &device, std::string path, GiveUp giveUp);
    DatabaseFiles(const DatabaseFiles &) = delete;
    DatabaseFiles &operator=(const DatabaseFiles &) = delete;
    /// All connections have been closed.
    ~DatabaseFiles();

    /// For sqlite3_open_v2(), to be opened for reading and writing. The database's name there is not its
    /// path, which may be longer than SQLite has it, or look like a URI.
    [[nodiscard]] const char *vfsName() const;
    static constexpr const char *kDatabaseName = "database";

private:
    class Vfs;
    std::unique_ptr<Vfs> m_vfs;
};

} // namespace slicewise
