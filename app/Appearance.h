// Whether the window is to be light on dark.
//
// As it was wished for; else as the desktop's settings ask for, and follows them; else as the platform's
// palette is. GUI thread.
#pragma once

#include "app/MessageBus.h"
#include "app/Options.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QtQmlIntegration>

#include <optional>

namespace slicewise {

class Appearance : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application has one")
    Q_PROPERTY(bool dark READ dark NOTIFY darkChanged)

public:
    explicit Appearance(AppearanceWish wish);

    [[nodiscard]] bool dark() const { return m_dark; }

    /// From now on with the desktop's settings, once they have answered.
    void followDesktop(const BusAddress &session);

Q_SIGNALS:
    void darkChanged();
    void desktopAnswered(); ///< its settings, whatever they said, or there are none

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Q_SLOT void settingChanged(const QDBusMessage &message);
    void readSetting();
    [[nodiscard]] bool isToBeDark() const;
    void update();

    AppearanceWish m_wish;
    std::optional<bool> m_desktopsDark; ///< absent: no preference
    bool m_dark;                        ///< as was said last
    std::optional<QDBusConnection> m_session;
};

} // namespace slicewise
