// Previews and menus as they are touched, in a window without a display.
#include "tests/preview/SheetsFixture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

namespace slicewise {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Some megabytes of it.
std::string longText()
{
    std::string text;
    for (int line = 0; line < 100'000; ++line) {
        text += "line " + std::to_string(line) + " of a text that goes on for a long time\n";
    }
    return text;
}

TEST_F(Sheets, showAPreviewUntilDoneIsTouchedAndTellTheScreenOnce)
{
    preview.directory.writeFile("file", "some text");
    EXPECT_FALSE(isActive());
    present("presentPreview", "/file");
    EXPECT_TRUE(isActive());
    settle();
    EXPECT_EQ(document()->view(), Document::View::Text);
    EXPECT_TRUE(shown->screen->lastPath().has_value()) << "the row stays selected";
    tap("done");
    EXPECT_FALSE(shown->screen->lastPath().has_value());
    // If it were told again, it would take this pick back too.
    picked();
    EXPECT_TRUE(eventually([&] { return !isActive(); }));
    EXPECT_TRUE(shown->screen->lastPath().has_value());
}

TEST_F(Sheets, closeByTheKeysThatGoBack)
{
    preview.directory.writeFile("file", "some text");
    for (const auto key : {Qt::Key_Escape, Qt::Key_Back, Qt::Key_Backspace}) {
        present("presentPreview", "/file");
        settle();
        QTest::keyClick(&window, key);
        EXPECT_FALSE(shown->screen->lastPath().has_value()) << key;
        EXPECT_TRUE(eventually([&] { return !isActive(); }));
    }
}

TEST_F(Sheets, endTheDecoderWhenThePreviewBeginsToClose)
{
    preview.directory.writeFile("file", encoded(twoColours(300, 200), "PNG"));
    present("presentPreview", "/file");
    settle();
    const ::pid_t process = document()->decoderProcess().value();
    click("done");
    EXPECT_FALSE(document()->decoderProcess().has_value());
    EXPECT_TRUE(isActive()) << "it still slides down";
    EXPECT_TRUE(eventually([&] { return ::kill(process, 0) != 0; }));
    EXPECT_TRUE(eventually([&] { return !isActive(); }));
}

TEST_F(Sheets, offerOptionsAndDoThem)
{
    preview.directory.writeFile("file", "x");
    present("presentOptionsMenu", "/file");
    settleMenu();
    tap("action0");
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "/file");
    EXPECT_FALSE(shown->screen->lastPath().has_value());
    EXPECT_FALSE(isActive());
    present("presentOptionsMenu", "/file");
    settleMenu();
    tap("action1");
    preview.documents.finishHandingOn();
    EXPECT_THAT(preview.shown, ElementsAre(preview.directory.path() + "/file"));
    present("presentOptionsMenu", "/file");
    settleMenu();
    tap("action2");
    preview.documents.finishHandingOn();
    EXPECT_THAT(preview.opened, SizeIs(1));
}

TEST_F(Sheets, areNotAnsweredByTheKeyThatHasLedToThem)
{
    preview.directory.writeFile("file", "some text");
    present("presentOptionsMenu", "/file");
    settleMenu();
    QTest::keyRelease(&window, Qt::Key_Space);
    EXPECT_TRUE(isActive());
    QTest::keyClick(&window, Qt::Key_Space);
    EXPECT_FALSE(isActive()) << "pressed anew it is one";

    present("presentPreview", "/file");
    settle();
    find("done")->forceActiveFocus();
    QTest::keyRelease(&window, Qt::Key_Space);
    QKeyEvent again(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, {}, true);
    QCoreApplication::sendEvent(&window, &again);
    EXPECT_TRUE(shown->screen->lastPath().has_value());
    QTest::keyClick(&window, Qt::Key_Space);
    EXPECT_FALSE(shown->screen->lastPath().has_value());
}

TEST_F(Sheets, openNoMenuOverAPreviewThatCloses)
{
    preview.directory.writeFile("file", "some text");
    present("presentPreview", "/file");
    settle();
    click("done");
    click("actions");
    EXPECT_FALSE(find("menu")->property("opened").toBool());
    EXPECT_TRUE(eventually([&] { return !isActive(); }));
}

