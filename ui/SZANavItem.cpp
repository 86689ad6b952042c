#include "ui/SZANavItem.h"

#include <utility>

namespace slicewise {

void SZANavItem::setNode(std::shared_ptr<SZANode> node)
{
    m_node = std::move(node);
}

} // namespace slicewise
