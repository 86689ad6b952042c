// One scan on a thread of its own, for a screen that lives on the GUI thread.
//
// Used on the GUI thread. The tree belongs to the scan's thread until take(); until then a screen sees
// pictures of it. A scan that goes away early is stopped and waited for, which takes as long as the step that
// it is at. Device, log and chain are borrowed and must outlive it; the device must outlive the tree too.
#pragma once

#include "platform/Device.h"
#include "platform/Log.h"
#include "scan/SZANode.h"
#include "scan/ScanEngine.h"
#include "scan/ScanMonitor.h"
#include "scan/ScanReport.h"

#include <QObject>

#include <functional>
#include <memory>
#include <thread>

namespace slicewise {

/// What the root of every tree is called; the overview's title says it in the user's language.
inline constexpr const char *kRootName = QT_TRANSLATE_NOOP("slicewise::SZAViewController", "Disk");

class RootScan : public QObject {
    Q_OBJECT

public:
    /// Scans the device from "/". When it is done, `finished` is called once by the receiver's event loop, on
    /// its thread, unless the receiver is gone by then. Options' own monitor is left aside.
    RootScan(const Device &device, Log &log, const ScanOptions &options, QObject &receiver,
             std::function<void()> finished);
    RootScan(const RootScan &) = delete;
    RootScan &operator=(const RootScan &) = delete;
    ~RootScan() override;

    /// The top level as it is now, as a tree of its own: a root and its categories, in the order in which the
    /// scan met them. They have no children and no files.
    [[nodiscard]] std::shared_ptr<SZANode> picture() const;

    struct Result {
        std::shared_ptr<SZANode> root;
        ScanReport report;
    };
    /// Waits for the end. Once.
    [[nodiscard]] Result take();

Q_SIGNALS:
    void ended(); ///< from the scan's thread

private:
    void run(const Device &device, Log &log, ScanOptions options);

    ScanMonitor m_monitor;
    Result m_result; ///< the scan thread's until it is joined
    std::thread m_thread;
};

} // namespace slicewise
