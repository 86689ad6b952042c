#include "preview/EndingThreads.h"

#include <utility>

namespace slicewise {

void EndingThreads::take(std::unique_ptr<EndingThread> thread)
{
    thread->end();
    std::erase_if(m_threads, [](const auto &ending) { return ending->hasEnded(); });
    m_threads.push_back(std::move(thread));
}

} // namespace slicewise
