#include "platform/CompletionBlock.h"

#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <mutex>
#include <utility>

namespace slicewise {

namespace {

// The layout that compilers give a block, as Clang's documentation of its blocks has it.
struct BlockDescriptor {
    unsigned long reserved;
    unsigned long sizeBytes;
    const char *signature; // third where there are no helpers for copying, which a number does not need
};

struct BlockLiteral {
    void *kind;
    int flags;
    int reserved;
    void (*invoke)(BlockLiteral *, ObjcBool, ObjcId);
    const BlockDescriptor *descriptor;
    std::uint64_t number; // what is ours
};

constexpr int kHasSignature = 1 << 30;

// What a service that passes the block on to another process goes by: the types of the result, of the block
// and of its two arguments, each with its place among the arguments; the truth value is a bool on systems of
// 64 bits and a char on older ones.
constexpr const char *kSignature = sizeof(void *) == 8 ? "v20@?0B8@12" : "v12@?0c4@8";

constexpr BlockDescriptor kDescriptor{
    .reserved = 0, .sizeBytes = sizeof(BlockLiteral), .signature = kSignature};

} // namespace

struct PendingCompletion {
    BlockLiteral literal;
    CompletionBlock::Completion completion;
};

namespace {

class PendingCompletions {
public:
    /// Never destroyed: a block may be called while the process ends.
    static PendingCompletions &ofThisProcess()
    {
        static PendingCompletions &all = *std::make_unique<PendingCompletions>().release();
        return all;
    }

    void add(const std::shared_ptr<PendingCompletion> &pending)
    {
        const std::lock_guard lock(m_mutex);
        pending->literal.number = m_nextNumber++;
        m_pending.emplace(pending->literal.number, pending);
    }

    /// Null where it has been taken before.
    std::shared_ptr<PendingCompletion> take(std::uint64_t number)
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_pending.find(number);
        if (found == m_pending.end()) {
            return nullptr;
        }
        std::shared_ptr<PendingCompletion> pending = std::move(found->second);
        m_pending.erase(found);
        return pending;
    }

private:
    std::mutex m_mutex;
    std::uint64_t m_nextNumber = 1;
    absl::flat_hash_map<std::uint64_t, std::shared_ptr<PendingCompletion>> m_pending;
};

void invoke(BlockLiteral *block, ObjcBool success, ObjcId error) noexcept
{
    if (const auto pending = PendingCompletions::ofThisProcess().take(block->number)) {
        pending->completion(success != 0, error);
    }
}

} // namespace

CompletionBlock::CompletionBlock(Completion completion) : m_pending(std::make_shared<PendingCompletion>())
{
    // As if it lay on the stack, so that whoever keeps it makes a copy. Where nothing is known of blocks,
    // nobody asks for their kind either.
    m_pending->literal.kind = symbolInProcess("_NSConcreteStackBlock");
    m_pending->literal.flags = kHasSignature;
    m_pending->literal.invoke = invoke;
    m_pending->literal.descriptor = &kDescriptor;
    m_pending->completion = std::move(completion);
    PendingCompletions::ofThisProcess().add(m_pending);
}

ObjcId CompletionBlock::object() const
{
    return reinterpret_cast<ObjcId>(&m_pending->literal);
}

bool CompletionBlock::withdraw()
{
    return PendingCompletions::ofThisProcess().take(m_pending->literal.number) != nullptr;
}

} // namespace slicewise
