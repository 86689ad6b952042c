#include "platform/SerialQueue.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

TEST(SerialQueue, runsWorkInTheOrderOfSubmission)
{
    std::vector<int> order;
    SerialQueue queue("order");
    for (int i = 0; i < 1000; ++i) {
        queue.async([&order, i] { order.push_back(i); });
    }
    queue.sync([] {});
    std::vector<int> expected(1000);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(order, expected);
}

TEST(SerialQueue, keepsTheOrderOfEachOfSeveralSubmitters)
{
    constexpr int kThreads = 4;
    constexpr int kPieces = 500;
    std::array<std::vector<int>, kThreads> orders;
    int running = 0; // no lock: one piece runs at a time
    SerialQueue queue("submitters");
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kPieces; ++i) {
                queue.async([&, thread, i] {
                    EXPECT_EQ(++running, 1);
                    orders.at(thread).push_back(i);
                    --running;
                });
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    queue.sync([] {});
    std::vector<int> expected(kPieces);
    std::iota(expected.begin(), expected.end(), 0);
    for (const std::vector<int> &order : orders) {
        EXPECT_EQ(order, expected);
    }
}

TEST(SerialQueue, returnsFromSyncOnlyWhenItsWorkAndAllBeforeItRan)
{
    SerialQueue queue("sync");
    std::promise<void> gate;
    std::atomic<bool> opened = false;
    std::vector<int> ran;
    queue.async([&] {
        gate.get_future().wait();
        ran.push_back(1);
    });
    queue.async([&] { ran.push_back(2); });
    std::thread opener([&] {
        opened = true;
        gate.set_value();
    });
    queue.sync([&] { ran.push_back(3); });
    EXPECT_TRUE(opened);
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
    opener.join();
}

TEST(SerialQueue, runsWorkOnOneThreadThatIsNotTheCallers)
{
    SerialQueue queue("thread");
    std::thread::id first;
    std::thread::id second;
    queue.sync([&] { first = std::this_thread::get_id(); });
    queue.sync([&] { second = std::this_thread::get_id(); });
    EXPECT_EQ(first, second);
    EXPECT_NE(first, std::this_thread::get_id());
}

TEST(SerialQueue, runsWhatIsQueuedBeforeItIsDestroyed)
{
    int ran = 0;
    std::promise<void> gate;
    auto queue = std::make_unique<SerialQueue>("destroyed");
    queue->async([&gate] { gate.get_future().wait(); });
    for (int i = 0; i < 100; ++i) {
        queue->async([&ran] { ++ran; });
    }
    gate.set_value();
    queue.reset();
    EXPECT_EQ(ran, 100);
}

TEST(SerialQueue, runsWhatItsOwnWorkQueues)
{
    std::vector<int> order;
    {
        SerialQueue queue("nested");
        queue.async([&] {
            order.push_back(1);
            queue.async([&] {
                order.push_back(3);
                queue.async([&] { order.push_back(4); });
            });
            order.push_back(2);
        });
    }
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TEST(SerialQueue, waitsUntilFewerPiecesAreQueuedOrRunning)
{
    SerialQueue queue("bounded");
    std::promise<void> gate;
    queue.async([&gate] { gate.get_future().wait(); });
    queue.async([] {});
    queue.waitUntilFewerThan(3); // two are there: returns at once
    std::atomic<bool> returned = false;
    std::thread waiter([&] {
        queue.waitUntilFewerThan(2);
        returned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(returned); // the first one cannot have ended
    gate.set_value();
    waiter.join();
    EXPECT_TRUE(returned);
}

TEST(SerialQueue, countsThePieceThatRuns)
{
    SerialQueue queue("running");
    int done = 0; // no lock: what waits for none left may read what they wrote
    for (int round = 0; round < 200; ++round) {
        queue.async([&done] { ++done; });
        queue.waitUntilFewerThan(1);
        ASSERT_EQ(done, round + 1);
    }
}

TEST(SerialQueue, hasDestroyedTheWorkThatItSaysIsDone)
{
    SerialQueue queue("destruction");
    for (int round = 0; round < 200; ++round) {
        auto held = std::make_shared<int>(round);
        const std::weak_ptr<int> watched = held;
        queue.async([held = std::move(held)] {});
        queue.waitUntilFewerThan(1);
        ASSERT_TRUE(watched.expired());
    }
}

TEST(SerialQueue, takesWorkThatCanOnlyBeMoved)
{
    SerialQueue queue("moved");
    int got = 0;
    queue.async([value = std::make_unique<int>(7), &got] { got = *value; });
    queue.sync([] {});
    EXPECT_EQ(got, 7);
}

TEST(SerialQueue, namesItsThreadByItsLabel)
{
    SerialQueue queue("node creator");
    SerialQueue longer("a label of more than fifteen bytes");
    EXPECT_EQ(queue.label(), "node creator");
    EXPECT_EQ(longer.label(), "a label of more than fifteen bytes");
    const auto nameOfThread = [](SerialQueue &asked) {
        std::array<char, 16> name{};
        asked.sync([&name] { ::pthread_getname_np(::pthread_self(), name.data(), name.size()); });
        return std::string(name.data());
    };
    EXPECT_EQ(nameOfThread(queue), "node creator");
    EXPECT_EQ(nameOfThread(longer), "a label of more");
}

} // namespace
} // namespace slicewise
