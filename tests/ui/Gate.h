// Holds a scan at a directory until it is let go on.
#pragma once

#include "tests/support/FailingDevice.h"

#include <future>
#include <string>

namespace slicewise {

class Gate {
public:
    /// Nobody opens that directory of the device before the gate is opened.
    Gate(FailingDevice &device, const std::string &path)
    {
        device.runBeforeOpen(
            path, [opened = m_opened.get_future().share()](const std::string &) { opened.wait(); });
    }
    Gate(const Gate &) = delete;
    Gate &operator=(const Gate &) = delete;
    ~Gate() { letGo(); }

    void letGo()
    {
        if (!m_isOpen) {
            m_isOpen = true;
            m_opened.set_value();
        }
    }

private:
    std::promise<void> m_opened;
    bool m_isOpen = false;
};

} // namespace slicewise
