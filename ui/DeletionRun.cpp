#include "ui/DeletionRun.h"

#include "scan/SZAException.h"

#include <utility>

namespace slicewise {

DeletionRun::DeletionRun(DeletionService &service, Job job, QObject &receiver, std::function<void()> finished)
{
    // Not waited for: the receiver may be waiting for this thread, in its destructor.
    connect(this, &DeletionRun::ended, &receiver, std::move(finished), Qt::QueuedConnection);
    m_thread = std::thread([this, &service, job = std::move(job)] {
        m_outcome = run(service, job);
        Q_EMIT ended();
    });
}

DeletionRun::~DeletionRun()
{
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

std::optional<DeletionOutcome> DeletionRun::run(DeletionService &service, const Job &job)
{
    if (job.type < SZADeleteTypeRegular || job.type > SZADeleteTypeAsset) {
        throw SZAException("Delete type not implemented");
    }
    if (job.confirmation == Confirmation::Yes && asksBeforeDeletion(job.type)) {
        return std::nullopt;
    }
    return service.deleteNode(job.type, *job.node);
}

std::optional<DeletionOutcome> DeletionRun::take()
{
    m_thread.join();
    return std::move(m_outcome);
}

} // namespace slicewise
