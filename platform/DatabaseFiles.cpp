#include "platform/DatabaseFiles.h"

#include "platform/DatabaseFile.h"

#include <sqlite3.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace slicewise {

namespace {

constexpr int kMostPathBytes = 4096;

// The index of a write-ahead log has, from its byte 120 on, one to be locked for each of writing, checkpoint
// and recovery, then those of five readers' marks. Who holds the first mark keeps the log from being moved
// into the database; who holds one of the others keeps it from being begun anew.
constexpr std::uint64_t kMarkOfDatabase = 123;
constexpr std::array<std::uint64_t, 4> kMarksOfLog = {124, 125, 126, 127};

/// What SQLite takes for a file of its own kind.
struct OpenFile {
    sqlite3_file base;
    DatabaseFile *file;
    const DatabaseFiles::GiveUp *giveUp;
};

// SQLite is written in C: no exception may pass through it.
template <typename Body> int guarded(Body body) noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc &) {
        return SQLITE_IOERR_NOMEM;
    } catch (...) {
        return SQLITE_IOERR;
    }
}

OpenFile &openFileOf(sqlite3_file *file)
{
    return *reinterpret_cast<OpenFile *>(file);
}

DatabaseFile &fileOf(sqlite3_file *file)
{
    return *openFileOf(file).file;
}

int closeFile(sqlite3_file *file)
{
    delete openFileOf(file).file;
    openFileOf(file).file = nullptr;
    return SQLITE_OK;
}

int readFromFile(sqlite3_file *file, void *into, int length, sqlite3_int64 offset)
{
    return guarded([&] {
        if ((*openFileOf(file).giveUp)()) {
            return SQLITE_IOERR_READ;
        }
        return fileOf(file).read({static_cast<std::byte *>(into), static_cast<std::size_t>(length)},
                                 static_cast<std::uint64_t>(offset));
    });
}

int writeToFile(sqlite3_file *file, const void *from, int length, sqlite3_int64 offset)
{
    return guarded([&] {
        return fileOf(file).write({static_cast<const std::byte *>(from), static_cast<std::size_t>(length)},
                                  static_cast<std::uint64_t>(offset));
    });
}

int truncateFile(sqlite3_file *file, sqlite3_int64 size)
{
    return guarded([&] { return fileOf(file).truncate(static_cast<std::uint64_t>(size)); });
}

int syncFile(sqlite3_file * /*file*/, int /*flags*/)
{
    return SQLITE_OK;
}

int fileSize(sqlite3_file *file, sqlite3_int64 *size)
{
    return guarded([&] {
        std::int64_t bytes = 0;
        const int code = fileOf(file).size(&bytes);
        *size = bytes;
        return code;
    });
}

int lockFile(sqlite3_file *file, int level)
{
    return guarded([&] { return fileOf(file).lock(level); });
}

int unlockFile(sqlite3_file *file, int level)
{
    return guarded([&] { return fileOf(file).unlock(level); });
}

int checkReservedLock(sqlite3_file *file, int *answer)
{
    return guarded([&] {
        bool isReserved = false;
        const int code = fileOf(file).checkReserved(&isReserved);
        *answer = isReserved ? 1 : 0;
        return code;
    });
}

int controlFile(sqlite3_file * /*file*/, int /*operation*/, void * /*argument*/)
{
    return SQLITE_NOTFOUND;
}

int sectorSize(sqlite3_file * /*file*/)
{
    return 0; // the usual one
}

int deviceCharacteristics(sqlite3_file * /*file*/)
{
    return SQLITE_IOCAP_POWERSAFE_OVERWRITE; // as on most systems: sectors of 512 bytes
}

// Version 1 has no shared memory: SQLite keeps the index of a log to itself then.
constexpr sqlite3_io_methods kMethods = {
    .iVersion = 1,
    .xClose = closeFile,
    .xRead = readFromFile,
    .xWrite = writeToFile,
    .xTruncate = truncateFile,
    .xSync = syncFile,
    .xFileSize = fileSize,
    .xLock = lockFile,
    .xUnlock = unlockFile,
    .xCheckReservedLock = checkReservedLock,
    .xFileControl = controlFile,
    .xSectorSize = sectorSize,
    .xDeviceCharacteristics = deviceCharacteristics,
    .xShmMap = nullptr,
    .xShmLock = nullptr,
    .xShmBarrier = nullptr,
    .xShmUnmap = nullptr,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

bool isMissing(int error)
{
    return error == ENOENT || error == ENOTDIR;
}

// Takes the readers' marks in the index of a log.
int holdMarks(ReadableFile &index)
{
    const auto isBusy = [&index](std::uint64_t mark) {
        const Result<bool> locked = index.lockShared(mark, 1);
        // A file system that can't lock must not keep us from reading.
        return !locked && locked.error() == EAGAIN;
    };
    // The log is just being moved into the database, whose pages then are neither old nor new.
    if (isBusy(kMarkOfDatabase)) {
        return SQLITE_BUSY;
    }
    // Each of these is somebody's for a moment when a reader sets it, all of them when the log begins anew.
    for (const std::uint64_t mark : kMarksOfLog) {
        if (!isBusy(mark)) {
            return SQLITE_OK;
        }
    }
    return SQLITE_BUSY;
}

} // namespace

