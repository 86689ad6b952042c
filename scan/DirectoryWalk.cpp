#include "scan/DirectoryWalk.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

namespace slicewise {

namespace {

// How far the readers may be ahead of the walk. Enough to keep them busy while the walk works off a batch;
// beyond that it only costs memory.
constexpr std::size_t kMostEntriesAhead = std::size_t{32} * 1024;
constexpr std::size_t kMostDirectoriesAhead = 2048;
constexpr std::size_t kTimesAheadMeanwhile = 8;
// What is handed out at once. Waking a sleeping thread costs as much as classifying some hundred files.
constexpr std::size_t kEntriesWorthWaking = 1024;
constexpr std::size_t kDirectoriesWorthWaking = 64;
constexpr std::size_t kMostPartsAtOnce = 256;
constexpr std::size_t kMostEntriesAtOnce = 4096;
constexpr std::chrono::milliseconds kLongestWait(2);
// Stretches of a large directory that are read before they are handed on.
constexpr std::size_t kStretchesHeld = 4;

// What a directory takes at most whose blocks are in memory; a reader that took longer had to wait for the
// disk, and then more of them get more out of it. Where none has to wait, more of them than cores would only
// push each other aside.
constexpr std::chrono::microseconds kQuickDirectory(150);
constexpr std::chrono::microseconds kQuickEntry(4);
constexpr unsigned kQuickBeforeRest = 24;

constexpr std::uint64_t kNoDevice = ~std::uint64_t{0};

std::size_t entriesIn(const std::vector<std::unique_ptr<EntryChunk>> &chunks)
{
    std::size_t count = 0;
    for (const auto &chunk : chunks) {
        count += chunk->size();
    }
    return count;
}

// Whether it is worth sending these on rather than gathering more.
bool isEnough(const std::vector<DirectoryWalk::Part> &parts)
{
    std::size_t entries = 0;
    for (const DirectoryWalk::Part &part : parts) {
        entries += part.chunk->size();
    }
    return entries >= kEntriesWorthWaking || parts.size() >= kDirectoriesWorthWaking;
}

} // namespace

DirectoryWalk::DirectoryWalk(const Device &device, const std::string &rootPath, PathTable &paths,
                             ChunkPool &pool, const Options &options)
    : m_device(device),
      m_policy(device, rootPath, options.scope),
      m_paths(paths),
      m_pool(pool),
      m_stop(options.stop != nullptr ? options.stop : &m_never),
      m_order(paths.add(nullptr, rootPath), kNoDevice),
      m_callersReader(device.makeReader())
{
    m_threads.reserve(options.readers);
    for (unsigned i = 0; i < options.readers; ++i) {
        const Role role = i < std::max(2U, std::thread::hardware_concurrency()) ? Role::Steady : Role::Helper;
        try {
            m_threads.emplace_back([this, role] { readAhead(role); });
        } catch (const std::system_error &) {
            break; // the user has no more of them; those that there are do it, or the caller alone
        }
    }
}

DirectoryWalk::~DirectoryWalk()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_workCame.notify_all();
    m_helpWanted.notify_all();
    for (std::thread &thread : m_threads) {
        thread.join();
    }
}

// ---- the readers

void DirectoryWalk::readAhead(Role role)
{
    const std::unique_ptr<DirectoryReader> reader = m_device.makeReader();
    unsigned quickInARow = kQuickBeforeRest; // a helper begins at rest
    std::unique_lock lock(m_mutex);
    while (!stopped()) {
        if (role == Role::Helper && quickInARow >= kQuickBeforeRest) {
            ++m_helpersAtRest;
            m_helpWanted.wait(lock, [this] { return m_callsForHelp > 0 || m_ending; });
            --m_helpersAtRest;
            m_callsForHelp -= m_callsForHelp > 0 ? 1 : 0;
            quickInARow = 0;
            continue;
        }
        WalkedDirectory *directory = claimNext();
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
        const auto start = std::chrono::steady_clock::now();
        readDirectory(*reader, *directory);
        const bool slow = std::chrono::steady_clock::now() - start >
                          kQuickDirectory + kQuickEntry * static_cast<int>(directory->reading->entries);
        lock.lock();
        quickInARow = slow ? 0 : quickInARow + 1;
        if (slow && m_callsForHelp < m_helpersAtRest) {
            ++m_callsForHelp;
            m_helpWanted.notify_one();
        }
        complete(*directory);
        if (m_callerWaits && worthWaking()) {
            m_partCame.notify_one();
        }
    }
}

void DirectoryWalk::readDirectory(DirectoryReader &reader, WalkedDirectory &directory)
{
    openDirectory(reader, directory);
    while (!readStretches(reader, directory)) {
        publishStretches(directory);
    }
}

