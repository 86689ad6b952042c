#include "cli/Output.h"

#include "platform/UniqueFd.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

namespace slicewise {
namespace {

struct Pipe {
    UniqueFd readEnd;
    UniqueFd writeEnd;

    Pipe()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        readEnd = UniqueFd(ends[0]);
        writeEnd = UniqueFd(ends[1]);
    }

    [[nodiscard]] std::string readAll() const
    {
        std::string all;
        std::array<char, 4096> buffer{};
        for (ssize_t length = 0; (length = ::read(readEnd.get(), buffer.data(), buffer.size())) > 0;) {
            all.append(buffer.data(), static_cast<std::size_t>(length));
        }
        return all;
    }
};

TEST(Output, everythingArrivesInOrderAlsoThroughANonBlockingDescriptor)
{
    Pipe pipe;
    ::fcntl(pipe.writeEnd.get(), F_SETFL, O_NONBLOCK);
    std::string expected;
    std::thread writer([&] {
        Output output(pipe.writeEnd.get());
        for (int i = 0; i < 100'000; ++i) {
            output.write(std::to_string(i));
            output.Put('\n');
        }
        output.flush();
        EXPECT_FALSE(output.closed());
        pipe.writeEnd.reset();
    });
    for (int i = 0; i < 100'000; ++i) {
        expected.append(std::to_string(i)).push_back('\n');
    }
    EXPECT_EQ(pipe.readAll(), expected);
    writer.join();
}

TEST(Output, aReaderThatHadEnoughIsNoError)
{
    std::signal(SIGPIPE, SIG_IGN);
    Pipe pipe;
    pipe.readEnd.reset();
    Output output(pipe.writeEnd.get());
    output.write("text");
    EXPECT_FALSE(output.closed()); // nothing has been written yet
    output.flush();
    EXPECT_TRUE(output.closed());
    EXPECT_EQ(output.error(), 0);
}

TEST(Output, aFullDiskIsAnErrorThatStays)
{
    const UniqueFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    ASSERT_TRUE(full);
    Output output(full.get());
    output.write("text");
    output.flush();
    EXPECT_TRUE(output.closed());
    EXPECT_EQ(output.error(), ENOSPC);
    output.write("more");
    output.flush();
    EXPECT_EQ(output.error(), ENOSPC);
}

} // namespace
} // namespace slicewise
