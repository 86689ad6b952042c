// A navigation item that carries a node.
//
// GUI thread.
#pragma once

#include "scan/SZANode.h"
#include "ui/UINavigationItem.h"

#include <memory>

namespace slicewise {

// The base by its full name: the list of QML types would leave it out otherwise.
class SZANavItem : public slicewise::UINavigationItem {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A screen has one")

public:
    SZANavItem() = default;

    /// Null at first. The pointer may share its ownership with the tree that the node is in.
    [[nodiscard]] std::shared_ptr<SZANode> node() const { return m_node; }
    void setNode(std::shared_ptr<SZANode> node);

private:
    std::shared_ptr<SZANode> m_node;
};

} // namespace slicewise
