// A file that is bytes in memory: what a decoder made of another one.
#pragma once

#include "platform/Device.h"

#include <string>
#include <utility>

namespace slicewise {

class MemoryFile final : public ReadableFile {
public:
    explicit MemoryFile(std::string bytes) : m_bytes(std::move(bytes)) {}

    Result<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> into) override;
    [[nodiscard]] Result<std::uint64_t> sizeBytes() const override { return std::uint64_t{m_bytes.size()}; }
    Result<bool> lockShared(std::uint64_t /*offset*/, std::uint64_t /*length*/) override { return true; }
    void unlock(std::uint64_t /*offset*/, std::uint64_t /*length*/) override {}

private:
    std::string m_bytes;
};

} // namespace slicewise
