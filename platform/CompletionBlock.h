// A function as an Objective-C block "void (^)(BOOL success, id error)", which is what a service that answers
// later wants to be handed.
//
// The layout of a block is published, as is that whoever keeps one copies it, byte by byte or by the blocks'
// own runtime: so the block holds a number and nothing that a copy could leave behind. The function lies here
// under that number until the block, or a copy, is called. The first call takes it out, every later one does
// nothing; one that is never called stays for the life of the process, for it might still be.
#pragma once

#include "platform/ObjectiveC.h"

#include <functional>
#include <memory>

namespace slicewise {

class CompletionBlock {
public:
    /// Runs on the thread that calls the block. The error lives no longer than the call. Must not throw: it
    /// is called from other people's code.
    using Completion = std::function<void(bool success, ObjcId error)>;

    explicit CompletionBlock(Completion completion);
    CompletionBlock(const CompletionBlock &) = delete;
    CompletionBlock &operator=(const CompletionBlock &) = delete;
    ~CompletionBlock() = default;

    /// The argument of one message. The block itself lives as long as this object, and beyond it until it has
    /// been called.
    [[nodiscard]] ObjcId object() const;

    /// From now on calling the block does nothing. False where it has been called, or is being called,
    /// already.
    [[nodiscard]] bool withdraw();

private:
    std::shared_ptr<struct PendingCompletion> m_pending;
};

} // namespace slicewise