class DatabaseFiles::Vfs {
public:
    Vfs(const Device &device, std::string path, GiveUp giveUp);
    Vfs(const Vfs &) = delete;
    Vfs &operator=(const Vfs &) = delete;
    ~Vfs();

    [[nodiscard]] const char *name() const { return m_name.c_str(); }

private:
    static Vfs &of(sqlite3_vfs *vfs) { return *static_cast<Vfs *>(vfs->pAppData); }
    static int open(sqlite3_vfs *vfs, const char *name, sqlite3_file *file, int flags, int *outFlags);
    static int remove(sqlite3_vfs *vfs, const char *name, int sync);
    static int access(sqlite3_vfs *vfs, const char *name, int flags, int *answer);
    static int fullPathname(sqlite3_vfs *vfs, const char *name, int length, char *path);
    static int randomness(sqlite3_vfs *vfs, int length, char *into);
    static int sleep(sqlite3_vfs *vfs, int microseconds);
    static int currentTime(sqlite3_vfs *vfs, double *julianDay);
    static int lastError(sqlite3_vfs *vfs, int length, char *message);

    using Opened = std::unique_ptr<DatabaseFile>;
    int openAny(const char *name, int flags, Opened &opened) const;
    int openMain(Opened &opened) const;
    int openLog(Opened &opened) const;
    int openJournal(std::string_view name, Opened &opened) const;
    int askJournal(bool *isHot) const;
    int exists(std::string_view name, bool *answer) const;
    [[nodiscard]] std::string pathOf(std::string_view name) const;

    const Device &m_device;
    std::string m_path;
    GiveUp m_giveUp;
    std::string m_name;
    sqlite3_vfs m_vfs = {};
};

DatabaseFiles::Vfs::Vfs(const Device &device, std::string path, GiveUp giveUp)
    : m_device(device), m_path(std::move(path)), m_giveUp(std::move(giveUp))
{
    static std::atomic<std::uint64_t> count = 0;
    m_name = "slicewise-" + std::to_string(++count);
    m_vfs.iVersion = 1;
    m_vfs.szOsFile = sizeof(OpenFile);
    m_vfs.mxPathname = kMostPathBytes;
    m_vfs.zName = m_name.c_str();
    m_vfs.pAppData = this;
    m_vfs.xOpen = open;
    m_vfs.xDelete = remove;
    m_vfs.xAccess = access;
    m_vfs.xFullPathname = fullPathname;
    m_vfs.xRandomness = randomness;
    m_vfs.xSleep = sleep;
    m_vfs.xCurrentTime = currentTime;
    m_vfs.xGetLastError = lastError;
    // Where it can't be registered, it can't be opened either.
    static_cast<void>(sqlite3_vfs_register(&m_vfs, 0));
}

DatabaseFiles::Vfs::~Vfs()
{
    sqlite3_vfs_unregister(&m_vfs);
}

int DatabaseFiles::Vfs::open(sqlite3_vfs *vfs, const char *name, sqlite3_file *file, int flags, int *outFlags)
{
    file->pMethods = nullptr;
    return guarded([&] {
        Opened opened;
        const int code = of(vfs).openAny(name, flags, opened);
        if (code != SQLITE_OK) {
            return code;
        }
        openFileOf(file) = {
            .base = {.pMethods = &kMethods}, .file = opened.release(), .giveUp = &of(vfs).m_giveUp};
        if (outFlags != nullptr) {
            // The log is never to be written. The others are so in name, or SQLite would not roll back.
            const bool isLog = (flags & SQLITE_OPEN_WAL) != 0;
            *outFlags = isLog ? SQLITE_OPEN_READONLY | SQLITE_OPEN_WAL : flags;
        }
        return SQLITE_OK;
    });
}

int DatabaseFiles::Vfs::openAny(const char *name, int flags, Opened &opened) const
{
    if (name == nullptr) {
        return SQLITE_CANTOPEN; // a temporary file
    }
    if ((flags & SQLITE_OPEN_MAIN_DB) != 0) {
        return openMain(opened);
    }
    if ((flags & SQLITE_OPEN_WAL) != 0) {
        return openLog(opened);
    }
    if ((flags & SQLITE_OPEN_MAIN_JOURNAL) != 0) {
        return openJournal(name, opened);
    }
    if ((flags & SQLITE_OPEN_SUPER_JOURNAL) != 0) {
        // It lists the journals of several databases that were changed together. When ours has been rolled
        // back, SQLite looks whether the others have been, too, and removes the list then: an empty one ends
        // that.
        opened = std::make_unique<SideDatabaseFile>(nullptr, SideDatabaseFile::Writes::Refused);
        return SQLITE_OK;
    }
    return SQLITE_CANTOPEN;
}

