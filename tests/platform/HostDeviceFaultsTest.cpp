// Every system call of a small walk fails once, in every way that it can fail.
#include "platform/HostDevice.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

using Function = FailingSystemCalls::Function;

/// What a walk and a few questions found.
struct Outcome {
    std::map<std::string, std::uint64_t> files; ///< by path
    std::map<std::string, int> failures;        ///< of files and directories, by path
    std::map<std::string, std::string> answers; ///< to the questions
    std::map<std::string, int> refusals;        ///< questions without an answer
    int rootError = 0;                          ///< no device could be made
};

void readOn(DirectoryReader &reader, const std::string &directory, Outcome &outcome,
            std::vector<std::string> &left)
{
    const std::string front = directory == "/" ? directory : directory + "/";
    EntryChunk chunk;
    while (true) {
        const Result<DirectoryReader::Progress> progress = reader.next(chunk);
        for (const EntryChunk::Entry &entry : chunk.entries()) {
            const std::string path = front + std::string(chunk.name(entry));
            if (entry.type == EntryType::Directory) {
                left.push_back(path);
            } else {
                EXPECT_TRUE(outcome.files.emplace(path, entry.sizeBytes).second) << path << " comes twice";
            }
        }
        for (const EntryChunk::Failure &failure : chunk.failures()) {
            outcome.failures[front + std::string(chunk.name(chunk.entries().at(failure.entry)))] =
                failure.error;
        }
        if (!progress) {
            outcome.failures[directory] = progress.error();
            return;
        }
        if (*progress == DirectoryReader::Progress::End) {
            return;
        }
    }
}

template <typename Value, typename Describe>
void note(Outcome &outcome, const std::string &question, const Result<Value> &result, Describe describe)
{
    if (result) {
        outcome.answers[question] = describe(*result);
    } else {
        outcome.refusals[question] = result.error();
    }
}

Outcome walk(const std::string &root, const SystemCalls &calls)
{
    Outcome outcome;
    const Result<std::unique_ptr<HostDevice>> made = HostDevice::open(root, &calls);
    if (!made) {
        outcome.rootError = made.error();
        return outcome;
    }
    const HostDevice &device = **made;
    const auto reader = device.makeReader();
    std::vector<std::string> left = {"/"};
    while (!left.empty()) {
        const std::string directory = left.back();
        left.pop_back();
        if (const Result<FileIdentity> opened = reader->open(directory); !opened) {
            outcome.failures[directory] = opened.error();
            continue;
        }
        outcome.answers["kind of " + directory] = std::to_string(static_cast<int>(reader->fileSystem().kind));
        readOn(*reader, directory, outcome, left);
    }
    for (const char *path : {"/a/file", "/a/link", "/a/absolute", "/a/sub/../link", "/a/sub/deep/file"}) {
        note(outcome, std::string("size of ") + path, device.status(path),
             [](const FileStatus &status) { return std::to_string(status.sizeBytes); });
        note(outcome, std::string("path of ") + path, device.resolve(path),
             [](const std::string &resolved) { return resolved; });
    }
    note(outcome, "file system", device.fileSystem("/a/link"),
         [](const FileSystem &fileSystem) { return std::to_string(fileSystem.identity); });
    static_cast<void>(device.mounts());
    return outcome;
}

// A failed directory excuses everything below it.
bool isExcused(const std::string &path, const Outcome &outcome)
{
    if (outcome.failures.contains("/")) {
        return true;
    }
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        if (outcome.failures.contains(path.substr(0, slash))) {
            return true;
        }
    }
    return false;
}

void expectNothingWrong(const Outcome &healthy, const Outcome &outcome, int error)
{
    if (outcome.rootError != 0) {
        EXPECT_EQ(outcome.rootError, error);
        return;
    }
    for (const auto &[path, size] : outcome.files) {
        if (outcome.failures.contains(path)) { // it may be a directory that could not be asked what it is
            EXPECT_EQ(size, 0U) << path;
            continue;
        }
        ASSERT_TRUE(healthy.files.contains(path)) << path;
        EXPECT_EQ(size, healthy.files.at(path)) << path;
    }
    for (const auto &[path, size] : healthy.files) {
        EXPECT_TRUE(outcome.files.contains(path) || isExcused(path, outcome))
            << path << " is lost in silence";
    }
    for (const auto &[path, failure] : outcome.failures) {
        EXPECT_EQ(failure, error) << path;
    }
    for (const auto &[question, answer] : outcome.answers) {
        EXPECT_EQ(answer, healthy.answers.at(question)) << question;
    }
    for (const auto &[question, refusal] : outcome.refusals) {
        EXPECT_EQ(refusal, error) << question;
    }
    EXPECT_LE(outcome.failures.size() + outcome.refusals.size(), 1U) << "one call, one failure";
}

