#include "scan/DirectoryWalk.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace slicewise {

namespace {

// How far the readers may be ahead of the walk. Enough to keep them busy while the walk works off a batch;
// beyond that it only costs memory.
constexpr std::size_t kMostEntriesAhead = std::size_t{16} * 1024;
constexpr std::size_t kMostDirectoriesAhead = 512;
// What is handed out at once. Waking a sleeping thread costs as much as classifying some hundred files.
constexpr std::size_t kEntriesWorthWaking = 1024;
constexpr std::size_t kDirectoriesWorthWaking = 64;
constexpr std::size_t kMostPartsAtOnce = 256;
constexpr std::size_t kMostEntriesAtOnce = 4096;
constexpr std::chrono::milliseconds kLongestWait(2);
// Stretches of a large directory that are read before they are handed on.
constexpr std::size_t kStretchesHeld = 4;

constexpr std::uint64_t kNoDevice = ~std::uint64_t{0};

std::size_t entriesIn(const std::vector<std::unique_ptr<EntryChunk>> &chunks)
{
    std::size_t count = 0;
    for (const auto &chunk : chunks) {
        count += chunk->size();
    }
    return count;
}

} // namespace

/// What is known of a directory while it is being read and until it has been handed out. Touched by its
/// reader without the lock, but for what is marked.
struct DirectoryWalk::Reading {
    std::string text;
    bool byCaller = false;
    bool opened = false;
    bool isGate = false; ///< whether it is entered is decided when its turn comes
    int error = 0;
    FileIdentity identity;
    std::optional<FileSystem> fileSystem; ///< where it is not that of the directory above
    std::optional<NotEntered> refused;
    EntryChunk subdirectories; ///< names only
    std::vector<std::unique_ptr<EntryChunk>> held;

    // With the lock:
    std::vector<std::unique_ptr<EntryChunk>> ready;
    bool started = false; ///< its first part has been handed out
    bool gateEntered = false;
};

struct DirectoryWalk::Directory {
    const PathNode *path = nullptr;
    std::uint64_t deviceAbove = kNoDevice;
    State state = State::Waiting;
    Directory *next = nullptr; ///< in walk order; in the free list while unused
    Directory *frontierPrevious = nullptr;
    Directory *frontierNext = nullptr;
    std::unique_ptr<Reading> reading;
};

DirectoryWalk::DirectoryWalk(const Device &device, const std::string &rootPath, PathTable &paths,
                             ChunkPool &pool, const Options &options)
    : m_device(device),
      m_policy(device, rootPath, options.scope),
      m_paths(paths),
      m_pool(pool),
      m_stop(options.stop != nullptr ? options.stop : &m_never),
      m_callersReader(device.makeReader())
{
    m_head = makeDirectory(m_paths.add(nullptr, rootPath), kNoDevice);
    m_frontierFirst = m_head;
    m_threads.reserve(options.readers);
    for (unsigned i = 0; i < options.readers; ++i) {
        m_threads.emplace_back([this] { readAhead(); });
    }
}

DirectoryWalk::~DirectoryWalk()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_workCame.notify_all();
    for (std::thread &thread : m_threads) {
        thread.join();
    }
}

// ---- the readers

void DirectoryWalk::readAhead()
{
    const std::unique_ptr<DirectoryReader> reader = m_device.makeReader();
    std::unique_lock lock(m_mutex);
    while (!stopped()) {
        Directory *directory = claimNext();
        if (directory == nullptr) {
            ++m_idleReaders;
            // Whoever asks to stop only sets a flag, so look at it now and then.
            m_workCame.wait_for(lock, std::chrono::milliseconds(20));
            --m_idleReaders;
            continue;
        }
        claim(*directory);
        if (m_idleReaders > 0 && claimNext() != nullptr) {
            m_workCame.notify_one();
        }
        lock.unlock();
        readDirectory(*reader, *directory);
        lock.lock();
        complete(*directory);
        if (m_callerWaits && worthWaking()) {
            m_partCame.notify_one();
        }
    }
}

void DirectoryWalk::readDirectory(DirectoryReader &reader, Directory &directory)
{
    openDirectory(reader, directory);
    while (!readStretches(reader, directory)) {
        publishStretches(directory);
    }
}

