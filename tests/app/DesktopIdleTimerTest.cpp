#include "app/DesktopIdleTimer.h"

#include "tests/app/PrivateBus.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace slicewise {
namespace {

class DesktopIdleTimerTest : public ::testing::Test {
protected:
    void add(QObject &service, const char *name, const char *path)
    {
        ASSERT_TRUE(bus.services().registerObject(QString::fromLatin1(path), &service,
                                                  QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(bus.services().registerService(QString::fromLatin1(name)));
    }
    void addScreenSaver() { add(screenSaver, "org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"); }
    void addPowerManager()
    {
        add(powerManager, "org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit");
    }
    void addLoginManager() { add(loginManager, "org.freedesktop.login1", "/org/freedesktop/login1"); }

    void askToStayAwake()
    {
        QSignalSpy settled(&timer, &DesktopIdleTimer::settled);
        timer.setIdleTimerDisabled(true);
        ASSERT_EQ(settled.count(), 0) << "it does not wait for an answer";
        ASSERT_TRUE(settled.wait());
    }
    static void waitForCall(ScreenSaver &service, int count)
    {
        QSignalSpy called(&service, &ScreenSaver::called);
        while (service.calls.size() < count && called.wait()) {
        }
    }

    PrivateBus bus;
    ScreenSaver screenSaver;
    PowerManager powerManager;
    LoginManager loginManager;
    DesktopIdleTimer timer{bus.address(), bus.address()};
};

TEST_F(DesktopIdleTimerTest, holdsTheScreenSaverOffAndLetsItGo)
{
    addScreenSaver();
    addPowerManager();
    askToStayAwake();
    EXPECT_TRUE(timer.isHeldAwake());
    timer.setIdleTimerDisabled(true);
    timer.setIdleTimerDisabled(false);
    EXPECT_FALSE(timer.isHeldAwake());
    waitForCall(screenSaver, 2);
    EXPECT_EQ(screenSaver.calls, (QStringList{QStringLiteral("Inhibit(Slicewise, Scanning)"),
                                              QStringLiteral("UnInhibit(4711)")}));
    EXPECT_EQ(powerManager.calls, QStringList());
}

TEST_F(DesktopIdleTimerTest, asksThePowerManagerWhereTheScreenSaverRefuses)
{
    screenSaver.refuses = true;
    addScreenSaver();
    addPowerManager();
    askToStayAwake();
    EXPECT_TRUE(timer.isHeldAwake());
    timer.setIdleTimerDisabled(false);
    waitForCall(powerManager, 2);
    EXPECT_EQ(screenSaver.calls.size(), 1);
    EXPECT_EQ(powerManager.calls, (QStringList{QStringLiteral("Inhibit(Slicewise, Scanning)"),
                                               QStringLiteral("UnInhibit(4711)")}));
}

TEST_F(DesktopIdleTimerTest, holdsTheLoginManagersLockWhereThereIsNoDesktop)
{
    addLoginManager();
    askToStayAwake();
    EXPECT_TRUE(timer.isHeldAwake());
    EXPECT_EQ(loginManager.calls, QStringList{QStringLiteral("Inhibit(idle, Slicewise, Scanning, block)")});
    EXPECT_TRUE(loginManager.isHeld());
    timer.setIdleTimerDisabled(false);
    EXPECT_FALSE(timer.isHeldAwake());
    while (loginManager.isHeld()) { // the message that brought it goes when the event loop gets to it
        QCoreApplication::processEvents();
    }
}

TEST_F(DesktopIdleTimerTest, givesUpSilentlyWhereNobodyAnswers)
{
    askToStayAwake();
    EXPECT_FALSE(timer.isHeldAwake());
    timer.setIdleTimerDisabled(false);
    EXPECT_FALSE(timer.isHeldAwake());
}

TEST_F(DesktopIdleTimerTest, takesBackAtOnceWhatIsNotWantedAnyMoreWhenItIsAnswered)
{
    addScreenSaver();
    QSignalSpy settled(&timer, &DesktopIdleTimer::settled);
    QObject::connect(&screenSaver, &ScreenSaver::called, &timer,
                     [this] { timer.setIdleTimerDisabled(false); });
    timer.setIdleTimerDisabled(true);
    ASSERT_TRUE(settled.wait());
    EXPECT_FALSE(timer.isHeldAwake());
    waitForCall(screenSaver, 2);
    EXPECT_EQ(screenSaver.calls.value(1), QStringLiteral("UnInhibit(4711)"));
}

TEST_F(DesktopIdleTimerTest, asksNobodyWhereItIsNotWantedBeforeThereIsABus)
{
    addScreenSaver();
    QSignalSpy settled(&timer, &DesktopIdleTimer::settled);
    timer.setIdleTimerDisabled(true);
    timer.setIdleTimerDisabled(false);
    ASSERT_TRUE(settled.wait());
    EXPECT_EQ(screenSaver.calls, QStringList());
}

TEST_F(DesktopIdleTimerTest, isAskedAgainForTheNextScan)
{
    addScreenSaver();
    askToStayAwake();
    timer.setIdleTimerDisabled(false);
    askToStayAwake();
    EXPECT_TRUE(timer.isHeldAwake());
    EXPECT_EQ(screenSaver.calls.size(), 3);
}

TEST(DesktopIdleTimerWithoutBus, doesNothing)
{
    const BusAddress nowhere = {.bus = BusAddress::Bus::Named,
                                .address = QStringLiteral("unix:path=/nowhere")};
    DesktopIdleTimer timer(nowhere, nowhere);
    QSignalSpy settled(&timer, &DesktopIdleTimer::settled);
    timer.setIdleTimerDisabled(true);
    ASSERT_TRUE(settled.wait());
    EXPECT_FALSE(timer.isHeldAwake());
}

TEST(DesktopIdleTimerWithoutBus, mayGoWhileItIsAsking)
{
    const BusAddress nowhere = {.bus = BusAddress::Bus::Named,
                                .address = QStringLiteral("unix:path=/nowhere")};
    auto timer = std::make_unique<DesktopIdleTimer>(nowhere, nowhere);
    QSignalSpy gone(timer.get(), &QObject::destroyed);
    timer->setIdleTimerDisabled(true);
    timer.reset();
    EXPECT_EQ(gone.count(), 1);
    QCoreApplication::processEvents();
}

} // namespace
} // namespace slicewise
