#include "app/Appearance.h"

#include <QDBusMessage>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QString>
#include <QVariant>

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

Appearance::Appearance(AppearanceWish wish) : m_wish(wish), m_paletteDark(isPaletteDark()), m_dark(dark())
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool Appearance::dark() const
{
    if (m_wish != AppearanceWish::AsSystem) {
        return m_wish == AppearanceWish::Dark;
    }
    return m_desktopsDark.value_or(m_paletteDark);
}

void Appearance::followDesktop(const BusAddress &session)
{
    connectToBus(session, *this, [this](const std::optional<QDBusConnection> &connected) {
        m_session = connected;
        if (m_session) {
            // From any sender: naming one means waiting for the bus to say who that is.
            m_session->connect(QString(), QString::fromLatin1(kPath), QString::fromLatin1(kInterface),
                               QStringLiteral("SettingChanged"), this,
                               SLOT(settingChanged(QString, QString, QDBusVariant)));
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
            setDesktopsScheme(darkOfScheme(answer.arguments().value(0)));
        }
        Q_EMIT desktopAnswered();
    });
}

void Appearance::settingChanged(const QString &group, const QString &key, const QDBusVariant &value)
{
    if (group == QLatin1String(kGroup) && key == QLatin1String(kKey)) {
        setDesktopsScheme(darkOfScheme(value.variant()));
    }
}

void Appearance::setDesktopsScheme(std::optional<bool> dark)
{
    m_desktopsDark = dark;
    update();
}

bool Appearance::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ApplicationPaletteChange && watched == QCoreApplication::instance()) {
        m_paletteDark = isPaletteDark();
        update();
    }
    return false;
}

void Appearance::update()
{
    if (m_dark != dark()) {
        m_dark = dark();
        Q_EMIT darkChanged();
    }
}

} // namespace slicewise