void DirectoryWalk::openDirectory(DirectoryReader &reader, Directory &directory)
{
    Reading &reading = *directory.reading;
    const bool isRoot = directory.path->parent() == nullptr;
    reading.text = directory.path->text();
    reading.refused = m_policy.refusalBeforeOpening(reading.text);
    if (reading.refused) {
        return;
    }
    const Result<FileIdentity> identity = reader.open(reading.text);
    if (!identity) {
        reading.error = identity.error();
        return;
    }
    reading.identity = *identity;
    if (isRoot) {
        m_rootIdentity = *identity; // nobody reads it before this directory is complete
    }
    if (identity->device != directory.deviceAbove) {
        reading.fileSystem = reader.fileSystem();
        if (!isRoot) {
            reading.refused =
                m_policy.refusalAfterOpening(reading.text, *identity, m_rootIdentity, *reading.fileSystem);
        }
    }
    reading.opened = !reading.refused;
    reading.isGate = reading.opened && m_policy.mayBeSeenTwice(*identity);
}

// Reads some stretches of an open directory; true when there is no more.
bool DirectoryWalk::readStretches(DirectoryReader &reader, Directory &directory)
{
    Reading &reading = *directory.reading;
    std::unique_ptr<EntryChunk> chunk;
    while (reading.opened && reading.held.size() < kStretchesHeld) {
        if (stopped()) {
            return true;
        }
        if (!chunk) {
            chunk = m_pool.take();
        }
        const Result<DirectoryReader::Progress> progress = reader.next(*chunk);
        const bool ended = !progress || *progress == DirectoryReader::Progress::End;
        if (!progress) {
            reading.error = progress.error();
        }
        if (reading.text == "/") {
            leaveOutDotFile(chunk);
        }
        bool hasFiles = false;
        for (const EntryChunk::Entry &entry : chunk->entries()) {
            if (entry.type == EntryType::Directory) {
                reading.subdirectories.append(chunk->name(entry), EntryType::Directory, 0);
            } else {
                hasFiles = true;
            }
        }
        if (hasFiles) {
            reading.held.push_back(std::exchange(chunk, nullptr));
        }
        if (ended) {
            if (chunk) {
                m_pool.giveBack(std::move(chunk));
            }
            return true;
        }
    }
    if (chunk) {
        m_pool.giveBack(std::move(chunk));
    }
    return !reading.opened;
}

// "/.file" is a thing of the file system, not of the owner.
void DirectoryWalk::leaveOutDotFile(std::unique_ptr<EntryChunk> &chunk)
{
    const auto isDotFile = [&](const EntryChunk::Entry &entry) { return chunk->name(entry) == ".file"; };
    const auto &entries = chunk->entries();
    if (std::none_of(entries.begin(), entries.end(), isDotFile)) {
        return;
    }
    std::unique_ptr<EntryChunk> rest = m_pool.take();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (isDotFile(entries[i])) {
            continue;
        }
        rest->append(chunk->name(entries[i]), entries[i].type, entries[i].sizeBytes);
        for (const EntryChunk::Failure &failure : chunk->failures()) {
            if (failure.entry == i) {
                rest->addFailure(rest->size() - 1, failure.error);
            }
        }
    }
    m_pool.giveBack(std::exchange(chunk, std::move(rest)));
}

void DirectoryWalk::publishStretches(Directory &directory)
{
    std::unique_lock lock(m_mutex);
    makeReady(directory);
    if (m_callerWaits && worthWaking()) {
        m_partCame.notify_one();
    }
    ++m_idleReaders;
    while (farEnoughAhead() && &directory != m_head && !stopped()) {
        m_workCame.wait_for(lock, std::chrono::milliseconds(20));
    }
    --m_idleReaders;
}

// ---- with the lock held

void DirectoryWalk::makeReady(Directory &directory)
{
    Reading &reading = *directory.reading;
    m_aheadEntries += entriesIn(reading.held);
    std::move(reading.held.begin(), reading.held.end(), std::back_inserter(reading.ready));
    reading.held.clear();
}

DirectoryWalk::Directory *DirectoryWalk::claimNext()
{
    // At most as many as there are threads are being read at the front.
    Directory *directory = m_frontierFirst;
    while (directory != nullptr && directory->state == State::Reading) {
        directory = directory->frontierNext;
    }
    return directory != nullptr && farEnoughAhead() && directory != m_head ? nullptr : directory;
}

void DirectoryWalk::claim(Directory &directory)
{
    directory.state = State::Reading;
    ++m_readingCount;
    if (m_spareReadings.empty()) {
        directory.reading = std::make_unique<Reading>();
    } else {
        directory.reading = std::move(m_spareReadings.back());
        m_spareReadings.pop_back();
    }
}

