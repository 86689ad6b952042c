// Keeps entry chunks for reuse, so that a scan does not allocate one for each directory. Any thread.
#pragma once

#include "platform/EntryChunk.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace slicewise {

class ChunkPool {
public:
    std::unique_ptr<EntryChunk> take()
    {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_free.empty()) {
                std::unique_ptr<EntryChunk> chunk = std::move(m_free.back());
                m_free.pop_back();
                return chunk;
            }
        }
        return std::make_unique<EntryChunk>();
    }

    void giveBack(std::unique_ptr<EntryChunk> chunk)
    {
        chunk->clear();
        const std::lock_guard lock(m_mutex);
        if (m_free.size() < kMostKept) {
            m_free.push_back(std::move(chunk));
        }
    }

private:
    // Each keeps the room that its largest directory took, so a few are worth it and thousands are not.
    static constexpr std::size_t kMostKept = 128;

    std::mutex m_mutex;
    std::vector<std::unique_ptr<EntryChunk>> m_free;
};

} // namespace slicewise
