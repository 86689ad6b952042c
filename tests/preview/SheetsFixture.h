// A window with the sheets over a screen whose first row can be picked.
//
// Where the environment variable SLICEWISE_PICTURES names a folder, the pages that are looked at are put
// there.
#pragma once

#include "tests/preview/PreviewFixture.h"
#include "tests/support/MemoryDevice.h"
#include "tests/ui/BrowserParts.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QPdfWriter>
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

/// Where a picture of a page is to be put; empty: nowhere.
inline std::string picturesFolder()
{
    return qEnvironmentVariable("SLICEWISE_PICTURES").toStdString();
}

/// A picture that looks like one.
inline QImage landscape()
{
    QImage image(1200, 800, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, 500);
    sky.setColorAt(0, "#2b6cb0");
    sky.setColorAt(1, "#fbd38d");
    painter.fillRect(image.rect(), sky);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor("#fffaf0"));
    painter.drawEllipse(QPoint(860, 330), 70, 70);
    painter.setBrush(QColor("#2f855a"));
    painter.drawPolygon(
        QPolygon({{0, 800}, {0, 560}, {350, 380}, {700, 600}, {950, 470}, {1200, 620}, {1200, 800}}));
    return image;
}

/// Pages with some words on them.
inline std::string paper()
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setPageSize(QPageSize(QPageSize::A4));
        QPainter painter(&writer);
        for (int page = 0; page < 3; ++page) {
            if (page > 0) {
                writer.newPage();
            }
            QFont font = painter.font();
            font.setPointSize(24);
            painter.setFont(font);
            painter.drawText(QRect(0, 0, writer.width(), writer.height() / 8), 0,
                             QString("Chapter %1").arg(page + 1));
            font.setPointSize(11);
            painter.setFont(font);
            painter.drawText(
                QRect(0, writer.height() / 8, writer.width(), writer.height()), Qt::TextWordWrap,
                QString("Where the storage went is a question that every owner asks. ").repeated(20));
        }
    }
    return bytes.toStdString();
}

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
    /// As a tap does, but no time passes.
    void click(const char *button) { EXPECT_TRUE(QMetaObject::invokeMethod(find(button), "clicked")); }
    /// The menu has come to where it stays.
    void settleMenu()
    {
        const QQuickItem *card = find("card");
        EXPECT_TRUE(eventually([&] {
            const double bottom = card->y() + card->height();
            return card->opacity() == 1 && card->scale() == 1 &&
                   (window.width() >= 560 || std::abs(bottom - (window.height() - 8)) < 1);
        }));
    }
    [[nodiscard]] QQuickItem *findOrNull(const char *name) const { return findIn(sheets, name); }
    void setDark(bool dark)
    {
        QQmlComponent component(&engine);
        component.setData("import QtQml\nimport Slicewise.Ui\nQtObject { property var theme: Theme }",
                          QUrl());
        const std::unique_ptr<QObject> holder(component.create());
        holder->property("theme").value<QObject *>()->setProperty("dark", dark);
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
    // Of the whole process: Qt frees none.
    static QPointingDevice *onlyFinger()
    {
        static QPointingDevice *const device = QTest::createTouchDevice();
        return device;
    }
    QPointingDevice *finger = onlyFinger();
};

} // namespace slicewise
