// An open file of the host device.
#pragma once

#include "platform/Device.h"
#include "platform/SystemCalls.h"
#include "platform/UniqueFd.h"

#include <utility>

namespace slicewise {

class HostFile final : public ReadableFile {
public:
    /// The calls are borrowed.
    HostFile(UniqueFd file, const SystemCalls &calls) : m_file(std::move(file)), m_calls(calls) {}

    Result<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> into) override;
    [[nodiscard]] Result<std::uint64_t> sizeBytes() const override;
    Result<bool> lockShared(std::uint64_t offset, std::uint64_t length) override;
    void unlock(std::uint64_t offset, std::uint64_t length) override;
    [[nodiscard]] Result<FileTimes> times() const override;
    [[nodiscard]] Result<UniqueFd> descriptor() const override;

private:
    UniqueFd m_file;
    const SystemCalls &m_calls;
};

} // namespace slicewise
