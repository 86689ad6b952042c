// Previews and menus as they are touched, in a window without a display.
#include "tests/preview/PreviewFixture.h"
#include "tests/support/MemoryDevice.h"
#include "tests/ui/BrowserParts.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointingDevice>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QQuickWindow>
#include <QtTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

extern void qml_register_types_Slicewise_Ui();
extern void qml_register_types_Slicewise_Preview();

namespace slicewise {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Where a picture of a page is to be put; empty: nowhere.
std::string picturesFolder()
{
    return qEnvironmentVariable("SLICEWISE_PICTURES").toStdString();
}

/// A window with the sheets over a screen whose first row has been picked.
class Sheets : public testing::Test {
protected:
    Sheets()
    {
        qml_register_types_Slicewise_Ui();
        qml_register_types_Slicewise_Preview();
        system.presenter.can = {DocumentPresentation::Preview};
        tree.add("Others/folder/file", 10, "/file");
        shown = std::make_unique<Shown>(tree, std::vector<std::string>{"Others", "folder"}, system);
        shown->screen->loadViewIfNeeded();
        QQmlComponent component(&engine);
        component.setData("import QtQuick\nimport Slicewise.Preview\nimport Slicewise.Ui\n"
                          "DocumentSheets { }",
                          QUrl());
        if (!component.isReady()) {
            throw std::runtime_error(component.errorString().toStdString());
        }
        made.reset(
            component.createWithInitialProperties({{"documents", QVariant::fromValue(&preview.documents)}}));
        EXPECT_NE(made, nullptr) << component.errorString().toStdString();
        sheets = qobject_cast<QQuickItem *>(made.get());
        resize({390, 844});
        sheets->setParentItem(window.contentItem());
        window.show();
        window.requestActivate();
        static_cast<void>(QTest::qWaitForWindowActive(&window));
    }
    ~Sheets() override
    {
        made.reset();
        QCoreApplication::processEvents();
    }

    void resize(QSize size)
    {
        window.resize(size);
        sheets->setSize(size);
    }
    /// Picks the row, as a finger on it does, and asks for what the screen then asks for.
    void present(const char *what, const std::string &path)
    {
        picked();
        ASSERT_TRUE(QMetaObject::invokeMethod(
            sheets, what, Q_ARG(slicewise::SZAViewController *, shown->screen),
            Q_ARG(QVariant, QVariant(QByteArray::fromStdString(path))), Q_ARG(QString, "the file")));
    }
    void picked()
    {
        shown->screen->tableView()->tapRow(0);
        ASSERT_TRUE(shown->screen->lastPath().has_value());
    }
    void settle()
    {
        QQuickItem *loader = find("pageLoader");
        EXPECT_TRUE(eventually([&] {
            const auto *document = this->document();
            return loader->y() == 0 && document != nullptr && document->view() != Document::View::Opening;
        }));
        // What is behind a page that has just been made comes with the next frames.
        for (int i = 0; i < 5; ++i) {
            static_cast<void>(window.grabWindow());
            QCoreApplication::processEvents();
        }
    }
    [[nodiscard]] Document *document() const { return sheets->property("document").value<Document *>(); }
    [[nodiscard]] bool isActive() const { return sheets->property("active").toBool(); }

    [[nodiscard]] QQuickItem *find(const char *name) const
    {
        auto *item = findIn(sheets, name);
        EXPECT_NE(item, nullptr) << name;
        return item;
    }
    static QQuickItem *findIn(QQuickItem *item, const char *name)
    {
        if (item->objectName() == QLatin1String(name)) {
            return item;
        }
        for (QQuickItem *child : item->childItems()) {
            if (QQuickItem *found = findIn(child, name)) {
                return found;
            }
        }
        return nullptr;
    }
    void tap(const char *name)
    {
        QQuickItem *item = find(name);
        ASSERT_NE(item, nullptr);
        const QPoint middle = item->mapToScene({item->width() / 2, item->height() / 2}).toPoint();
        EXPECT_TRUE(QRect(QPoint(), window.size()).contains(middle)) << name;
        QTest::touchEvent(&window, finger).press(0, middle, &window);
        QTest::touchEvent(&window, finger).release(0, middle, &window);
        QCoreApplication::processEvents();
    }
    /// The menu has come to where it stays.
    void settleMenu()
    {
        EXPECT_TRUE(eventually([&] {
            QQuickItem *cancel = find("cancel");
            const double bottom = cancel->mapToScene({0, cancel->height()}).y();
            return std::abs(bottom - (window.height() - 8)) < 1 || window.width() >= 560;
        }));
    }
    void savePicture(const std::string &name)
    {
        if (!picturesFolder().empty()) {
            EXPECT_TRUE(
                window.grabWindow().save(QString::fromStdString(picturesFolder() + "/" + name + ".png")));
        }
    }

    Preview preview;
    System system;
    HandMadeTree tree{{}};
    std::unique_ptr<Shown> shown;
    QQmlEngine engine;
    QQuickWindow window;
    std::unique_ptr<QObject> made;
    QQuickItem *sheets = nullptr;
    QPointingDevice *finger = QTest::createTouchDevice();
};

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
    tap("done");
    EXPECT_NE(::kill(process, 0), 0);
    EXPECT_TRUE(isActive()) << "it still slides down";
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

} // namespace

} // namespace slicewise
