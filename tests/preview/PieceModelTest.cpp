// The rows of a long file as a list.
#include "preview/PieceModel.h"

#include "preview/MemoryFile.h"
#include "tests/preview/PreviewFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace slicewise {

namespace {

std::shared_ptr<const PieceSource> bytesSource(std::uint64_t size)
{
    return std::make_shared<const ByteSource>(size, 8);
}

TEST(PieceModel, keepsTheRulesOfModels)
{
    PieceModel *model = nullptr;
    ReadingThread thread;
    PieceModel made(thread);
    model = &made;
    const QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model->setSource(bytesSource(1000), std::make_shared<MemoryFile>(std::string(1000, 'x')));
    EXPECT_EQ(model->rowCount(), 8);
    EXPECT_EQ(model->rowCount(model->index(0)), 0);
    EXPECT_TRUE(
        eventually([&] { return !model->data(model->index(7), PieceModel::TextRole).toString().isEmpty(); }));
    model->setSource(bytesSource(0), std::make_shared<MemoryFile>(""));
    EXPECT_EQ(model->rowCount(), 0);
}

TEST(PieceModel, doesNotShowWhatWasAskedForBeforeTheSourceWasAnother)
{
    ReadingThread thread;
    PieceModel model(thread);
    model.setSource(bytesSource(8), std::make_shared<MemoryFile>("aaaaaaaa"));
    static_cast<void>(model.data(model.index(0), PieceModel::TextRole));
    model.setSource(bytesSource(8), std::make_shared<MemoryFile>("bbbbbbbb"));
    EXPECT_TRUE(eventually(
        [&] { return !model.data(model.index(0), PieceModel::CharactersRole).toString().isEmpty(); }));
    EXPECT_EQ(model.data(model.index(0), PieceModel::CharactersRole).toString().toStdString(), "bbbbbbbb");
}

TEST(PieceModel, ofMoreRowsThanAListCanHaveEndsEarlier)
{
    ReadingThread thread;
    PieceModel model(thread);
    model.setSource(bytesSource(~std::uint64_t{0}), std::make_shared<MemoryFile>(""));
    EXPECT_GT(model.rowCount(), 2'000'000'000);
}

TEST(ReadingThread, doesTheNewestFirstAndForgetsTheOldest)
{
    std::mutex mutex;
    std::vector<int> done;
    std::size_t dropped = 0;
    std::condition_variable goOn;
    bool mayGo = false;
    bool begun = false;
    bool all = false;
    {
        ReadingThread thread;
        thread.ask([&] {
            std::unique_lock lock(mutex);
            begun = true;
            goOn.notify_all();
            goOn.wait(lock, [&] { return mayGo; });
        });
        std::unique_lock lock(mutex);
        goOn.wait(lock, [&] { return begun; });
        lock.unlock();
        constexpr int kAsked = static_cast<int>(ReadingThread::kMostWaiting) + 3;
        for (int i = 0; i < kAsked; ++i) {
            thread.ask(
                [&, i] {
                    const std::lock_guard guard(mutex);
                    done.push_back(i);
                    if (i == 3) {
                        all = true;
                        goOn.notify_all();
                    }
                },
                [&] { ++dropped; });
        }
        lock.lock();
        mayGo = true;
        goOn.notify_all();
        goOn.wait(lock, [&] { return all; });
    }
    EXPECT_EQ(dropped, 3U);
    ASSERT_EQ(done.size(), ReadingThread::kMostWaiting);
    EXPECT_EQ(done.front(), static_cast<int>(ReadingThread::kMostWaiting) + 2);
    EXPECT_EQ(done.back(), 3);
}

} // namespace

} // namespace slicewise
