// The system calls of a host device, with failures put in where a test wants them.
//
// Calls that no rule stops go on to the real functions. Rules are asked in the order in which they were
// added; the first that names an error decides. Any thread at any time; rules run outside of all locks, so a
// rule may do what it likes to the file system, and add up in what it captures with its own care.
#pragma once

#include "platform/SystemCalls.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace slicewise {

class FailingSystemCalls final : public SystemCalls {
public:
    enum class Function : std::uint8_t {
        OpenWithoutLinks,
        OpenBeneath,
        OpenAt,
        StatAt,
        StatOpen,
        MountOf,
        FileSystemOf,
        ReadLinkAt,
        ReadAt,
        LockRange,
        ReadEntries,
        UnlinkAt,
    };
    static constexpr std::size_t kFunctionCount = 12;
    [[nodiscard]] static std::array<Function, kFunctionCount> allFunctions();
    [[nodiscard]] static const char *nameOf(Function function);

    struct Call {
        Function function = Function::OpenAt;
        std::uint64_t number = 0; ///< among the calls of this function, from 1
        int directory = -1;       ///< or the descriptor that is asked about
        std::string path;         ///< empty where the function takes none
        int flags = 0;            ///< 0 where the function takes none
    };
    /// The errno that the call fails with; 0 lets it pass.
    using Rule = std::function<int(const Call &call)>;

    void addRule(Function function, Rule rule);
    /// The n-th call from now on (1: the next).
    void failNth(Function function, std::uint64_t n, int error);
    void failEach(Function function, int error);
    void failWhere(Function function, std::function<bool(const Call &call)> condition, int error);
    /// Runs before each call that no earlier rule stops.
    void runBefore(Function function, std::function<void(const Call &call)> hook);
    /// Every entry that readEntries() gives has an unknown type from now on, as on file systems that keep
    /// none in their directories.
    void hideEntryTypes();
    /// readEntries() is given room for so many bytes, so that small directories take several calls.
    void limitRecords(std::size_t bytes);
    /// Takes back all of the above; the counts stay.
    void heal();

    [[nodiscard]] std::uint64_t count(Function function) const;

    [[nodiscard]] int openWithoutLinks(int directory, const char *path, int flags) const override;
    [[nodiscard]] int openBeneath(int directory, const char *path, int flags) const override;
    [[nodiscard]] int openAt(int directory, const char *path, int flags) const override;
    [[nodiscard]] int statAt(int directory, const char *path, struct stat *status, int flags) const override;
    [[nodiscard]] int statOpen(int descriptor, struct stat *status) const override;
    [[nodiscard]] int mountOf(int descriptor, std::uint64_t *mount) const override;
    [[nodiscard]] int fileSystemOf(int descriptor, FileSystemFacts *facts) const override;
    [[nodiscard]] ssize_t readLinkAt(int directory, const char *path, std::span<char> target) const override;
    [[nodiscard]] ssize_t readAt(int file, std::span<std::byte> into, std::uint64_t offset) const override;
    [[nodiscard]] int lockRange(int file, short type, std::uint64_t offset,
                                std::uint64_t length) const override;
    [[nodiscard]] ssize_t readEntries(int directory, std::span<std::byte> records) const override;
    [[nodiscard]] int unlinkAt(int directory, const char *path, int flags) const override;

private:
    static constexpr std::size_t kNoLimit = ~std::size_t{0};

    /// Whether the call goes on; if not, errno is set.
    [[nodiscard]] bool passes(Function function, int directory, const char *path, int flags) const;

    mutable std::mutex m_mutex;
    mutable std::array<std::uint64_t, kFunctionCount> m_counts{};
    std::array<std::vector<Rule>, kFunctionCount> m_rules;
    bool m_typesHidden = false;
    std::size_t m_recordBytes = kNoLimit;
};

} // namespace slicewise
