// Groups changes to layers: how long what they set in motion takes, and when it starts.
//
// Shared by a chart and its layers, used on the GUI thread alone. Time stands still between two calls of
// latch(), so that all layers of a frame are seen at one moment. Outside begin() and commit() each change is
// a group of its own.
#pragma once

#include "chart/ArcAnimation.h"
#include "chart/Clock.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace slicewise {

class Transaction {
public:
    /// What a change takes where no group says otherwise.
    static constexpr double kDefaultSeconds = 0.25;
    /// What takes longer is cut: nothing keeps a frame timer busy for ever.
    static constexpr double kLongestSeconds = 60;

    /// The clock is borrowed and must outlive this object or be replaced.
    explicit Transaction(const Clock &clock) : m_clock(&clock) { latch(); }

    void setClock(const Clock &clock);
    void latch();
    [[nodiscard]] double time() const { return m_seconds; }

    /// Groups nest; what they collected is started with the end of the outermost.
    void begin();
    void commit();

    /// Of the innermost group; without effect outside of any. Not a number, or 0 and less: at once.
    void setAnimationDuration(double seconds);
    void setDisableActions(bool disabled);
    [[nodiscard]] double animationDuration() const;
    [[nodiscard]] bool actionsDisabled() const;

    /// A layer that was made before the last commit has been on screen.
    [[nodiscard]] std::uint64_t commits() const { return m_commits; }

    /// For layers: an animation that they run from now on, and one that they run no more.
    void add(const std::shared_ptr<ArcAnimation> &animation);
    void interrupt(const std::shared_ptr<ArcAnimation> &animation);

private:
    struct Group {
        double seconds = kDefaultSeconds;
        bool actionsDisabled = false;
    };
    void deliver();

    const Clock *m_clock;
    double m_seconds = 0;
    std::uint64_t m_commits = 0;
    std::vector<Group> m_groups;
    std::vector<std::shared_ptr<ArcAnimation>> m_added;
    std::vector<std::shared_ptr<ArcAnimation>> m_interrupted;
};

} // namespace slicewise
