#include "ui/InteractionGate.h"

namespace slicewise {

void InteractionGate::beginIgnoringInteractionEvents()
{
    if (++m_begun == 1) {
        Q_EMIT ignoringInteractionEventsChanged();
    }
}

void InteractionGate::endIgnoringInteractionEvents()
{
    if (m_begun > 0 && --m_begun == 0) {
        Q_EMIT ignoringInteractionEventsChanged();
    }
}

} // namespace slicewise
