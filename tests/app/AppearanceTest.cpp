#include "app/Appearance.h"

#include "tests/app/PrivateBus.h"

#include <QGuiApplication>
#include <QPalette>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace slicewise {
namespace {

class AppearanceTest : public ::testing::Test {
protected:
    ~AppearanceTest() override { QGuiApplication::setPalette(m_before); }
    static void setWindowColor(const QColor &color)
    {
        QPalette palette = QGuiApplication::palette();
        palette.setColor(QPalette::Window, color);
        QGuiApplication::setPalette(palette);
    }

private:
    QPalette m_before = QGuiApplication::palette();
};

TEST_F(AppearanceTest, isThatOfThePlatformsPalette)
{
    setWindowColor(Qt::white);
    EXPECT_FALSE(Appearance(AppearanceWish::AsSystem).dark());
    setWindowColor(QColor(0x20, 0x20, 0x20));
    EXPECT_TRUE(Appearance(AppearanceWish::AsSystem).dark());
}

TEST_F(AppearanceTest, followsThePalette)
{
    setWindowColor(Qt::white);
    Appearance appearance(AppearanceWish::AsSystem);
    QSignalSpy changed(&appearance, &Appearance::darkChanged);
    setWindowColor(Qt::black);
    QCoreApplication::processEvents();
    EXPECT_TRUE(appearance.dark());
    EXPECT_EQ(changed.count(), 1);
}

TEST_F(AppearanceTest, isWhatWasWishedForWhateverThePaletteIs)
{
    setWindowColor(Qt::white);
    EXPECT_TRUE(Appearance(AppearanceWish::Dark).dark());
    setWindowColor(Qt::black);
    EXPECT_FALSE(Appearance(AppearanceWish::Light).dark());
}

class AppearanceOnDesktop : public AppearanceTest {
protected:
    void SetUp() override
    {
        setWindowColor(Qt::white);
        QDBusConnection services = bus.services();
        ASSERT_TRUE(services.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &portal,
                                            QDBusConnection::ExportAllContents));
        ASSERT_TRUE(services.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
    }
    void follow(Appearance &appearance) const
    {
        QSignalSpy answered(&appearance, &Appearance::desktopAnswered);
        appearance.followDesktop(bus.address());
        ASSERT_EQ(answered.count(), 0) << "it does not wait for an answer";
        ASSERT_TRUE(answered.wait());
    }
    void change(const char *group, const char *key, unsigned scheme)
    {
        Q_EMIT portal.SettingChanged(QString::fromLatin1(group), QString::fromLatin1(key),
                                     QDBusVariant(scheme));
    }

    PrivateBus bus;
    Portal portal;
};

TEST_F(AppearanceOnDesktop, isWhatTheDesktopPrefers)
{
    portal.scheme = 1;
    Appearance appearance(AppearanceWish::AsSystem);
    follow(appearance);
    EXPECT_TRUE(appearance.dark());
    portal.scheme = 2;
    setWindowColor(Qt::black);
    Appearance light(AppearanceWish::AsSystem);
    follow(light);
    EXPECT_FALSE(light.dark());
}

TEST_F(AppearanceOnDesktop, staysWithThePaletteWhereTheDesktopHasNoPreference)
{
    portal.scheme = 0;
    Appearance appearance(AppearanceWish::AsSystem);
    QSignalSpy changed(&appearance, &Appearance::darkChanged);
    follow(appearance);
    portal.scheme.reset();
    follow(appearance);
    EXPECT_FALSE(appearance.dark());
    EXPECT_EQ(changed.count(), 0);
}

TEST_F(AppearanceOnDesktop, followsTheDesktopsChangesOfItAndOfNothingElse)
{
    portal.scheme = 2;
    Appearance appearance(AppearanceWish::AsSystem);
    follow(appearance);
    QSignalSpy changed(&appearance, &Appearance::darkChanged);
    change("org.freedesktop.appearance", "accent-color", 1);
    change("org.gnome.desktop.interface", "color-scheme", 1);
    change("org.freedesktop.appearance", "color-scheme", 1);
    ASSERT_TRUE(changed.wait());
    EXPECT_TRUE(appearance.dark());
    change("org.freedesktop.appearance", "color-scheme", 0);
    ASSERT_TRUE(changed.wait());
    EXPECT_FALSE(appearance.dark()) << "as the palette is";
    EXPECT_EQ(changed.count(), 2);
}

TEST_F(AppearanceOnDesktop, aWishComesFirst)
{
    portal.scheme = 1;
    Appearance appearance(AppearanceWish::Light);
    follow(appearance);
    EXPECT_FALSE(appearance.dark());
}

TEST_F(AppearanceTest, withoutABusIsThatOfThePalette)
{
    setWindowColor(Qt::white);
    Appearance appearance(AppearanceWish::AsSystem);
    QSignalSpy answered(&appearance, &Appearance::desktopAnswered);
    appearance.followDesktop(
        {.bus = BusAddress::Bus::Named, .address = QStringLiteral("unix:path=/nowhere")});
    ASSERT_TRUE(answered.wait());
    EXPECT_FALSE(appearance.dark());
}

} // namespace
} // namespace slicewise