void DirectoryWalk::complete(Directory &directory)
{
    makeReady(directory);
    directory.state = State::Complete;
    --m_readingCount;
    ++m_aheadDirectories;
    if (!directory.reading->isGate) {
        expand(directory, &directory);
    }
    removeFromFrontier(directory);
}

// Puts the subdirectories behind their directory in walk order, the one listed last first, and into the
// frontier before `before`.
void DirectoryWalk::expand(Directory &directory, Directory *before)
{
    EntryChunk &subdirectories = directory.reading->subdirectories;
    const std::uint64_t device = directory.reading->identity.device;
    for (const EntryChunk::Entry &entry : subdirectories.entries()) {
        // Each goes right behind the directory, and so before those that were listed earlier.
        Directory *child = makeDirectory(m_paths.add(directory.path, subdirectories.name(entry)), device);
        child->next = directory.next;
        directory.next = child;
        insertIntoFrontier(*child, before);
        before = child;
    }
    subdirectories.clear();
}

void DirectoryWalk::insertIntoFrontier(Directory &directory, Directory *before)
{
    directory.frontierNext = before;
    if (before == nullptr) {
        // Only where the frontier is empty: what is expanded without a place in it is the head.
        directory.frontierPrevious = nullptr;
        m_frontierFirst = &directory;
        return;
    }
    directory.frontierPrevious = before->frontierPrevious;
    if (before->frontierPrevious != nullptr) {
        before->frontierPrevious->frontierNext = &directory;
    } else {
        m_frontierFirst = &directory;
    }
    before->frontierPrevious = &directory;
}

void DirectoryWalk::removeFromFrontier(Directory &directory)
{
    if (directory.frontierPrevious != nullptr) {
        directory.frontierPrevious->frontierNext = directory.frontierNext;
    } else {
        m_frontierFirst = directory.frontierNext;
    }
    if (directory.frontierNext != nullptr) {
        directory.frontierNext->frontierPrevious = directory.frontierPrevious;
    }
    directory.frontierPrevious = nullptr;
    directory.frontierNext = nullptr;
}

bool DirectoryWalk::farEnoughAhead() const
{
    return m_aheadEntries >= kMostEntriesAhead || m_aheadDirectories >= kMostDirectoriesAhead;
}

bool DirectoryWalk::headCanBeTaken() const
{
    return m_head != nullptr &&
           (m_head->state == State::Complete || (m_head->reading && !m_head->reading->ready.empty()));
}

bool DirectoryWalk::worthWaking() const
{
    const bool enough =
        m_aheadEntries >= kEntriesWorthWaking || m_aheadDirectories >= kDirectoriesWorthWaking;
    return headCanBeTaken() && (enough || m_readingCount == 0);
}

DirectoryWalk::Directory *DirectoryWalk::makeDirectory(const PathNode *path, std::uint64_t deviceAbove)
{
    Directory *directory = m_free;
    if (directory != nullptr) {
        m_free = directory->next;
        directory->next = nullptr;
        directory->state = State::Waiting;
    } else {
        directory = &m_directories.emplace_back();
    }
    directory->path = path;
    directory->deviceAbove = deviceAbove;
    return directory;
}

void DirectoryWalk::recycle(Directory &directory)
{
    // Only what may be in flight at once is worth keeping; a directory that waits needs none.
    constexpr std::size_t kMostSpare = 256;
    if (m_spareReadings.size() < kMostSpare) {
        *directory.reading = Reading();
        m_spareReadings.push_back(std::move(directory.reading));
    }
    directory.reading.reset();
    directory.next = m_free;
    m_free = &directory;
}

// ---- the caller's side

bool DirectoryWalk::next(std::vector<Part> &parts)
{
    parts.clear();
    std::unique_lock lock(m_mutex);
    bool waitedLongEnough = false;
    while (m_head != nullptr) {
        if (stopped()) {
            m_report.stopped = true;
            return false;
        }
        if (m_head->state == State::Waiting || (m_head->reading && m_head->reading->byCaller)) {
            readHeadHere(lock);
        } else if (!worthWaking() && !(waitedLongEnough && headCanBeTaken())) {
            m_callerWaits = true;
            waitedLongEnough = m_partCame.wait_for(lock, kLongestWait) == std::cv_status::timeout;
            m_callerWaits = false;
            continue;
        }
        takeReady(parts);
        if (!parts.empty()) {
            return true;
        }
    }
    return false;
}

