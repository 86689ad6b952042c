// Two users: one removes with all rights, the other one, to whom the tree belongs, tries to have something
// else removed instead. He swaps each directory on the way, and each file, for a link to a tree that looks
// the same, by renaming and by exchanging, and moves directories to where their neighbours have the same
// names.
#include "platform/HostRemover.h"
#include "tests/scan/TestSize.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace slicewise {
namespace {

using Function = FailingSystemCalls::Function;

constexpr int kLevels = 5;

/// "l0/l1/...", so many names.
std::string levels(int count)
{
    std::string path;
    for (int i = 0; i < count; ++i) {
        path.append(i == 0 ? "l" : "/l").append(std::to_string(i));
    }
    return path;
}

/// Everything below a directory by name: what it is, its inode and its bytes.
std::map<std::string, std::string> imageOf(const std::string &directory)
{
    std::map<std::string, std::string> image;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(directory)) {
        struct stat status = {};
        EXPECT_EQ(::lstat(entry.path().c_str(), &status), 0);
        std::stringstream text;
        text << status.st_ino << ' ' << status.st_mode << ' ' << status.st_nlink << ' ';
        if (S_ISREG(status.st_mode)) {
            text << std::ifstream(entry.path()).rdbuf();
        }
        image[entry.path().string()] = text.str();
    }
    return image;
}

/// The attacker's side. It knows host paths alone and never stops by itself.
class Attacker {
public:
    Attacker(std::string arena, std::string canary, std::string yard, std::atomic<std::uint64_t> &swaps)
        : m_arena(std::move(arena)), m_canary(std::move(canary)), m_yard(std::move(yard)), m_swaps(swaps)
    {}

    [[noreturn]] void run()
    {
        for (std::uint64_t round = 0;; ++round) {
            const int count = static_cast<int>(round % kLevels) + 1;
            const std::string path = m_arena + "/" + levels(count);
            const std::string double_ = m_canary + "/" + levels(count);
            switch (round / kLevels % 5) {
            case 0:
                swapByRenaming(path, double_);
                break;
            case 1:
                swapByExchanging(path, double_);
                break;
            case 2:
                swapByRenaming(path + "/file", double_ + "/file");
                break;
            case 3:
                moveAwayAndBack(path, m_yard + "/l" + std::to_string(count));
                break;
            default:
                swapByExchanging(path + "/file", double_ + "/file");
                break;
            }
        }
    }

private:
    void count(int result)
    {
        m_swaps += result == 0 ? 1U : 0U;
        for (int i = 0; i < 20; ++i) { // the other one's turn
            ::sched_yield();
        }
    }

    void swapByRenaming(const std::string &path, const std::string &target)
    {
        const std::string aside = m_arena + "/aside" + std::to_string(m_spoilt);
        if (::rename(path.c_str(), aside.c_str()) == 0) {
            count(::symlink(target.c_str(), path.c_str()));
            static_cast<void>(::unlink(path.c_str()));
            m_spoilt += ::rename(aside.c_str(), path.c_str()) == 0 ? 0U : 1U;
        }
    }
    void swapByExchanging(const std::string &path, const std::string &target)
    {
        const std::string link = m_arena + "/link";
        static_cast<void>(::unlink(link.c_str()));
        if (::symlink(target.c_str(), link.c_str()) == 0) {
            count(::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE));
            static_cast<void>(::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE));
        }
    }
    void moveAwayAndBack(const std::string &path, const std::string &elsewhere)
    {
        if (::rename(path.c_str(), elsewhere.c_str()) == 0) {
            count(0);
            static_cast<void>(::rename(elsewhere.c_str(), path.c_str()));
        } else if (errno == ENOTEMPTY || errno == EEXIST) { // what could not go back the last time
            ++m_spoilt;
            static_cast<void>(
                ::rename(elsewhere.c_str(), (m_arena + "/aside" + std::to_string(m_spoilt)).c_str()));
        }
    }

    std::string m_arena;
    std::string m_canary;
    std::string m_yard;
    std::atomic<std::uint64_t> &m_swaps;
    std::uint64_t m_spoilt = 0; ///< how often a place of its own was left with something in it
};

/// How the one who removes goes about it.
struct Way {
    const char *name;
    std::size_t mostOpen;
    bool inOneCall;
};

