// Memory that only grows and goes as a whole: for millions of small things that share one life.
//
// Blocks start small, so that a tree of one node is cheap, and stop growing at a size where what the last
// one leaves unused does not count. One thread at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace slicewise {

class Arena {
public:
    Arena() = default;
    Arena(const Arena &) = delete;
    Arena &operator=(const Arena &) = delete;
    Arena(Arena &&other) noexcept
        : m_blocks(std::move(other.m_blocks)),
          m_size(std::exchange(other.m_size, 0)),
          m_used(std::exchange(other.m_used, 0))
    {}
    Arena &operator=(Arena &&other) noexcept
    {
        m_blocks = std::move(other.m_blocks);
        m_size = std::exchange(other.m_size, 0);
        m_used = std::exchange(other.m_used, 0);
        return *this;
    }
    ~Arena() = default;

    /// Room for `count` objects, aligned and not yet constructed. No destructor will be called for them.
    template <typename T> T *allocate(std::size_t count = 1)
    {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
        return reinterpret_cast<T *>(take(count * sizeof(T), alignof(T)));
    }

private:
    // Not a vector: that would write zeros to all of it. NOLINTNEXTLINE(modernize-avoid-c-arrays)
    using Bytes = std::byte[];
    static constexpr std::size_t kFirstBlock = 1024;
    static constexpr std::size_t kLargestBlock = std::size_t{256} * 1024;

    std::byte *take(std::size_t bytes, std::size_t alignment)
    {
        std::size_t skipped = (alignment - m_used % alignment) % alignment;
        if (m_blocks.empty() || m_used + skipped + bytes > m_size) {
            startBlock(bytes);
            skipped = 0;
        }
        std::byte *start = m_blocks.back().get() + m_used + skipped;
        m_used += skipped + bytes;
        return start;
    }

    void startBlock(std::size_t bytes)
    {
        const std::size_t grown = m_size == 0 ? kFirstBlock : std::min(m_size * 2, kLargestBlock);
        m_size = std::max(grown, bytes);
        m_used = 0;
        m_blocks.push_back(std::make_unique_for_overwrite<Bytes>(m_size));
    }

    std::vector<std::unique_ptr<Bytes>> m_blocks;
    std::size_t m_size = 0; ///< of the last block
    std::size_t m_used = 0; ///< of the last block
};

} // namespace slicewise
