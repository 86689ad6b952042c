// Writes pictures of all kinds of screens at all sizes, for the eye: draw-screens FOLDER [part of a name].

#include "tests/ui_screens/BrowsedTree.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QTest>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

struct Case {
    const char *name;
    HandMadeTree::Files files;
    std::vector<std::string> path;
    std::function<void(SZANode &root)> prepare;
};

HandMadeTree::Files overviewFiles()
{
    constexpr std::uint64_t kMegabyte = 1'000'000;
    return {{"Operating System/a", 3910 * kMegabyte},
            {"Applications/Riverbank/b", 5210 * kMegabyte},
            {"Music/c", 2480 * kMegabyte},
            {"Photos/d", 1890 * kMegabyte},
            {"Cydia Packages/e", 910 * kMegabyte},
            {"Attachments/f", 730 * kMegabyte},
            {"Others/g", 540 * kMegabyte},
            {"Ringtones/h", 41 * kMegabyte},
            {"Logs/logs/i", 12 * kMegabyte},
            {"Voice Memos/j", 3 * kMegabyte},
            {"Applications/Night Sky/k", 1820 * kMegabyte},
            {"Applications/Metro/l", 640 * kMegabyte},
            {"Applications/Chess Club/m", 310 * kMegabyte},
            {"Applications/Bakery/n", 120 * kMegabyte}};
}

HandMadeTree::Files longNames()
{
    const std::string hebrew = "קובץ ארוך מאוד עם שם בעברית";
    return {
        {"Others/" + std::string(300, 'w') + ".log/a", 9000},
        {"Others/" + hebrew + "/b", 8000},
        {"Others/🌊🎈📦 holidays 👩‍👩‍👧/c", 7000},
        {"Others/<b>bold<br> & <img src='x'>/d", 6000},
        {"Others/two\nlines\tand a tab/e", 5000},
        {"Others/broken \xff\xfe bytes/f", 4000},
        {"Others/x/g", 3000},
        {"Others/A fairly long name that is not quite as long as the longest but still does not fit.mp4/h",
         2000}};
}

std::vector<Case> cases()
{
    const std::string longName(60, 'w');
    const auto empty = [](SZANode &root) {
        SZANode *const others = root.childNamed("Others");
        others->removeNodeAffectedNodes(*others->childNamed("a"), {});
    };
    return {{"overview", overviewFiles(), {}, {}},
            {"child", overviewFiles(), {"Applications"}, {}},
            {"empty", {{"Others/a/b", 0}}, {"Others"}, empty},
            {"one", {{"Others/only child/a", 123456}}, {"Others"}, {}},
            {"many", manyChildren(5000), {"Others"}, {}},
            {"long", longNames(), {"Others"}, {}},
            {"longtitle",
             {{"Others/" + longName + "/inner/a", 5}, {"Others/" + longName + "/other/a", 3}},
             {"Others", longName},
             {}}};
}

struct Size {
    int width;
    int height;
    bool pad;
};

void save(ScreenWindow &window, const QString &folder, const char *name, const Size &size, bool dark)
{
    if (!window.comesToRest()) {
        qFatal("%s does not come to rest", name);
    }
    const QString file = QStringLiteral("%1/%2-%3x%4-%5.png")
                             .arg(folder, QString::fromUtf8(name))
                             .arg(size.width)
                             .arg(size.height)
                             .arg(dark ? QStringLiteral("dark") : QStringLiteral("light"));
    if (!window.view().grabWindow().save(file)) {
        qFatal("%s cannot be written", qPrintable(file));
    }
}

void atEachSize(const std::function<void(const Size &, bool dark)> &drawn)
{
    for (const Size size : {Size{390, 844, false}, Size{844, 390, false}, Size{320, 480, false},
                            Size{820, 1180, true}, Size{1180, 820, true}, Size{1600, 1000, true}}) {
        for (const bool dark : {false, true}) {
            drawn(size, dark);
        }
    }
}

UserInterfaceIdiom idiomOf(const Size &size)
{
    return size.pad ? UserInterfaceIdiom::Pad : UserInterfaceIdiom::Phone;
}

