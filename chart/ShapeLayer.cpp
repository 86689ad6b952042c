#include "chart/ShapeLayer.h"

#include <utility>

namespace slicewise {

ShapeLayer::ShapeLayer(std::shared_ptr<Transaction> transaction)
    : m_transaction(std::move(transaction)), m_commitsBefore(m_transaction ? m_transaction->commits() : 0)
{}

bool ShapeLayer::needsDisplayForKey(std::string_view /*key*/)
{
    return false;
}

bool ShapeLayer::isMoving() const
{
    if (!m_transaction) {
        return false;
    }
    const double now = m_transaction->time();
    return m_position.isMovingAt(now) || m_fillColor.isMovingAt(now) || m_strokeColor.isMovingAt(now);
}

bool ShapeLayer::hasBeenOnScreen() const
{
    return m_transaction && m_transaction->commits() > m_commitsBefore;
}

void ShapeLayer::takeShownValues()
{
    if (m_transaction) {
        const double now = m_transaction->time();
        m_position.set(m_position.shownAt(now));
        m_fillColor.set(m_fillColor.shownAt(now));
        m_strokeColor.set(m_strokeColor.shownAt(now));
    }
}

} // namespace slicewise