class Attack : public testing::TestWithParam<Way> {
protected:
    Attack()
    {
        // What must not be touched: outside of the root; within it, beside the tree; and in a directory of
        // the attacker's own that he moves directories into.
        fill("canary", "canary");
        fill("root/canary", "canary within");
        for (int i = 1; i <= kLevels; ++i) {
            m_directory.writeFile("root/yard/file", "yard");
            m_directory.writeFile("root/yard/beside-" + std::to_string(i) + "/file", "yard");
        }
        m_directory.makeDirectory("root/arena");
        m_directory.makeDirectory("built");
        m_directory.makeDirectory("trash");
        give("root/arena");
        give("root/yard");
        m_before = image();
        void *memory =
            ::mmap(nullptr, sizeof *m_swaps, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        m_swaps = new (memory) std::atomic<std::uint64_t>(0);
        if (!GetParam().inOneCall) {
            m_calls.failEach(Function::OpenWithoutLinks, ENOSYS);
            m_calls.failEach(Function::OpenBeneath, ENOSYS);
        }
    }
    ~Attack() override { ::munmap(m_swaps, sizeof *m_swaps); }

    void fill(const std::string &top, const std::string &content) const
    {
        for (int i = 0; i <= kLevels; ++i) {
            const std::string path = top + (i == 0 ? "" : "/") + levels(i);
            m_directory.writeFile(path + "/file", content);
            m_directory.writeFile(path + "/other", content);
        }
    }
    void give(const std::string &relative) const
    {
        if (::geteuid() == 0) {
            ASSERT_EQ(::lchown(m_directory.pathOf(relative).c_str(), kOrdinaryUser, kOrdinaryUser), 0);
        }
    }
    [[nodiscard]] std::map<std::string, std::string> image() const
    {
        std::map<std::string, std::string> all = imageOf(m_directory.pathOf("canary"));
        all.merge(imageOf(m_directory.pathOf("root/canary")));
        for (const char *name : {"root/yard/file", "root/yard/beside-1", "root/yard/beside-5"}) {
            struct stat status = {};
            all[name] = ::lstat(m_directory.pathOf(name).c_str(), &status) == 0
                            ? std::to_string(status.st_ino)
                            : "missing";
        }
        return all;
    }

    // A new tree in the arena, made where the attacker can't reach it.
    void offerTree(std::uint64_t round) const
    {
        const std::string name = std::to_string(round);
        fill("built/" + name, "to be removed");
        for (const auto &entry :
             std::filesystem::recursive_directory_iterator(m_directory.pathOf("built/" + name))) {
            give(entry.path().string().substr(m_directory.path().size() + 1));
        }
        const std::string place = m_directory.pathOf("root/arena/l0");
        static_cast<void>(::rename(place.c_str(), m_directory.pathOf("trash/" + name).c_str()));
        static_cast<void>(::rename(m_directory.pathOf("built/" + name + "/l0").c_str(), place.c_str()));
    }

    [[nodiscard]] ::pid_t startAttacker() const
    {
        const ::pid_t child = ::fork();
        if (child == 0) {
            if (::geteuid() == 0 && (::setgroups(0, nullptr) != 0 ||
                                     ::setresgid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser) != 0 ||
                                     ::setresuid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser) != 0)) {
                ::_exit(1);
            }
            Attacker(m_directory.pathOf("root/arena"), m_directory.pathOf("canary"),
                     m_directory.pathOf("root/yard"), *m_swaps)
                .run();
        }
        return child;
    }

    TemporaryDirectory m_directory;
    FailingSystemCalls m_calls;
    std::map<std::string, std::string> m_before;
    std::atomic<std::uint64_t> *m_swaps = nullptr;
};

TEST_P(Attack, removesNothingButTheTree)
{
    const auto device = std::move(HostDevice::open(m_directory.pathOf("root"), &m_calls)).value();
    HostRemover remover(*device, GetParam().mostOpen);
    const ::pid_t attacker = startAttacker();
    ASSERT_GT(attacker, 0);
    std::map<int, std::uint64_t> answers;
    // As many as it takes for as many swaps: who of the two gets the processor is not up to us.
    const std::uint64_t rounds = 200 * testSize();
    for (std::uint64_t round = 0;
         (round < rounds || *m_swaps < rounds) && round < 100 * rounds && !HasFailure(); ++round) {
        offerTree(round);
        const int count = static_cast<int>(round % kLevels) + 1;
        const std::string path = "/arena/" + levels(count);
        for (const std::string &target : {path + "/file", path + "/other", path, std::string("/arena/l0")}) {
            ++answers[remover.remove(target).error()];
        }
        if (round % 16 == 0) { // what is damaged stays damaged
            EXPECT_EQ(image(), m_before) << "round " << round;
        }
    }
    ::kill(attacker, SIGKILL);
    int status = 0;
    EXPECT_EQ(::waitpid(attacker, &status, 0), attacker);
    EXPECT_TRUE(WIFSIGNALED(status)) << "the attacker gave up: " << status;
    EXPECT_GE(m_swaps->load(), rounds) << "hardly an attack";
    EXPECT_GT(answers[0], 0U);
    EXPECT_GT(answers.size(), 1U) << "no swap was ever met";
    for (const auto &[error, count] : answers) {
        RecordProperty("answers_" + std::to_string(error), static_cast<int>(count));
    }
    EXPECT_EQ(image(), m_before);
}

INSTANTIATE_TEST_SUITE_P(HostRemover, Attack,
                         testing::Values(Way{"AsItIs", HostRemover::kMostOpen, true},
                                         Way{"WithOneDirectoryOpen", 1, true},
                                         Way{"OpeningNameByName", HostRemover::kMostOpen, false},
                                         Way{"OpeningNameByNameWithOneDirectoryOpen", 1, false}),
                         [](const testing::TestParamInfo<Way> &test) {
                             return std::string(test.param.name);
                         });

} // namespace
} // namespace slicewise