void draw(const Case &each, const QString &folder)
{
    atEachSize([&](const Size &size, bool dark) {
        BrowsedTree browsed(each.files, {}, idiomOf(size));
        if (each.prepare) {
            each.prepare(*browsed.tree.root);
        }
        for (std::size_t length = 1; length <= each.path.size(); ++length) {
            browsed.push({each.path.begin(), each.path.begin() + static_cast<std::ptrdiff_t>(length)});
        }
        ScreenWindow window(browsed.stack,
                            {.size = {size.width, size.height}, .pad = size.pad, .dark = dark});
        save(window, folder, each.name, size, dark);
    });
}

enum class Stage : unsigned char { NothingYet, Something, Done };

void drawScan(Stage stage, const char *name, const QString &folder)
{
    atEachSize([&](const Size &size, bool dark) {
        HeldScan scan(idiomOf(size));
        ScreenWindow window(scan.stack, {.size = {size.width, size.height}, .pad = size.pad, .dark = dark});
        if (stage != Stage::NothingYet) {
            scan.tick();
        }
        if (stage == Stage::Done && !scan.finishes()) {
            qFatal("The scan does not end");
        }
        const QQuickItem &overlay = *ScreenWindow::itemsOfType(*window.topPage(), "ProgressHUD").at(0);
        if (!comesTrue([&] { return overlay.opacity() == (stage == Stage::NothingYet ? 1 : 0); })) {
            qFatal("The overlay does not come or go");
        }
        save(window, folder, name, size, dark);
    });
}

/// A row that the keyboard has reached, and one that a finger has.
void drawTouched(const QString &folder)
{
    atEachSize([&](const Size &size, bool dark) {
        BrowsedTree browsed(overviewFiles(), {"Applications"}, idiomOf(size));
        ScreenWindow window(browsed.stack,
                            {.size = {size.width, size.height}, .pad = size.pad, .dark = dark});
        if (!window.comesToRest()) {
            qFatal("It does not come to rest");
        }
        window.key(Qt::Key_Down);
        browsed.top().tableView()->selectRowAtIndexPath({.section = 0, .row = 1},
                                                        NodeTable::ScrollPosition::None);
        window.chart().setSliceSelectedAtIndex(1);
        save(window, folder, "touched", size, dark);
    });
}

/// In the middle of a swipe.
void drawSwipe(const QString &folder)
{
    atEachSize([&](const Size &size, bool dark) {
        BrowsedTree browsed(overviewFiles(), {"Applications"}, idiomOf(size));
        ScreenWindow window(browsed.stack,
                            {.size = {size.width, size.height}, .pad = size.pad, .dark = dark});
        if (!window.comesToRest()) {
            qFatal("It does not come to rest");
        }
        window.drag({4, size.height - 40.0}, {size.width * 0.4, size.height - 40.0});
        if (!comesTrue([&] { return window.topPage()->x() > size.width * 0.3; }) ||
            !window.view().grabWindow().save(
                QStringLiteral("%1/swipe-%2x%3-%4.png")
                    .arg(folder)
                    .arg(size.width)
                    .arg(size.height)
                    .arg(dark ? QStringLiteral("dark") : QStringLiteral("light")))) {
            qFatal("No swipe");
        }
    });
}

/// What deleting looks like on the way.
enum class Step : unsigned char { Editing, Opened, Asked, AskedFromBar, Failed, Deleting };

HandMadeTree::Files attachments()
{
    HandMadeTree::Files files = {{"Message Attachments/Previews/a", 3'400'000}};
    for (const char *name : {"IMG_0001.JPG", "Holiday on the island, the long version, part two.MOV",
                             "Grüße 2.m4a", "IMG_0001.JPG 2", "contact.vcf", "x.png"}) {
        files.emplace_back(std::string("Message Attachments/") + name, 900'000 + 300'000 * files.size());
    }
    return files;
}

