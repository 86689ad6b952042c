// Random devices full of mounts, against a walk that keeps every directory it has been in.
#include "scan/ScanEngine.h"
#include "tests/scan/Scanned.h"
#include "tests/scan/TestSize.h"
#include "tests/support/FailingDevice.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/TreeText.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

namespace slicewise {

namespace {

struct PlainWalk {
    std::vector<std::string> files;
    std::vector<std::string> notEntered;
    std::map<std::uint64_t, std::uint64_t> capacities; ///< by file system
    std::uint64_t directories = 0;
};

class PlainWalker {
public:
    PlainWalker(const Device &device, FileSystemScope scope)
        : m_device(device), m_scope(scope), m_rootKind(device.fileSystem("/")->kind)
    {
        for (const Mount &mount : device.mounts()) {
            m_mounts[mount.path] = mount;
        }
    }

    PlainWalk walk()
    {
        m_stack = {"/"};
        while (!m_stack.empty()) {
            const std::string path = m_stack.back();
            m_stack.pop_back();
            if (const auto mount = m_mounts.find(path); mount != m_mounts.end()) {
                if (const char *why = refused(mount->second.kind)) {
                    m_walk.notEntered.push_back(why + path + " (" + mount->second.type + ")");
                    if (mount->second.kind != FileSystemKind::Network) {
                        pushMountsBelow(path);
                    }
                    continue;
                }
            }
            enter(path);
        }
        return std::move(m_walk);
    }

private:
    [[nodiscard]] const char *refused(FileSystemKind kind) const
    {
        if (kind == FileSystemKind::NoStorage) {
            return "no storage ";
        }
        if (kind == FileSystemKind::Storage || kind == m_rootKind) {
            return nullptr;
        }
        return kind == FileSystemKind::Memory ? "memory "
               : kind == FileSystemKind::View ? "view "
                                              : "network ";
    }

    // Those to enter that nothing entered or on a network lies between.
    void pushMountsBelow(const std::string &path)
    {
        if (m_scope == FileSystemScope::RootOnly) {
            return;
        }
        for (const auto &[place, mount] : m_mounts) {
            if (!place.starts_with(path + "/") || refused(mount.kind) != nullptr || !mount.identity) {
                continue;
            }
            bool reachable = true;
            for (const auto &[between, other] : m_mounts) {
                if (between.starts_with(path + "/") && place.starts_with(between + "/")) {
                    const bool entered = refused(other.kind) == nullptr && other.identity;
                    reachable = reachable && !entered && other.kind != FileSystemKind::Network;
                }
            }
            if (reachable) {
                m_stack.push_back(place);
            }
        }
    }

    void enter(const std::string &path)
    {
        const auto reader = m_device.makeReader();
        const FileIdentity identity = reader->open(path).value();
        const FileSystem fileSystem = reader->fileSystem();
        if (path == "/") {
            m_rootDevice = identity.device;
        }
        if (m_scope == FileSystemScope::RootOnly && identity.device != m_rootDevice) {
            m_walk.notEntered.push_back("other file system " + path);
            return;
        }
        if (const char *why = refused(fileSystem.kind)) {
            m_walk.notEntered.push_back(why + path);
            return;
        }
        if (!m_seen.insert({identity.device, identity.inode}).second) {
            m_walk.notEntered.push_back("seen before " + path);
            return;
        }
        ++m_walk.directories;
        m_walk.capacities[fileSystem.identity] = fileSystem.capacityBytes;
        list(*reader, path == "/" ? "" : path);
    }

    void list(DirectoryReader &reader, const std::string &path)
    {
        EntryChunk chunk;
        while (reader.next(chunk).value() == DirectoryReader::Progress::More) {
            for (const EntryChunk::Entry &entry : chunk.entries()) {
                const std::string child = path + "/" + std::string(chunk.name(entry));
                (entry.type == EntryType::Directory ? m_stack : m_walk.files).push_back(child);
            }
        }
    }

