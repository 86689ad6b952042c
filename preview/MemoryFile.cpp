#include "preview/MemoryFile.h"

#include <algorithm>
#include <cstring>

namespace slicewise {

Result<std::size_t> MemoryFile::readAt(std::uint64_t offset, std::span<std::byte> into)
{
    if (offset >= m_bytes.size() || into.empty()) {
        return std::size_t{0};
    }
    const std::size_t length = std::min<std::size_t>(into.size(), m_bytes.size() - offset);
    std::memcpy(into.data(), m_bytes.data() + offset, length);
    return length;
}

} // namespace slicewise
