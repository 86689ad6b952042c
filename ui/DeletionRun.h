// One deletion on a thread of its own, for a screen that lives on the GUI thread.
//
// Used on the GUI thread. The node, and with it its tree, is kept until the end; nobody may change the tree
// meanwhile. A deletion is never broken off: one that goes away early is waited for.
#pragma once

#include "delete/DeletionJob.h"
#include "delete/DeletionPolicy.h"
#include "scan/SZANode.h"
#include "ui/DeletionService.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace slicewise {

/// Whether the user is asked first, where what is deleted is more than files.
enum class Confirmation : bool { No, Yes };

class DeletionRun : public QObject {
    Q_OBJECT

public:
    struct Job {
        std::shared_ptr<const SZANode> node;
        SZADeleteType type = SZADeleteTypeNone;
        Confirmation confirmation = Confirmation::Yes;
    };

    /// When it is done, `finished` is called once by the receiver's event loop, on its thread, unless the
    /// receiver is gone by then. The service is borrowed. A type that is none of the five raises SZAException
    /// "Delete type not implemented", which, as anything that a strategy raises, ends the process.
    DeletionRun(DeletionService &service, Job job, QObject &receiver, std::function<void()> finished);
    DeletionRun(const DeletionRun &) = delete;
    DeletionRun &operator=(const DeletionRun &) = delete;
    ~DeletionRun() override;

    /// Waits for the end. Absent: nothing was deleted, the user has to be asked first. Once.
    [[nodiscard]] std::optional<DeletionOutcome> take();

Q_SIGNALS:
    void ended(); ///< from the deletion's thread

private:
    [[nodiscard]] static std::optional<DeletionOutcome> run(DeletionService &service, const Job &job);

    std::optional<DeletionOutcome> m_outcome; ///< the thread's until it is joined
    std::thread m_thread;
};

} // namespace slicewise
