#include "scan/ScanEngine.h"

#include "platform/SerialQueue.h"
#include "scan/ChunkPool.h"
#include "scan/DirectoryWalk.h"
#include "scan/ScanTables.h"
#include "scan/TreeInserter.h"
#include "scan/TreeStorage.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

// Batches that may wait for the node creator; more would only be memory.
constexpr std::size_t kMostBatchesWaiting = 4;

/// One part of a directory, classified.
struct ClassifiedPart {
    const PathNode *directory = nullptr;
    std::unique_ptr<EntryChunk> chunk;
    bool decidedForAll = false;
    std::string category;                                  ///< of all files, where it is decided for all
    std::vector<std::optional<std::string>> categoryPaths; ///< of each regular file, where it is not
    std::string text; ///< the directory's path, for the log; only where it is not decided for all
};

struct Batch {
    std::vector<ClassifiedPart> parts;
    std::uint64_t directories = 0; ///< walked since the batch before
};

std::string pathInside(const std::string &directory, std::string_view name)
{
    std::string path;
    path.reserve(directory.size() + 1 + name.size());
    path.append(directory);
    if (!directory.ends_with('/')) {
        path.push_back('/');
    }
    return path.append(name);
}

/// The part of the work that the walking thread does: where each file goes.
class PartClassifier {
public:
    PartClassifier(const ClassifierChain &chain, Log &log) : m_chain(chain), m_log(log) {}

    ClassifiedPart classify(DirectoryWalk::Part part)
    {
        if (part.startsDirectory) {
            m_directory = std::move(part.text);
            m_plan = planDirectory(m_chain, m_directory);
        }
        ClassifiedPart classified{.directory = part.path,
                                  .chunk = std::move(part.chunk),
                                  .decidedForAll = m_plan.decidedForAll(),
                                  .category = {},
                                  .categoryPaths = {},
                                  .text = {}};
        if (classified.decidedForAll) {
            classified.category = m_plan.category;
            return classified;
        }
        classified.text = m_directory;
        for (const EntryChunk::Entry &entry : classified.chunk->entries()) {
            if (entry.type == EntryType::RegularFile) {
                const std::string_view name = classified.chunk->name(entry);
                classified.categoryPaths.push_back(
                    classifyFileByPlan(m_chain, m_plan, pathInside(m_directory, name), name, m_log));
            }
        }
        return classified;
    }

private:
    const ClassifierChain &m_chain;
    Log &m_log;
    std::string m_directory;
    DirectoryPlan m_plan;
};

/// The node creator's part: inserts, and nothing else changes the tree.
class NodeCreator {
public:
    NodeCreator(SZANode &root, ChunkPool &pool, Log &log) : m_inserter(root), m_pool(pool), m_log(log) {}

    ScanMonitor::Counts insert(Batch &batch)
    {
        ScanMonitor::Counts counts{.files = 0, .directories = batch.directories};
        for (ClassifiedPart &part : batch.parts) {
            counts.files += insert(part);
            m_pool.giveBack(std::move(part.chunk));
        }
        m_inserter.flush();
        m_files += counts.files;
        return counts;
    }

    [[nodiscard]] std::uint64_t files() const { return m_files; }

private:
    std::uint64_t insert(const ClassifiedPart &part)
    {
        std::uint64_t inserted = 0;
        std::size_t file = 0;
        m_category = part.category;
        m_inserter.beginDirectory(part.directory, m_category);
        for (const EntryChunk::Entry &entry : part.chunk->entries()) {
            if (entry.type != EntryType::RegularFile) {
                continue;
            }
            const std::string_view name = part.chunk->name(entry);
            if (part.decidedForAll) {
                m_inserter.addHere(name, entry.sizeBytes);
                ++inserted;
            } else if (insertAlone(part, part.categoryPaths[file], name, entry.sizeBytes)) {
                ++inserted;
            }
            ++file;
        }
        return inserted;
    }

    bool insertAlone(const ClassifiedPart &part, const std::optional<std::string> &categoryPath,
                     std::string_view name, std::uint64_t sizeBytes)
    {
        try {
            if (const auto category = categoryAbove(categoryPath, name)) {
                // Most files of a package lie in directories that hold nothing else.
                if (*category != m_category) {
                    m_category = *category;
                    m_inserter.beginDirectory(part.directory, m_category);
                }
                m_inserter.addHere(name, sizeBytes);
            } else {
                m_inserter.addElsewhere(categoryPath, name, sizeBytes);
            }
            return true;
        } catch (const std::exception &exception) {
            m_log.line(
                fmt::format("{} raised while adding file {}", exception.what(), pathInside(part.text, name)));
            return false;
        }
    }

    // What stands before "/" and the name; absent where the path ends otherwise.
    static std::optional<std::string_view> categoryAbove(const std::optional<std::string> &categoryPath,
                                                         std::string_view name)
    {
        if (!categoryPath || !categoryPath->ends_with(name)) {
            return std::nullopt;
        }
        const std::string_view front =
            std::string_view(*categoryPath).substr(0, categoryPath->size() - name.size());
        return front.size() > 1 && front.ends_with('/') ? std::optional(front.substr(0, front.size() - 1))
                                                        : std::nullopt;
    }

    TreeInserter m_inserter;
    std::string m_category; ///< that of the directory which has been begun
    ChunkPool &m_pool;
    Log &m_log;
    std::uint64_t m_files = 0;
};

unsigned readersOfThisMachine()
{
    // A reader mostly waits where nothing is cached, and one that can run costs no more than one that can
    // not.
    return std::clamp(2 * std::thread::hardware_concurrency(), 8U, 32U);
}

} // namespace

ScanReport scanFileSystem(const Device &device, const std::string &rootPath, SZANode &root, Log &log,
                          const ScanOptions &options)
{
    ScanMonitor ownMonitor;
    ScanMonitor &monitor = options.monitor != nullptr ? *options.monitor : ownMonitor;

    ChunkPool pool;
    NodeCreator creator(root, pool, log);
    ScanReport report;
    {
        SerialQueue queue("node creator");
        DirectoryWalk walk(device, rootPath, root.newPathTable(), pool,
                           {.scope = options.scope,
                            .readers = options.readers == ScanOptions::kReadersByMachine
                                           ? readersOfThisMachine()
                                           : options.readers,
                            .stop = &monitor.stopFlag()});
        // The readers have begun by now, and go on as far ahead as they may while the tables are loaded.
        std::optional<ScanTables> tables;
        ClassifierChain ownChain;
        if (options.chain == nullptr) {
            walk.letReadersRunAhead();
            tables.emplace(device, log, &monitor.stopFlag());
            ownChain = makeClassifierChain(*tables);
        }
        PartClassifier classifier(options.chain == nullptr ? ownChain : *options.chain, log);
        std::vector<DirectoryWalk::Part> parts;
        std::uint64_t directoriesTold = 0;
        const auto send = [&] {
            Batch batch;
            for (DirectoryWalk::Part &part : parts) {
                batch.parts.push_back(classifier.classify(std::move(part)));
            }
            batch.directories = walk.report().directories - directoriesTold;
            directoriesTold = walk.report().directories;
            queue.waitUntilFewerThan(kMostBatchesWaiting);
            queue.async([&monitor, &creator, &root, batch = std::move(batch)]() mutable {
                monitor.publish(root, [&] { return creator.insert(batch); });
            });
        };
        while (walk.next(parts)) {
            send();
        }
        send(); // the directories without files at the end
        queue.sync([] {});
        report = std::move(walk.report());
    }
    monitor.finish();
    report.files = creator.files();
    return report;
}

} // namespace slicewise
