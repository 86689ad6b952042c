// Whether the application takes touches, clicks and keys now.
//
// Shared by all screens and whatever draws them. GUI thread.
#pragma once

#include <QObject>

namespace slicewise {

class InteractionGate : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool ignoringInteractionEvents READ isIgnoringInteractionEvents NOTIFY
                   ignoringInteractionEventsChanged)

public:
    InteractionGate() = default;

    /// Calls are counted: as many ends as begins let interaction go on. An end without a begin is none.
    void beginIgnoringInteractionEvents();
    void endIgnoringInteractionEvents();
    [[nodiscard]] bool isIgnoringInteractionEvents() const { return m_begun > 0; }

Q_SIGNALS:
    void ignoringInteractionEventsChanged();

private:
    unsigned m_begun = 0;
};

} // namespace slicewise