TEST_F(Sheets, offerOnlyThePathWhereThereIsNoDesktop)
{
    preview.opener.reset();
    present("presentOptionsMenu", "/gone");
    settleMenu();
    EXPECT_NE(findIn(sheets, "action0"), nullptr);
    EXPECT_EQ(findIn(sheets, "action1"), nullptr);
    tap("cancel");
    EXPECT_FALSE(isActive());
}

TEST_F(Sheets, openAFileInAnApplicationOrNot)
{
    preview.directory.writeFile("file", "x");
    present("presentOpenInMenu", "/file");
    settleMenu();
    tap("cancel");
    EXPECT_FALSE(shown->screen->lastPath().has_value());
    EXPECT_THAT(preview.opened, IsEmpty());
    present("presentOpenInMenu", "/file");
    settleMenu();
    tap("action0");
    preview.documents.finishHandingOn();
    EXPECT_THAT(preview.opened, SizeIs(1));
    EXPECT_FALSE(shown->screen->lastPath().has_value());
}

TEST_F(Sheets, showTheMenuOverAPreviewWhichGoesOnAfterwards)
{
    preview.directory.writeFile("file", "x");
    present("presentPreview", "/file");
    settle();
    tap("actions");
    settleMenu();
    tap("action0");
    EXPECT_TRUE(isActive());
    EXPECT_TRUE(shown->screen->lastPath().has_value());
    EXPECT_TRUE(eventually([&] { return !find("menu")->isVisible(); }));
    tap("actions");
    settleMenu();
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_NE(document(), nullptr) << "only the menu has gone";
    EXPECT_TRUE(shown->screen->lastPath().has_value());
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(shown->screen->lastPath().has_value());
}

TEST_F(Sheets, showBytesWhereThereIsOnlyASentence)
{
    preview.directory.writeFile("file", "\x89PNG\r\n\x1a\n and no picture");
    present("presentPreview", "/file");
    settle();
    EXPECT_EQ(document()->view(), Document::View::Notice);
    tap("showBytes");
    EXPECT_EQ(document()->view(), Document::View::Bytes);
}

TEST_F(Sheets, surviveTheEndOfTheScreenThatAsked)
{
    preview.directory.writeFile("file", "x");
    present("presentPreview", "/file");
    settle();
    shown.reset();
    tap("done");
    EXPECT_TRUE(eventually([&] { return !isActive(); }));
}

TEST_F(Sheets, ofALongTextMakeOnlyTheRowsThatCanBeSeen)
{
    preview.directory.writeFile("file", longText());
    present("presentPreview", "/file");
    settle();
    auto *rows = find("content")
                     ->property("item")
                     .value<QQuickItem *>()
                     ->property("contentItem")
                     .value<QQuickItem *>();
    EXPECT_TRUE(eventually([&] { return document()->pieces()->keptRows() > 0; }));
    EXPECT_GT(document()->pieces()->rowCount(), 1000);
    EXPECT_LT(rows->childItems().size(), 30);
}

TEST_F(Sheets, scrollATextByTheKeyboardAtOnce)
{
    preview.directory.writeFile("file", longText());
    present("presentPreview", "/file");
    settle();
    auto *view = find("content")->property("item").value<QQuickItem *>();
    const auto place = [&] { return view->property("contentY").toDouble(); };
    const double beginning = place();
    QTest::keyClick(&window, Qt::Key_Down);
    const double oneStep = place();
    EXPECT_GT(oneStep, beginning);
    EXPECT_LT(oneStep, beginning + view->height() / 4) << "a row is higher than the window";
    QTest::keyClick(&window, Qt::Key_PageDown);
    EXPECT_GT(place(), oneStep + view->height() / 2);
    EXPECT_LT(place(), oneStep + view->height());
    QTest::keyClick(&window, Qt::Key_Home);
    EXPECT_EQ(place(), beginning);
    QTest::keyClick(&window, Qt::Key_Up);
    EXPECT_EQ(place(), beginning);
    QTest::keyClick(&window, Qt::Key_End);
    EXPECT_GT(place(), 100 * view->height());
}

