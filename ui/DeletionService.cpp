#include "ui/DeletionService.h"

namespace slicewise {

DeletionOutcome DeviceDeletion::deleteNode(SZADeleteType type, const SZANode &node)
{
    return deleteByType(type, node, m_deletion);
}

} // namespace slicewise
