// In the strategies' place: answers what a test wants, when it wants it, and notes what it is asked.
#pragma once

#include "ui/DeletionService.h"

#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace slicewise {

class StandInDeletion final : public DeletionService {
public:
    DeletionOutcome deleteNode(SZADeleteType type, const SZANode &node) override
    {
        const std::lock_guard lock(m_mutex);
        m_calls.push_back(std::to_string(type) + " " + std::string(node.name()));
        m_everOnCreatorsThread = m_everOnCreatorsThread || std::this_thread::get_id() == m_creator;
        if (m_opened.valid()) {
            m_opened.wait();
        }
        return answer;
    }

    /// Deletions take until letGo() from now on.
    void hold()
    {
        m_gate = {};
        m_opened = m_gate.get_future().share();
    }
    void letGo() { m_gate.set_value(); }

    /// "1 name", of deletions that are over.
    [[nodiscard]] std::vector<std::string> calls() const
    {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }
    [[nodiscard]] bool everOnCreatorsThread() const
    {
        const std::lock_guard lock(m_mutex);
        return m_everOnCreatorsThread;
    }

    DeletionOutcome answer = {.deleted = true, .errorText = {}};

private:
    const std::thread::id m_creator = std::this_thread::get_id();
    mutable std::mutex m_mutex;
    std::vector<std::string> m_calls;
    bool m_everOnCreatorsThread = false;
    std::promise<void> m_gate;
    std::shared_future<void> m_opened;
};

} // namespace slicewise
