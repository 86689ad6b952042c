#include "app/Appearance.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QString>
#include <QVariant>

#include <utility>

namespace slicewise {

namespace {

constexpr const char *kService = "org.freedesktop.portal.Desktop";
constexpr const char *kPath = "/org/freedesktop/portal/desktop";
constexpr const char *kInterface = "org.freedesktop.portal.Settings";
constexpr const char *kGroup = "org.freedesktop.appearance";
constexpr const char *kKey = "color-scheme";
constexpr unsigned kPrefersDark = 1;
constexpr unsigned kPrefersLight = 2;
constexpr int kMiddleLightness = 128;

bool isPaletteDark()
{
    return QGuiApplication::palette().color(QPalette::Window).lightness() < kMiddleLightness;
}

/// Older portals wrap the value twice.
QVariant unwrapped(QVariant value)
{
    while (value.canConvert<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

std::optional<bool> darkOfScheme(const QVariant &value)
{
    switch (unwrapped(value).toUInt()) {
    case kPrefersDark:
        return true;
    case kPrefersLight:
        return false;
    default:
        return std::nullopt;
    }
}

} // namespace

Appearance::Appearance(AppearanceWish wish) : m_wish(wish), m_dark(isToBeDark())
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool Appearance::isToBeDark() const
{
    if (m_wish != AppearanceWish::AsSystem) {
        return m_wish == AppearanceWish::Dark;
    }
    return m_desktopsDark ? *m_desktopsDark : isPaletteDark();
}

void Appearance::followDesktop(const BusAddress &session)
{
    connectToBus(session, *this, [this](const std::optional<QDBusConnection> &connected) {
        m_session = connected;
        if (m_session) {
            // From any sender: naming one means waiting for the bus to say who that is. As a whole message: a
            // slot with parameters of its own is refused now and then, by a race within Qt.
            m_session->connect(QString(), QString::fromLatin1(kPath), QString::fromLatin1(kInterface),
                               QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QDBusMessage)));
            readSetting();
        } else {
            Q_EMIT desktopAnswered();
        }
    });
}

void Appearance::readSetting()
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(QString::fromLatin1(kService), QString::fromLatin1(kPath),
                                       QString::fromLatin1(kInterface), QStringLiteral("Read"));
    call.setArguments({QString::fromLatin1(kGroup), QString::fromLatin1(kKey)});
    callLater(*m_session, call, *this, [this](const QDBusMessage &answer) {
        if (answer.type() == QDBusMessage::ReplyMessage) {
            m_desktopsDark = darkOfScheme(answer.arguments().value(0));
            update();
        }
        Q_EMIT desktopAnswered();
    });
}

void Appearance::settingChanged(const QDBusMessage &message)
{
    const QList<QVariant> arguments = message.arguments();
    if (arguments.value(0).toString() == QLatin1String(kGroup) &&
        arguments.value(1).toString() == QLatin1String(kKey)) {
        m_desktopsDark = darkOfScheme(arguments.value(2));
        update();
    }
}

bool Appearance::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ApplicationPaletteChange && watched == QCoreApplication::instance()) {
        update();
    }
    return false;
}

void Appearance::update()
{
    const bool before = std::exchange(m_dark, isToBeDark());
    if (before != m_dark) {
        Q_EMIT darkChanged();
    }
}

} // namespace slicewise