// Reads some of the directory that the walk needs next on the calling thread.
void DirectoryWalk::readHeadHere(std::unique_lock<std::mutex> &lock)
{
    Directory &head = *m_head;
    const bool isNew = head.state == State::Waiting;
    if (isNew) {
        claim(head);
        head.reading->byCaller = true;
    }
    lock.unlock();
    if (isNew) {
        openDirectory(*m_callersReader, head);
    }
    const bool ended = readStretches(*m_callersReader, head);
    lock.lock();
    if (ended) {
        head.reading->byCaller = false;
        complete(head);
        if (m_idleReaders > 0) {
            m_workCame.notify_all();
        }
    } else {
        makeReady(head);
    }
}

void DirectoryWalk::takeReady(std::vector<Part> &parts)
{
    const bool wasFar = farEnoughAhead();
    std::size_t entries = 0;
    bool headMoved = false;
    while (headCanBeTaken() && parts.size() < kMostPartsAtOnce && entries < kMostEntriesAtOnce) {
        const std::size_t before = m_aheadEntries;
        const bool ended = takeHead(parts);
        entries += before - m_aheadEntries;
        if (!ended) {
            break;
        }
        headMoved = true;
    }
    // A reader that waits because it is far ahead may have become the one that the walk waits for.
    if (m_idleReaders > 0 && (headMoved || (wasFar && !farEnoughAhead()))) {
        m_workCame.notify_all();
    }
}

// Hands out what the head has ready; true when that was all of it and the next directory is the head.
bool DirectoryWalk::takeHead(std::vector<Part> &parts)
{
    Directory &head = *m_head;
    Reading &reading = *head.reading;
    if (reading.isGate && !reading.gateEntered && !reading.refused) {
        enterGate(reading);
    }
    const bool entered = reading.opened && !reading.refused;
    for (std::unique_ptr<EntryChunk> &chunk : reading.ready) {
        m_aheadEntries -= chunk->size();
        if (!entered) {
            m_pool.giveBack(std::move(chunk));
            continue;
        }
        Part part{
            .path = head.path, .text = {}, .chunk = std::move(chunk), .startsDirectory = !reading.started};
        for (const EntryChunk::Failure &failure : part.chunk->failures()) {
            const std::string_view name = part.chunk->name(part.chunk->entries()[failure.entry]);
            std::string path = reading.text.ends_with('/') ? reading.text : reading.text + "/";
            m_report.failures.push_back(
                {.path = path.append(name), .of = ScanFailure::Of::File, .error = failure.error});
        }
        if (!reading.started) {
            part.text = reading.text;
            reading.started = true;
        }
        parts.push_back(std::move(part));
    }
    reading.ready.clear();
    if (head.state != State::Complete) {
        return false;
    }
    endHead();
    return true;
}

void DirectoryWalk::enterGate(Reading &reading)
{
    if (m_seenTops.insert(reading.identity).second) {
        reading.gateEntered = true;
        return;
    }
    reading.refused =
        NotEntered{.path = reading.text, .why = NotEntered::Why::SeenBefore, .fileSystemType = {}};
}

// Notes what there is to tell of the head and goes on to the next directory.
void DirectoryWalk::endHead()
{
    Directory &head = *m_head;
    Reading &reading = *head.reading;
    if (reading.refused) {
        m_report.notEntered.push_back(std::move(*reading.refused));
    } else {
        if (reading.opened) {
            ++m_report.directories;
            noteFileSystem(reading);
        }
        if (reading.error != 0) {
            m_report.failures.push_back(
                {.path = reading.text, .of = ScanFailure::Of::Directory, .error = reading.error});
        }
        if (reading.isGate) {
            expand(head, m_frontierFirst);
        }
    }
    --m_aheadDirectories;
    m_head = head.next;
    recycle(head);
}

void DirectoryWalk::noteFileSystem(const Reading &reading)
{
    if (!reading.fileSystem) {
        return;
    }
    const auto same = [&](const FileSystem &known) { return known.identity == reading.fileSystem->identity; };
    if (std::none_of(m_report.fileSystems.begin(), m_report.fileSystems.end(), same)) {
        m_report.fileSystems.push_back(*reading.fileSystem);
    }
}

} // namespace slicewise
