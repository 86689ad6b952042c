// The chain of a scan, for tests that walk or classify by themselves: with the tables that a device gives,
// but without packages.
#pragma once

#include "platform/Device.h"
#include "platform/Log.h"
#include "scan/ScanTables.h"

#include <string_view>

namespace slicewise {

/// A package tool that tells nothing.
[[nodiscard]] inline PackageTool noPackageTool()
{
    return [](const ArgumentVector &, const std::function<bool(std::string_view)> &) {
        return LinesEnd{.waitStatus = 0, .complete = true};
    };
}

class ChainOfScan {
public:
    /// The device is borrowed.
    explicit ChainOfScan(const Device &device)
        : m_tables(device, m_log, nullptr, noPackageTool()), m_chain(makeClassifierChain(m_tables))
    {}
    ChainOfScan(const ChainOfScan &) = delete;
    ChainOfScan &operator=(const ChainOfScan &) = delete;
    ~ChainOfScan() = default;

    [[nodiscard]] const ClassifierChain &chain() const { return m_chain; }

private:
    Log m_log{[](std::string_view) {}};
    ScanTables m_tables;
    ClassifierChain m_chain;
};

} // namespace slicewise
