// Where the threads of previews that were closed come to their ends. One that reads from a disk that hangs
// may take for ever, and so may one whose decoder does: what waits for a disk can't even be killed. Closing a
// preview must not.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace slicewise {

/// A thread that can be told to end without being waited for; its destructor does both.
class EndingThread {
public:
    EndingThread() = default;
    EndingThread(const EndingThread &) = delete;
    EndingThread &operator=(const EndingThread &) = delete;
    virtual ~EndingThread() = default;

    /// From now on it begins nothing. Waits for nothing.
    virtual void end() = 0;
    /// It has been ended, and what had begun is done.
    [[nodiscard]] virtual bool hasEnded() const = 0;
};

/// One thread uses it. The destructor waits for all of them.
class EndingThreads {
public:
    void take(std::unique_ptr<EndingThread> thread);
    /// How many have not been seen to end.
    [[nodiscard]] std::size_t count() const { return m_threads.size(); }

private:
    std::vector<std::unique_ptr<EndingThread>> m_threads;
};

} // namespace slicewise
