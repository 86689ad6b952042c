// "Show in Folder", as far as the desktop's file manager.
#include "platform/HostDevice.h"
#include "platform/Log.h"
#include "preview/Documents.h"
#include "tests/app/PrivateBus.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryDirectory.h"

#include <QCoreApplication>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FileManager : public QDBusVirtualObject {
public:
    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &bus) override
    {
        asked.push_back((call.interface() + "." + call.member() + "(" + call.signature() + ") of " +
                         call.arguments().value(0).toStringList().join(","))
                            .toStdString());
        return bus.send(refuses ? call.createErrorReply(QDBusError::Failed, "No window")
                                : call.createReply());
    }

    std::vector<std::string> asked;
    bool refuses = false;
};

class ShowInFolder : public testing::Test {
protected:
    ShowInFolder()
    {
        directory.writeFile("folder/a b\xff#.txt", "x");
        address.emplace("DBUS_SESSION_BUS_ADDRESS", bus.address().address.toStdString());
    }
    void addFileManager()
    {
        QDBusConnection services = bus.services();
        ASSERT_TRUE(services.registerVirtualObject("/org/freedesktop/FileManager1", &manager));
        ASSERT_TRUE(services.registerService("org.freedesktop.FileManager1"));
    }
    /// Asks as the menu does, and answers as the file manager does meanwhile.
    void show()
    {
        DesktopServices desktop = desktopServices();
        desktop.opener = [] { return std::optional<std::string>("/usr/bin/opener"); };
        desktop.open = [this](const std::string & /*opener*/, const std::string &path) {
            opened.push_back(path);
            return true;
        };
        const auto ask = desktop.showInFileManager;
        std::promise<void> answered;
        desktop.showInFileManager = [&](const std::string &path) {
            const bool shown = ask(path);
            answered.set_value();
            return shown;
        };
        Log log([](std::string_view /*line*/) {});
        Documents documents({.device = device.get(), .log = &log, .decoder = {}, .desktop = desktop});
        documents.showInFolder("/folder/a b\xff#.txt");
        const std::future<void> answer = answered.get_future();
        const QDeadlineTimer deadline(std::chrono::seconds(10));
        while (answer.wait_for(std::chrono::seconds(0)) != std::future_status::ready &&
               !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
        documents.finishHandingOn();
    }
    [[nodiscard]] std::string folder() const { return directory.path() + "/folder"; }

    TemporaryDirectory directory;
    std::unique_ptr<HostDevice> device = HostDevice::open(directory.path()).value();
    PrivateBus bus;
    std::optional<ScopedVariable> address;
    FileManager manager;
    std::vector<std::string> opened;
};

TEST_F(ShowInFolder, asksTheFileManagerForTheFileWhateverBytesItsNameHas)
{
    addFileManager();
    show();
    EXPECT_THAT(manager.asked, ElementsAre("org.freedesktop.FileManager1.ShowItems(ass) of file://" +
                                           folder() + "/a%20b%FF%23.txt"));
    EXPECT_THAT(opened, IsEmpty());
}

TEST_F(ShowInFolder, opensTheFolderWhereTheFileManagerRefuses)
{
    manager.refuses = true;
    addFileManager();
    show();
    EXPECT_EQ(manager.asked.size(), 1U);
    EXPECT_THAT(opened, ElementsAre(folder()));
}

TEST_F(ShowInFolder, opensTheFolderWhereNobodyHasTheName)
{
    show();
    EXPECT_THAT(opened, ElementsAre(folder()));
}

TEST_F(ShowInFolder, opensTheFolderWhereThereIsNoBus)
{
    addFileManager();
    for (const char *none : {"", "unix:path=/nowhere/bus"}) {
        opened.clear();
        const ScopedVariable nowhere("DBUS_SESSION_BUS_ADDRESS", none);
        show();
        EXPECT_THAT(opened, ElementsAre(folder())) << none;
    }
    EXPECT_THAT(manager.asked, IsEmpty());
}

} // namespace

} // namespace slicewise
