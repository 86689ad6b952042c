#include "chart/Transaction.h"

#include <algorithm>
#include <utility>

namespace slicewise {

void Transaction::setClock(const Clock &clock)
{
    m_clock = &clock;
    latch();
}

void Transaction::latch()
{
    m_seconds = m_clock->now();
}

void Transaction::begin()
{
    if (m_groups.empty()) {
        latch();
        m_groups.emplace_back();
    } else {
        m_groups.push_back(m_groups.back());
    }
}

void Transaction::commit()
{
    if (m_groups.empty()) {
        return;
    }
    m_groups.pop_back();
    if (m_groups.empty()) {
        deliver();
    }
}

void Transaction::setAnimationDuration(double seconds)
{
    if (!m_groups.empty()) {
        // Not a number fails the comparison.
        m_groups.back().seconds = seconds > 0 ? std::min(seconds, kLongestSeconds) : 0;
    }
}

void Transaction::setDisableActions(bool disabled)
{
    if (!m_groups.empty()) {
        m_groups.back().actionsDisabled = disabled;
    }
}

double Transaction::animationDuration() const
{
    return m_groups.empty() ? kDefaultSeconds : m_groups.back().seconds;
}

bool Transaction::actionsDisabled() const
{
    return !m_groups.empty() && m_groups.back().actionsDisabled;
}

void Transaction::add(const std::shared_ptr<ArcAnimation> &animation)
{
    m_added.push_back(animation);
    if (m_groups.empty()) {
        latch();
        deliver();
    }
}

void Transaction::interrupt(const std::shared_ptr<ArcAnimation> &animation)
{
    // What never started is not told to have stopped.
    if (!animation->hasStarted) {
        std::erase(m_added, animation);
        return;
    }
    m_interrupted.push_back(animation);
    if (m_groups.empty()) {
        deliver();
    }
}

void Transaction::deliver()
{
    latch();
    ++m_commits;
    const auto added = std::exchange(m_added, {});
    const auto interrupted = std::exchange(m_interrupted, {});
    for (const auto &animation : added) {
        // Making the group is no part of the animation's time.
        animation->beginSeconds = m_seconds;
        animation->hasStarted = true;
        if (animation->delegate != nullptr) {
            animation->delegate->animationDidStart(animation);
        }
    }
    for (const auto &animation : interrupted) {
        if (animation->delegate != nullptr) {
            animation->delegate->animationDidStopFinished(animation, false);
        }
    }
}

} // namespace slicewise