    const Device &m_device;
    FileSystemScope m_scope;
    FileSystemKind m_rootKind;
    std::uint64_t m_rootDevice = 0;
    std::map<std::string, Mount> m_mounts;
    std::set<std::pair<std::uint64_t, std::uint64_t>> m_seen;
    std::vector<std::string> m_stack;
    PlainWalk m_walk;
};

/// Some dozen directories, some of them mounts of any kind, bind mounts to anywhere.
void fill(MemoryDevice &device, std::mt19937_64 &random)
{
    const auto below = [&random](std::uint64_t end) { return random() % end; };
    std::vector<std::string> directories = {""};
    for (int i = 0; i < 30; ++i) {
        const std::string path = directories.at(below(directories.size())) + "/d" + std::to_string(i);
        device.addDirectory(path);
        device.addFile(path + "/f", below(100));
        directories.push_back(path);
    }
    const auto fileSystem = [&]() {
        const std::uint64_t identity = 2 + below(7);
        constexpr std::array kKinds = {FileSystemKind::Storage, FileSystemKind::Storage,
                                       FileSystemKind::Storage, FileSystemKind::NoStorage,
                                       FileSystemKind::Memory,  FileSystemKind::Network,
                                       FileSystemKind::View};
        return FileSystem{
            .identity = identity, .kind = kKinds.at(identity - 2), .capacityBytes = identity * 1000};
    };
    if (const FileSystem ofRoot = fileSystem(); below(3) == 0 && ofRoot.kind != FileSystemKind::NoStorage) {
        device.setFileSystem("/", ofRoot);
    }
    std::set<std::string> mounted;
    for (std::uint64_t mounts = below(6); mounts > 0; --mounts) {
        const std::string &path = directories.at(1 + below(directories.size() - 1));
        if (below(3) == 0) {
            device.setFileSystem(path, fileSystem());
        } else if (mounted.insert(path).second) { // of several in one place only the one on top is told of
            device.addMount(path, "type", fileSystem());
        }
    }
    for (std::uint64_t binds = below(8); binds > 0; --binds) {
        const std::string place = directories.at(below(directories.size())) + "/bind" + std::to_string(binds);
        device.addBindMount(place, "/" + directories.at(below(directories.size())), "bind");
    }
}

std::string mountsText(const Device &device)
{
    std::string text;
    for (const Mount &mount : device.mounts()) {
        const FileIdentity identity = mount.identity.value_or(FileIdentity());
        text += fmt::format("{} {} kind {} {}:{}\n", mount.path, mount.type, static_cast<int>(mount.kind),
                            identity.device, identity.inode);
    }
    return text;
}

} // namespace

TEST(RandomMounts, areEnteredAsByAWalkThatRemembersEveryDirectory)
{
    unsigned seenBefore = 0;
    for (std::uint64_t seed = 0; seed < 200 * testSize(); ++seed) {
        std::mt19937_64 random(seed);
        MemoryDevice memory;
        fill(memory, random);
        FailingDevice device(memory);
        device.runBeforeEachOpen([seed](const std::string &path) {
            if ((path.size() + seed) % 3 == 0) {
                std::this_thread::yield();
            }
        });
        const auto scope = random() % 3 == 0 ? FileSystemScope::RootOnly : FileSystemScope::AllLocal;
        const PlainWalk plain = PlainWalker(memory, scope).walk();
        for (const unsigned readers : kReaderCounts) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", readers " << readers);
            std::vector<std::string> files;
            const ClassifierChain chain = {{.classify =
                                                [&files](const std::string &path) {
                                                    files.push_back(path);
                                                    return path;
                                                },
                                            .classifyDirectory = {}}};
            const Scanned scanned = scan(device, {.scope = scope, .chain = &chain, .readers = readers});
            ASSERT_EQ(notEntered(scanned.report), plain.notEntered) << mountsText(memory);
            ASSERT_EQ(files, plain.files) << mountsText(memory);
            ASSERT_EQ(scanned.report.directories, plain.directories);
            std::map<std::uint64_t, std::uint64_t> capacities;
            for (const FileSystem &fileSystem : scanned.report.fileSystems) {
                ASSERT_TRUE(capacities.emplace(fileSystem.identity, fileSystem.capacityBytes).second);
            }
            ASSERT_EQ(capacities, plain.capacities);
        }
        for (const std::string &line : plain.notEntered) {
            seenBefore += line.starts_with("seen before") ? 1U : 0U;
        }
    }
    EXPECT_GT(seenBefore, 50U); // or the devices prove nothing
}

} // namespace slicewise