int DatabaseFiles::Vfs::openMain(Opened &opened) const
{
    Result<std::unique_ptr<ReadableFile>> file = m_device.openFile(m_path);
    if (!file) {
        return SQLITE_CANTOPEN;
    }
    opened = std::make_unique<MainDatabaseFile>(std::move(file).value(),
                                                [this](bool *isHot) { return askJournal(isHot); });
    return SQLITE_OK;
}

int DatabaseFiles::Vfs::openLog(Opened &opened) const
{
    // The index first: once its marks are held, the log stays what it is but for what comes behind its end.
    std::unique_ptr<ReadableFile> locked;
    if (Result<std::unique_ptr<ReadableFile>> index = m_device.openFile(m_path + "-shm"); index) {
        locked = std::move(index).value();
        if (const int code = holdMarks(*locked); code != SQLITE_OK) {
            return code;
        }
    }
    std::unique_ptr<ReadableFile> log;
    if (Result<std::unique_ptr<ReadableFile>> file = m_device.openFile(m_path + "-wal"); file) {
        log = std::move(file).value();
    } else if (!isMissing(file.error())) {
        return SQLITE_CANTOPEN; // without it, the rows would be those of another time
    }
    auto side = std::make_unique<SideDatabaseFile>(std::move(log), SideDatabaseFile::Writes::Refused);
    side->keepOpen(std::move(locked));
    opened = std::move(side);
    return SQLITE_OK;
}

int DatabaseFiles::Vfs::openJournal(std::string_view name, Opened &opened) const
{
    Result<std::unique_ptr<ReadableFile>> file = m_device.openFile(pathOf(name));
    if (!file) {
        return SQLITE_CANTOPEN;
    }
    opened = std::make_unique<SideDatabaseFile>(std::move(file).value(), SideDatabaseFile::Writes::Dropped);
    return SQLITE_OK;
}

int DatabaseFiles::Vfs::askJournal(bool *isHot) const
{
    *isHot = false;
    const Result<std::unique_ptr<ReadableFile>> file = m_device.openFile(m_path + "-journal");
    if (!file) {
        return isMissing(file.error()) ? SQLITE_OK : SQLITE_CANTOPEN;
    }
    // One that is done with, and kept for the next transaction, begins with a zero.
    std::array<std::byte, 1> first{};
    if (!(*file)->readAt(0, first)) {
        return SQLITE_IOERR_READ;
    }
    *isHot = first.front() != std::byte{0};
    return SQLITE_OK;
}

std::string DatabaseFiles::Vfs::pathOf(std::string_view name) const
{
    const std::string_view ours = kDatabaseName;
    if (name.starts_with(ours)) {
        return m_path + std::string(name.substr(ours.size()));
    }
    return std::string(name); // of a super-journal, as whoever wrote the database had it
}

int DatabaseFiles::Vfs::remove(sqlite3_vfs * /*vfs*/, const char * /*name*/, int /*sync*/)
{
    return SQLITE_OK;
}

int DatabaseFiles::Vfs::exists(std::string_view name, bool *answer) const
{
    const Result<FileStatus> status = m_device.status(pathOf(name));
    if (!status) {
        *answer = false;
        return isMissing(status.error()) ? SQLITE_OK : SQLITE_IOERR_ACCESS;
    }
    // An empty log or journal is none.
    *answer = status->type != FileType::RegularFile || status->sizeBytes > 0;
    return SQLITE_OK;
}

int DatabaseFiles::Vfs::access(sqlite3_vfs *vfs, const char *name, int /*flags*/, int *answer)
{
    return guarded([&] {
        bool isThere = false;
        const int code = of(vfs).exists(name, &isThere);
        *answer = isThere ? 1 : 0;
        return code;
    });
}

int DatabaseFiles::Vfs::fullPathname(sqlite3_vfs * /*vfs*/, const char *name, int length, char *path)
{
    const std::size_t size = std::strlen(name) + 1;
    if (size > static_cast<std::size_t>(length)) {
        return SQLITE_CANTOPEN;
    }
    std::memcpy(path, name, size);
    return SQLITE_OK;
}

int DatabaseFiles::Vfs::randomness(sqlite3_vfs * /*vfs*/, int length, char *into)
{
    std::memset(into, 0, static_cast<std::size_t>(length));
    return length;
}

int DatabaseFiles::Vfs::sleep(sqlite3_vfs * /*vfs*/, int /*microseconds*/)
{
    return 0;
}

int DatabaseFiles::Vfs::currentTime(sqlite3_vfs * /*vfs*/, double *julianDay)
{
    sqlite3_vfs *usual = sqlite3_vfs_find(nullptr);
    return usual != nullptr ? usual->xCurrentTime(usual, julianDay) : SQLITE_ERROR;
}

int DatabaseFiles::Vfs::lastError(sqlite3_vfs * /*vfs*/, int /*length*/, char * /*message*/)
{
    return 0;
}

DatabaseFiles::DatabaseFiles(const Device &device, std::string path, GiveUp giveUp)
    : m_vfs(std::make_unique<Vfs>(device, std::move(path), std::move(giveUp)))
{}

DatabaseFiles::~DatabaseFiles() = default;

const char *DatabaseFiles::vfsName() const
{
    return m_vfs->name();
}

} // namespace slicewise
