// What deletes for the screens, and what one deletion needs.
//
// A program that must not delete has none. One deletion runs at a time, on a thread that is not the screens'.
#pragma once

#include "delete/Deletion.h"
#include "delete/DeletionJob.h"
#include "delete/DeletionPolicy.h"
#include "scan/SZANode.h"

#include <utility>

namespace slicewise {

class DeletionService {
public:
    DeletionService() = default;
    DeletionService(const DeletionService &) = delete;
    DeletionService &operator=(const DeletionService &) = delete;
    virtual ~DeletionService() = default;

    /// Deletes what the node stands for, by the strategy of the type, which is one of the five; blocks until
    /// that is done. The tree is only read.
    [[nodiscard]] virtual DeletionOutcome deleteNode(SZADeleteType type, const SZANode &node) = 0;
};

/// By the strategies, from a device.
class DeviceDeletion final : public DeletionService {
public:
    explicit DeviceDeletion(Deletion deletion) : m_deletion(std::move(deletion)) {}

    [[nodiscard]] DeletionOutcome deleteNode(SZADeleteType type, const SZANode &node) override;

private:
    Deletion m_deletion;
};

} // namespace slicewise
