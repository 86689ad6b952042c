// Writes pictures of all kinds of screens at all sizes, for the eye: draw-screens FOLDER [part of a name].

#include "tests/ui_screens/ScreenWindow.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QTest>

#include <functional>
#include <string>
#include <vector>

namespace slicewise {
namespace {

struct Case {
    const char *name;
    std::function<std::unique_ptr<HandMadeTree>()> tree;
    std::vector<std::string> path;
    bool withParents = true;
};

HandMadeTree::Files overviewFiles()
{
    constexpr std::uint64_t kMegabyte = 1'000'000;
    return {{"Operating System/a", 3910 * kMegabyte},    {"Applications/Riverbank/b", 5210 * kMegabyte},
            {"Music/c", 2480 * kMegabyte},               {"Photos/d", 1890 * kMegabyte},
            {"Cydia Packages/e", 910 * kMegabyte},       {"Attachments/f", 730 * kMegabyte},
            {"Others/g", 540 * kMegabyte},               {"Ringtones/h", 41 * kMegabyte},
            {"Logs/logs/i", 12 * kMegabyte},             {"Voice Memos/j", 3 * kMegabyte},
            {"Applications/Night Sky/k", 1820 * kMegabyte}, {"Applications/Metro/l", 640 * kMegabyte},
            {"Applications/Chess Club/m", 310 * kMegabyte}, {"Applications/Bakery/n", 120 * kMegabyte}};
}

HandMadeTree::Files longNames()
{
    const std::string hebrew = "קובץ ארוך מאוד עם שם בעברית";
    return {{"Others/" + std::string(300, 'w') + ".log/a", 9000},
            {"Others/" + hebrew + "/b", 8000},
            {"Others/🌊🎈📦 holidays 👩‍👩‍👧/c", 7000},
            {"Others/<b>bold</b> & <img src='x'>/d", 6000},
            {"Others/two\nlines\tand a tab/e", 5000},
            {"Others/broken \xff\xfe bytes/f", 4000},
            {"Others/x/g", 3000},
            {"Others/A fairly long name that is not quite as long as the longest but still does not fit.mp4/h", 2000}};
}

std::vector<Case> cases()
{
    const auto tree = [](const HandMadeTree::Files &files) {
        return [files] { return std::make_unique<HandMadeTree>(files); };
    };
    return {{"overview", tree(overviewFiles()), {}},
            {"child", tree(overviewFiles()), {"Applications"}},
            {"empty",
             [] {
                 auto made = std::make_unique<HandMadeTree>(HandMadeTree::Files{{"Others/a/b", 0}});
                 SZANode *const others = made->root->childNamed("Others");
                 others->removeNodeAffectedNodes(*others->childNamed("a"), {});
                 return made;
             },
             {"Others"}},
            {"one", tree({{"Others/only child/a", 123456}}), {"Others"}},
            {"many", tree(manyChildren(5000)), {"Others"}},
            {"long", tree(longNames()), {"Others"}},
            {"longtitle", tree({{"Others/" + std::string(60, 'w') + "/inner/a", 5}, {"Others/" + std::string(60, 'w') + "/other/a", 3}}),
             {"Others", std::string(60, 'w')}}};
}

/// The screens of a path, one on the other.
void pushAll(SZANavigationController &stack, const HandMadeTree &tree, const std::vector<std::string> &path,
             System &system)
{
    for (std::size_t length = 0; length <= path.size(); ++length) {
        auto made = SZAViewController::controller(system.services(tree.device));
        made->setRoot(tree.root);
        made->setDoneScan(true);
        made->setCurrentPath(tree.path({path.begin(), path.begin() + static_cast<std::ptrdiff_t>(length)}));
        stack.pushViewController(std::move(made));
    }
}

struct Size {
    int width;
    int height;
    bool pad;
};

void draw(const Case &each, const QString &folder)
{
    for (const Size size : {Size{390, 844, false}, Size{844, 390, false}, Size{320, 480, false}, Size{820, 1180, true},
                            Size{1180, 820, true}, Size{1600, 1000, true}}) {
        for (const bool dark : {false, true}) {
            System system;
            system.idiom = size.pad ? UserInterfaceIdiom::Pad : UserInterfaceIdiom::Phone;
            const auto tree = each.tree();
            SZANavigationController stack;
            pushAll(stack, *tree, each.path, system);
            ScreenWindow window(stack, {.size = {size.width, size.height}, .pad = size.pad, .dark = dark});
            if (!window.comesToRest()) {
                qFatal("%s does not come to rest", each.name);
            }
            const QString file = QStringLiteral("%1/%2-%3x%4-%5.png")
                                     .arg(folder, QString::fromUtf8(each.name))
                                     .arg(size.width)
                                     .arg(size.height)
                                     .arg(dark ? QStringLiteral("dark") : QStringLiteral("light"));
            if (!window.view().grabWindow().save(file)) {
                qFatal("%s cannot be written", qPrintable(file));
            }
        }
    }
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
    for (const auto &each : slicewise::cases()) {
        if (arguments.size() < 3 || QString::fromUtf8(each.name).contains(arguments.at(2))) {
            slicewise::draw(each, arguments.at(1));
        }
    }
    return EXIT_SUCCESS;
}
