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

/// What is done to a screen at rest before its picture is taken.
using Act = std::function<void(BrowsedTree &browsed, ScreenWindow &window)>;

struct Case {
    const char *name;
    HandMadeTree::Files files;
    std::vector<std::string> path;
    Act act = {};
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

HandMadeTree::Files attachments()
{
    HandMadeTree::Files files = {{"Message Attachments/Previews/a", 3'400'000}};
    for (const char *name : {"IMG_0001.JPG", "Holiday on the island, the long version, part two.MOV",
                             "Grüße 2.m4a", "IMG_0001.JPG 2", "contact.vcf", "x.png"}) {
        files.emplace_back(std::string("Message Attachments/") + name, 900'000 + 300'000 * files.size());
    }
    return files;
}

std::vector<Case> levels()
{
    const std::string longName(60, 'w');
    return {{"overview", overviewFiles(), {}},
            {"child", overviewFiles(), {"Applications"}},
            {"one", {{"Others/only child/a", 123456}}, {"Others"}},
            {"many", manyChildren(5000), {"Others"}},
            {"long", longNames(), {"Others"}},
            {"longtitle",
             {{"Others/" + longName + "/inner/a", 5}, {"Others/" + longName + "/other/a", 3}},
             {"Others", longName}},
            {"empty", {{"Others/a/b", 0}}, {"Others"}, [](BrowsedTree &browsed, ScreenWindow &) {
                 SZANode *const others = browsed.tree.root->childNamed("Others");
                 others->removeNodeAffectedNodes(*others->childNamed("a"), {});
                 browsed.top().updateData();
             }}};
}

/// A row that the keyboard has reached, and one that a finger has.
void touch(BrowsedTree &browsed, ScreenWindow &window)
{
    window.key(Qt::Key_Down);
    browsed.top().tableView()->selectRowAtIndexPath({.section = 0, .row = 1},
                                                    NodeTable::ScrollPosition::None);
    window.chart().setSliceSelectedAtIndex(1);
}

/// In the middle of a swipe.
void swipe(BrowsedTree & /*browsed*/, ScreenWindow &window)
{
    const QSizeF size = window.browser().size();
    window.drag({4, size.height() - 40}, {size.width() * 0.4, size.height() - 40});
    if (!comesTrue([&] { return window.topPage()->x() > size.width() * 0.3; })) {
        qFatal("No swipe");
    }
}

UIActionSheet::Texts question()
{
    return {.title = QStringLiteral("Uninstall Riverbank?"),
            .cancelButtonTitle = QStringLiteral("Cancel"),
            .destructiveButtonTitle = QStringLiteral("Uninstall")};
}

UIAlertView::Texts longMessage()
{
    QStringList lines;
    for (int i = 1; i <= 40; ++i) {
        lines.push_back(QStringLiteral("libexample%1 is required by example-tool-%1").arg(i));
    }
    return {.title = QStringLiteral("Delete failed"),
            .message = lines.join(QLatin1Char('\n')),
            .cancelButtonTitle = QStringLiteral("Close")};
}

/// In edit mode.
Case edited(const char *name, const Act &act)
{
    return {name, attachments(), {"Message Attachments"}, [act](BrowsedTree &browsed, ScreenWindow &window) {
                browsed.top().toggleEditMode();
                act(browsed, window);
            }};
}

std::vector<Case> actions()
{
    return {{"touched", overviewFiles(), {"Applications"}, touch},
            {"swipe", overviewFiles(), {"Applications"}, swipe},
            {"frombar",
             overviewFiles(),
             {"Applications", "Riverbank"},
             [](BrowsedTree &browsed, ScreenWindow &) {
                 browsed.top().actionSheet()->showFromBarButtonItem(question());
             }},
            edited("editing", [](BrowsedTree &, ScreenWindow &) {}),
            edited("opened", [](BrowsedTree &browsed,
                                ScreenWindow &) { browsed.top().tableView()->toggleDeleteConfirmation(1); }),
            edited("asked", [](BrowsedTree &browsed,
                               ScreenWindow &) { browsed.top().actionSheet()->showInView(question()); }),
            edited("failed", [](BrowsedTree &browsed,
                                ScreenWindow &) { browsed.top().alertView()->show(longMessage()); }),
            edited("deleting", [](BrowsedTree &browsed, ScreenWindow &) {
                browsed.system.standIn.hold();
                browsed.top().tableView()->toggleDeleteConfirmation(1);
                browsed.top().tableView()->commitDelete(1);
            })};
}

UserInterfaceIdiom idiomOf(const ScreenWindow::Look &look)
{
    return look.pad ? UserInterfaceIdiom::Pad : UserInterfaceIdiom::Phone;
}

void save(ScreenWindow &window, const QString &folder, const char *name, const ScreenWindow::Look &look)
{
    const QString file = QStringLiteral("%1/%2-%3x%4-%5.png")
                             .arg(folder, QString::fromUtf8(name))
                             .arg(look.size.width())
                             .arg(look.size.height())
                             .arg(look.dark ? QStringLiteral("dark") : QStringLiteral("light"));
    if (!window.view().grabWindow().save(file)) {
        qFatal("%s cannot be written", qPrintable(file));
    }
}

void rest(ScreenWindow &window)
{
    if (!window.comesToRest()) {
        qFatal("It does not come to rest");
    }
}

void atEachSize(const std::function<void(const ScreenWindow::Look &)> &drawn)
{
    for (const auto &[size, pad] : {std::pair(QSize(390, 844), false), std::pair(QSize(844, 390), false),
                                    std::pair(QSize(320, 480), false), std::pair(QSize(820, 1180), true),
                                    std::pair(QSize(1180, 820), true), std::pair(QSize(1600, 1000), true)}) {
        for (const bool dark : {false, true}) {
            drawn({.size = size, .pad = pad, .dark = dark});
        }
    }
}

void draw(const Case &each, const QString &folder)
{
    atEachSize([&](const ScreenWindow::Look &look) {
        BrowsedTree browsed(each.files, each.path, idiomOf(look));
        ScreenWindow window(browsed.stack, look);
        rest(window);
        if (each.act) {
            each.act(browsed, window);
            // Long enough for whatever comes in to have come.
            const QDeadlineTimer end(1000);
            if (!comesTrue([&] { return end.hasExpired(); })) {
                qFatal("Time stands still");
            }
        }
        save(window, folder, each.name, look);
        if (browsed.stack.isDeleting()) {
            browsed.system.standIn.letGo();
        }
    });
}

enum class Stage : unsigned char { NothingYet, Something, Done };

void drawScan(Stage stage, const char *name, const QString &folder)
{
    atEachSize([&](const ScreenWindow::Look &look) {
        HeldScan scan(idiomOf(look));
        ScreenWindow window(scan.stack, look);
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
        rest(window);
        save(window, folder, name, look);
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
    for (const auto &cases : {slicewise::levels(), slicewise::actions()}) {
        for (const auto &each : cases) {
            if (wanted(each.name)) {
                slicewise::draw(each, folder);
            }
        }
    }
    using slicewise::Stage;
    for (const auto &[stage, name] :
         {std::pair(Stage::NothingYet, "overlay"), std::pair(Stage::Something, "spinner"),
          std::pair(Stage::Done, "scanned")}) {
        if (wanted(name)) {
            slicewise::drawScan(stage, name, folder);
        }
    }
    return EXIT_SUCCESS;
}