void makeTree(const TemporaryDirectory &directory)
{
    directory.makeFile("a/file", 10);
    directory.makeFile("a/sub/deep/file", 20);
    directory.makeLink("a/link", "../b/file");
    directory.makeLink("a/absolute", "/a/sub/deep/../../file");
    directory.makeFile("b/file", 30);
    directory.makeFile("b/other", 31);
    directory.makeFile("b/third", 32);
    directory.makeDirectory("empty");
    directory.makeFile(TemporaryDirectory::chain(7, std::string(200, 'l')) + "/file", 50);
}

/// How the calls behave all the time, before one of them fails.
struct Surroundings {
    const char *name;
    void (*prepare)(FailingSystemCalls &calls);
};

class EveryCall : public testing::TestWithParam<Surroundings> {
protected:
    void prepare(FailingSystemCalls &calls) const
    {
        calls.limitRecords(320);
        GetParam().prepare(calls);
    }
};

TEST_P(EveryCall, mayFailOnceAndTheRestIsStillRight)
{
    const TemporaryDirectory directory;
    makeTree(directory);
    FailingSystemCalls counting;
    prepare(counting);
    const Outcome healthy = walk(directory.path(), counting);
    ASSERT_EQ(healthy.files.size(), 6U);
    ASSERT_TRUE(healthy.failures.empty());
    ASSERT_TRUE(healthy.refusals.empty());
    const std::set<int> descriptors = openDescriptors();
    for (const Function function : FailingSystemCalls::allFunctions()) {
        for (const int error : {EIO, EMFILE, ENOMEM, EINTR, EACCES}) {
            for (std::uint64_t n = 1; n <= counting.count(function); ++n) {
                const testing::ScopedTrace trace(__FILE__, __LINE__,
                                                 "call " + std::to_string(n) + " of " +
                                                     FailingSystemCalls::nameOf(function) + " fails with " +
                                                     std::to_string(error));
                FailingSystemCalls calls;
                calls.failNth(function, n, error);
                prepare(calls);
                expectNothingWrong(healthy, walk(directory.path(), calls), error);
                ASSERT_EQ(openDescriptors(), descriptors) << "descriptors stay open";
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    HostDevice, EveryCall,
    testing::Values(
        Surroundings{"AsTheyAre", [](FailingSystemCalls &) {}},
        Surroundings{"OpeningNameByName",
                     [](FailingSystemCalls &calls) { calls.failEach(Function::OpenWithoutLinks, ENOSYS); }},
        Surroundings{"ListingThePortableWay",
                     [](FailingSystemCalls &calls) { calls.failEach(Function::ReadEntries, ENOSYS); }},
        Surroundings{"WithoutEntryTypes", [](FailingSystemCalls &calls) { calls.hideEntryTypes(); }}),
    [](const testing::TestParamInfo<Surroundings> &test) { return std::string(test.param.name); });

TEST(HostDeviceFaults, changeNothingWhereOpeningInOneCallIsRefusedAtAnyMoment)
{
    const TemporaryDirectory directory;
    makeTree(directory);
    FailingSystemCalls counting;
    const Outcome healthy = walk(directory.path(), counting);
    for (const int error : {ENOSYS, EPERM}) {
        for (std::uint64_t n = 1; n <= counting.count(Function::OpenWithoutLinks); ++n) {
            FailingSystemCalls calls;
            calls.failNth(Function::OpenWithoutLinks, n, error);
            const Outcome outcome = walk(directory.path(), calls);
            EXPECT_EQ(outcome.files, healthy.files) << n;
            EXPECT_EQ(outcome.answers, healthy.answers) << n;
            EXPECT_TRUE(outcome.failures.empty()) << n;
            EXPECT_TRUE(outcome.refusals.empty()) << n;
        }
    }
}

TEST(HostDeviceFaults, changeNothingWhereListingIsInterruptedEachTime)
{
    const TemporaryDirectory directory;
    makeTree(directory);
    FailingSystemCalls calls;
    const Outcome healthy = walk(directory.path(), calls);
    calls.failWhere(
        Function::ReadEntries, [](const FailingSystemCalls::Call &call) { return call.number % 2 == 1; },
        EINTR);
    const Outcome outcome = walk(directory.path(), calls);
    EXPECT_EQ(outcome.files, healthy.files);
    EXPECT_TRUE(outcome.failures.empty());
}

TEST(HostDeviceFaults, leaveASizeOfNothingBehindWhereNoFileCanBeAsked)
{
    const TemporaryDirectory directory;
    makeTree(directory);
    FailingSystemCalls calls;
    const Outcome healthy = walk(directory.path(), calls);
    calls.failEach(Function::StatAt, EIO);
    const Outcome outcome = walk(directory.path(), calls);
    EXPECT_EQ(outcome.files.size(), healthy.files.size());
    for (const auto &[path, size] : outcome.files) {
        EXPECT_EQ(size, 0U) << path;
        EXPECT_EQ(outcome.failures.at(path), EIO) << path;
    }
}

} // namespace
} // namespace slicewise