void DirectoryWalk::openDirectory(DirectoryReader &reader, WalkedDirectory &directory)
{
    DirectoryReading &reading = *directory.reading;
    const bool isRoot = directory.path->parent() == nullptr;
    reading.text = directory.path->text();
    reading.refused = m_policy.refusalBeforeOpening(reading.text);
    if (reading.refused) {
        for (const std::string &mount : m_policy.enteredBelow(*reading.refused)) {
            reading.subdirectories.append(mount, EntryType::Directory, 0);
        }
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
bool DirectoryWalk::readStretches(DirectoryReader &reader, WalkedDirectory &directory)
{
    DirectoryReading &reading = *directory.reading;
    std::unique_ptr<EntryChunk> chunk;
    while (reading.opened && reading.held.size() < kStretchesHeld) {
        if (stopped()) {
            m_cutShort = true;
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
        reading.entries += chunk->size();
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

void DirectoryWalk::publishStretches(WalkedDirectory &directory)
{
    std::unique_lock lock(m_mutex);
    makeReady(directory);
    if (m_callerWaits && worthWaking()) {
        m_partCame.notify_one();
    }
    ++m_blockedReaders;
    while (farEnoughAhead() && &directory != m_order.head() && !stopped()) {
        m_workCame.wait_for(lock, std::chrono::milliseconds(20));
    }
    --m_blockedReaders;
}

// ---- with the lock held

void DirectoryWalk::makeReady(WalkedDirectory &directory)
{
    DirectoryReading &reading = *directory.reading;
    m_aheadEntries += entriesIn(reading.held);
    std::move(reading.held.begin(), reading.held.end(), std::back_inserter(reading.ready));
    reading.held.clear();
}

WalkedDirectory *DirectoryWalk::claimNext()
{
    WalkedDirectory *directory = m_order.firstWaiting();
    if (farEnoughAhead()) {
        m_resting = true;
    }
    return directory != m_order.head() && m_resting ? nullptr : directory;
}

void DirectoryWalk::claim(WalkedDirectory &directory)
{
    m_order.begin(directory);
    ++m_readingCount;
}

void DirectoryWalk::complete(WalkedDirectory &directory)
{
    makeReady(directory);
    --m_readingCount;
    ++m_aheadDirectories;
    if (directory.reading->isGate) {
        m_order.completeAsGate(directory);
    } else {
        m_order.completeAndExpand(directory, m_paths);
    }
}

bool DirectoryWalk::farEnoughAhead() const
{
    return m_aheadEntries >= m_farAhead * kMostEntriesAhead ||
           m_aheadDirectories >= m_farAhead * kMostDirectoriesAhead;
}

bool DirectoryWalk::headCanBeTaken() const
{
    const WalkedDirectory *head = m_order.head();
    return head != nullptr &&
           (head->state == State::Complete || (head->reading && !head->reading->ready.empty()));
}

bool DirectoryWalk::worthWaking() const
{
    const bool enough =
        m_aheadEntries >= kEntriesWorthWaking || m_aheadDirectories >= kDirectoriesWorthWaking;
    return headCanBeTaken() && (enough || m_readingCount == 0);
}

// ---- the caller's side

void DirectoryWalk::letReadersRunAhead()
{
    {
        const std::lock_guard lock(m_mutex);
        m_farAhead = kTimesAheadMeanwhile;
        m_resting = false;
    }
    m_workCame.notify_all();
}

bool DirectoryWalk::next(std::vector<Part> &parts)
{
    parts.clear();
    std::unique_lock lock(m_mutex);
    m_farAhead = 1;
    bool waitedLongEnough = false;
    while (const WalkedDirectory *head = m_order.head()) {
        if (stopped()) {
            m_report.stopped = true;
            return false;
        }
        if (head->state == State::Waiting || head->reading->byCaller) {
            readHeadHere(lock);
        } else if (!worthWaking() && !(waitedLongEnough && headCanBeTaken())) {
            if (!parts.empty()) {
                return true; // better work on these than wait for more
            }
            m_callerWaits = true;
            waitedLongEnough = m_partCame.wait_for(lock, kLongestWait) == std::cv_status::timeout;
            m_callerWaits = false;
            continue;
        }
        takeReady(parts);
        if (isEnough(parts)) {
            return true;
        }
    }
    m_report.stopped = m_cutShort;
    return !parts.empty();
}

// Reads some of the directory that the walk needs next on the calling thread.
void DirectoryWalk::readHeadHere(std::unique_lock<std::mutex> &lock)
{
    WalkedDirectory &head = *m_order.head();
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
    // Readers that rest begin again together when half of what they had read is gone: one by one, each would
    // cost a switch of threads for a directory or two.
    const bool rested = m_resting && m_aheadEntries <= kMostEntriesAhead / 2 &&
                        m_aheadDirectories <= kMostDirectoriesAhead / 2;
    if (rested) {
        m_resting = false;
    }
    // One that waits in the middle of a directory may have become the one that the walk waits for.
    if (rested || (headMoved && m_blockedReaders > 0)) {
        m_workCame.notify_all();
    }
}

// Hands out what the head has ready; true when that was all of it and the next directory is the head.
bool DirectoryWalk::takeHead(std::vector<Part> &parts)
{
    WalkedDirectory &head = *m_order.head();
    DirectoryReading &reading = *head.reading;
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

void DirectoryWalk::enterGate(DirectoryReading &reading)
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
    WalkedDirectory &head = *m_order.head();
    DirectoryReading &reading = *head.reading;
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
            m_order.expandGate(m_paths);
        }
    }
    --m_aheadDirectories;
    m_order.dropHead();
}

void DirectoryWalk::noteFileSystem(const DirectoryReading &reading)
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