QString longMessage()
{
    QStringList lines;
    for (int i = 1; i <= 40; ++i) {
        lines.push_back(QStringLiteral("libexample%1 is required by example-tool-%1").arg(i));
    }
    return lines.join(QLatin1Char('\n'));
}

void bringTo(Step step, BrowsedTree &browsed)
{
    SZAViewController &screen = browsed.top();
    const UIActionSheet::Texts texts{.title = QStringLiteral("Uninstall Riverbank?"),
                                     .cancelButtonTitle = QStringLiteral("Cancel"),
                                     .destructiveButtonTitle = QStringLiteral("Uninstall")};
    if (step != Step::AskedFromBar) {
        screen.toggleEditMode();
    }
    switch (step) {
    case Step::Editing:
        break;
    case Step::Opened:
        screen.tableView()->toggleDeleteConfirmation(1);
        break;
    case Step::Asked:
        screen.actionSheet()->showInView(texts);
        break;
    case Step::AskedFromBar:
        screen.actionSheet()->showFromBarButtonItem(texts);
        break;
    case Step::Failed:
        screen.alertView()->show({.title = QStringLiteral("Delete failed"),
                                  .message = longMessage(),
                                  .cancelButtonTitle = QStringLiteral("Close")});
        break;
    case Step::Deleting:
        browsed.system.standIn.hold();
        screen.tableView()->toggleDeleteConfirmation(1);
        screen.tableView()->commitDelete(1);
        break;
    }
}

/// Long enough for whatever comes in to have come.
bool settles(ScreenWindow &window)
{
    const QDeadlineTimer end(1000);
    return window.comesToRest() && comesTrue([&] { return end.hasExpired(); });
}

void drawDeleting(Step step, const char *name, const QString &folder)
{
    const bool ofAnApplication = step == Step::AskedFromBar;
    atEachSize([&](const Size &size, bool dark) {
        BrowsedTree browsed(ofAnApplication ? overviewFiles() : attachments(), {}, idiomOf(size));
        browsed.push({ofAnApplication ? "Applications" : "Message Attachments"});
        if (ofAnApplication) {
            browsed.push({"Applications", "Riverbank"});
        }
        ScreenWindow window(browsed.stack,
                            {.size = {size.width, size.height}, .pad = size.pad, .dark = dark});
        bringTo(step, browsed);
        if (!settles(window)) {
            qFatal("It does not settle");
        }
        save(window, folder, name, size, dark);
        if (step == Step::Deleting) {
            browsed.system.standIn.letGo();
        }
    });
}

} // namespace
} // namespace slicewise

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QPA_PLATFORMTHEME", "none");
    qputenv("QML_DISABLE_DISK_CACHE", "1");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2 || !QDir().mkpath(arguments.at(1))) {
        qFatal("draw-screens FOLDER [part of a name]");
    }
    const QString folder = arguments.at(1);
    const auto wanted = [&](const char *name) {
        return arguments.size() < 3 || QString::fromUtf8(name).contains(arguments.at(2));
    };
    for (const auto &each : slicewise::cases()) {
        if (wanted(each.name)) {
            slicewise::draw(each, folder);
        }
    }
    for (const auto &[stage, name] :
         {std::pair(slicewise::Stage::NothingYet, "overlay"),
          std::pair(slicewise::Stage::Something, "spinner"), std::pair(slicewise::Stage::Done, "scanned")}) {
        if (wanted(name)) {
            slicewise::drawScan(stage, name, folder);
        }
    }
    if (wanted("touched")) {
        slicewise::drawTouched(folder);
    }
    if (wanted("swipe")) {
        slicewise::drawSwipe(folder);
    }
    using slicewise::Step;
    for (const auto &[step, name] :
         {std::pair(Step::Editing, "editing"), std::pair(Step::Opened, "opened"),
          std::pair(Step::Asked, "asked"), std::pair(Step::AskedFromBar, "frombar"),
          std::pair(Step::Failed, "failed"), std::pair(Step::Deleting, "deleting")}) {
        if (wanted(name)) {
            slicewise::drawDeleting(step, name, folder);
        }
    }
    return EXIT_SUCCESS;
}