TEST_F(Sheets, showTheDetailsByTheKeyboard)
{
    preview.directory.writeFile("file", "some text");
    present("presentPreview", "/file");
    settle();
    QQuickItem *toggle = find("details");
    for (int i = 0; i < 5 && !toggle->hasActiveFocus(); ++i) {
        QTest::keyClick(&window, Qt::Key_Tab);
    }
    ASSERT_TRUE(toggle->hasActiveFocus());
    QTest::keyClick(&window, Qt::Key_Return);
    EXPECT_TRUE(find("facts")->property("open").toBool());
    QTest::keyClick(&window, Qt::Key_Space);
    EXPECT_FALSE(find("facts")->property("open").toBool());
}

TEST_F(Sheets, stayOverTheWholeWindowWhenItIsTurned)
{
    preview.directory.writeFile("file", "some text");
    present("presentPreview", "/file");
    settle();
    for (const QSize size : {QSize(844, 390), QSize(390, 844), QSize(320, 480)}) {
        resize(size);
        QCoreApplication::processEvents();
        const QQuickItem *page = find("pageLoader");
        EXPECT_EQ(page->mapRectToScene({0, 0, page->width(), page->height()}), QRectF(QPointF(), size));
    }
}

TEST_F(Sheets, keepTheFirstByteWhereItIsWhenTheWindowIsResized)
{
    preview.directory.writeFile("file", std::string("\0\1", 2) + std::string(200'000, 'x'));
    present("presentPreview", "/file");
    settle();
    ASSERT_EQ(document()->view(), Document::View::Bytes);
    auto *view = find("content")->property("item").value<QQuickItem *>();
    const auto firstByte = [&] {
        const double top = view->property("contentY").toDouble();
        int row = -1;
        QQuickItem *item = nullptr;
        EXPECT_TRUE(QMetaObject::invokeMethod(view, "indexAt", Q_RETURN_ARG(int, row), Q_ARG(double, 1.0),
                                              Q_ARG(double, top + 2)));
        EXPECT_TRUE(QMetaObject::invokeMethod(view, "itemAtIndex", Q_RETURN_ARG(QQuickItem *, item),
                                              Q_ARG(int, row)));
        const int line = item == nullptr ? -1 : static_cast<int>((top + 2 - item->y()) * 16 / item->height());
        return (row * 16 + line) * document()->bytesOfLine();
    };
    QTest::keyClick(&window, Qt::Key_PageDown);
    for (int i = 0; i < 20; ++i) {
        QTest::keyClick(&window, Qt::Key_PageDown);
    }
    const int before = firstByte();
    const int bytesBefore = document()->bytesOfLine();
    ASSERT_GT(before, 3000);
    for (const QSize size : {QSize(1180, 820), QSize(820, 1180), QSize(320, 480), QSize(390, 844)}) {
        resize(size);
        settle();
        EXPECT_NEAR(firstByte(), before, 32) << size.width();
    }
    EXPECT_EQ(document()->bytesOfLine(), bytesBefore);
    resize({1600, 1000});
    settle();
    EXPECT_NE(document()->bytesOfLine(), bytesBefore);
}

TEST_F(Sheets, areMirroredForWhoeverReadsFromTheRight)
{
    preview.directory.writeFile("file", "some text");
    present("presentPreview", "/file");
    settle();
    QQuickItem *facts = find("facts");
    facts->setProperty("open", true);
    EXPECT_TRUE(
        eventually([&] { return facts->height() == facts->implicitHeight() && facts->height() > 100; }));
    settle();
    const auto middle = [&](const char *name) {
        const QQuickItem *item = find(name);
        return item->mapToScene({item->width() / 2, 0}).x();
    };
    const double half = window.width() / 2.0;
    EXPECT_LT(middle("done"), half);
    EXPECT_GT(middle("actions"), half);
    EXPECT_LT(middle("summary"), half);
    EXPECT_GT(middle("more"), half);
    sheets->setProperty("mirrored", true);
    settle();
    EXPECT_GT(middle("done"), half);
    EXPECT_LT(middle("actions"), half);
    EXPECT_GT(middle("summary"), half);
    EXPECT_LT(middle("more"), half);
    EXPECT_NEAR(middle("title"), half, 1);
    savePicture("mirrored");
}

class Pages : public Sheets, public testing::WithParamInterface<QSize> {
protected:
    void look(const std::string &name, const std::string &content)
    {
        preview.directory.writeFile(name, content);
        for (const bool dark : {false, true}) {
            setDark(dark);
            present("presentPreview", "/" + name);
            settle();
            if (QQuickItem *picture = findOrNull("picture")) {
                EXPECT_TRUE(eventually([&] { return picture->property("ready").toBool(); })) << name;
            }
            if (QQuickItem *first = findOrNull("page0")) {
                EXPECT_TRUE(eventually([&] { return first->property("ready").toBool(); })) << name;
            }
            settle();
            for (const char *part : {"done", "actions", "title", "facts", "content"}) {
                const QQuickItem *item = find(part);
                const QRectF place = item->mapRectToScene({0, 0, item->width(), item->height()});
                EXPECT_TRUE(QRectF(QPointF(), window.size()).adjusted(-1, -1, 1, 1).contains(place))
                    << part << " of " << name;
                EXPECT_GT(place.height(), 10) << part << " of " << name;
            }
            savePicture(pictureName(name, dark));
            tap("done");
            EXPECT_TRUE(eventually([&] { return !isActive(); }));
        }
    }
    [[nodiscard]] std::string pictureName(const std::string &name, bool dark) const
    {
        return name + "-" + std::to_string(window.width()) + "x" + std::to_string(window.height()) +
               (dark ? "-dark" : "-light");
    }
};

std::string logText()
{
    std::string text;
    for (int line = 0; line < 400; ++line) {
        text += "2026-11-21 09:30:" + std::to_string(10 + line % 50) +
                ".123 backupd[4711]: copied /private/var/mobile/Media/DCIM/100APPLE/IMG_" +
                std::to_string(1000 + line) + ".JPG, 2.1 MB in 0.03 s\n";
    }
    return text;
}

TEST_P(Pages, ofAllKindsHaveTheirParts)
{
    resize(GetParam());
    look("system.log", logText());
    look("data.sqlite", std::string("SQLite format 3\0\x10\0\1\1\0", 21) + logText());
    look("photo.png", encoded(landscape(), "PNG"));
    look("broken.jpg", "\xff\xd8\xff and no picture");
#if defined(SLICEWISE_HAS_PDF)
    look("paper.pdf", paper());
#endif
}

TEST_P(Pages, showAllThatIsKnownAndTheMenuInside)
{
    resize(GetParam());
    preview.directory.writeFile("a long name of a file that somebody gave it.log", logText());
    for (const bool dark : {false, true}) {
        setDark(dark);
        present("presentPreview", "/a long name of a file that somebody gave it.log");
        settle();
        find("facts")->setProperty("open", true);
        EXPECT_TRUE(eventually([&] {
            const QQuickItem *facts = find("facts");
            return facts->height() == facts->implicitHeight() && facts->height() > 100;
        }));
        settle();
        EXPECT_GT(find("content")->height(), 60);
        savePicture(pictureName("facts", dark));
        tap("actions");
        settleMenu();
        for (const char *part : {"action0", "action2", "cancel"}) {
            const QQuickItem *item = find(part);
            const QRectF place = item->mapRectToScene({0, 0, item->width(), item->height()});
            EXPECT_TRUE(QRectF(QPointF(), window.size()).contains(place)) << part;
            EXPECT_GE(place.height(), 44);
        }
        settle();
        savePicture(pictureName("menu", dark));
        QTest::keyClick(&window, Qt::Key_Escape);
        QTest::keyClick(&window, Qt::Key_Escape);
        EXPECT_TRUE(eventually([&] { return !isActive(); }));
    }
}

INSTANTIATE_TEST_SUITE_P(, Pages,
                         testing::Values(QSize(390, 844), QSize(844, 390), QSize(320, 480), QSize(820, 1180),
                                         QSize(1180, 820), QSize(1600, 1000)),
                         [](const testing::TestParamInfo<QSize> &size) {
                             return std::to_string(size.param.width()) + "x" +
                                    std::to_string(size.param.height());
                         });

} // namespace

} // namespace slicewise
