// A window with the browser in it, and fingers that touch it.
//
// Everything in it is real but what a test wants to step: the QML as it is shipped, the event loop's timers,
// touches as a screen sends them. Waiting is for a condition, and ends after half a minute without it.
#pragma once

#include "tests/ui/BrowserParts.h"

#include <QPointF>
#include <QPointer>
#include <QPointingDevice>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSize>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace slicewise {

/// False: it has not come true.
[[nodiscard]] bool comesTrue(const std::function<bool()> &condition);

class ScreenWindow {
public:
    struct Look {
        QSize size = {390, 844};
        bool pad = false;
        bool dark = false;
        bool mirrored = false;
    };
    /// Shows the stack, which is borrowed.
    ScreenWindow(SZANavigationController &stack, const Look &look);
    ScreenWindow(const ScreenWindow &) = delete;
    ScreenWindow &operator=(const ScreenWindow &) = delete;
    ~ScreenWindow();

    [[nodiscard]] QQuickView &view() { return m_view; }
    [[nodiscard]] QQuickItem &browser() const { return *m_view.rootObject(); }
    /// What the engine has complained about so far.
    [[nodiscard]] const QStringList &warnings() const { return m_warnings; }

    [[nodiscard]] QQuickItem &screens() const;
    [[nodiscard]] bool isMoving() const { return screens().property("moving").toBool(); }
    /// Nothing moves any more: no page, no list, no slice.
    [[nodiscard]] bool comesToRest();
    /// Of the page on top; null where there is none.
    [[nodiscard]] QQuickItem *topPage() const;
    [[nodiscard]] SZAViewController *topScreen() const;
    [[nodiscard]] QVPieChart &chart() const;
    [[nodiscard]] QQuickItem &list() const;
    [[nodiscard]] QQuickItem &barItem() const;
    /// Below the bar's item, by its objectName.
    [[nodiscard]] QQuickItem &inBar(const QString &name) const;
    /// All pages there are, the bottom one first.
    [[nodiscard]] std::vector<QQuickItem *> pages() const;
    /// The rows that exist and can be seen, by their number.
    [[nodiscard]] std::vector<QQuickItem *> rows() const;
    [[nodiscard]] QQuickItem *row(int index) const;
    /// All items of that QML type below one, itself included, seen or not.
    [[nodiscard]] static std::vector<QQuickItem *> itemsOfType(QQuickItem &above, const QString &type);
    /// The first that can be seen, below an item or itself, by its objectName; null where there is none.
    [[nodiscard]] static QQuickItem *itemNamed(QQuickItem &above, const QString &name);
    /// Of the list, as far as to have that row in sight.
    void scrollTo(int row);
    /// All texts that can be seen below an item.
    [[nodiscard]] static QStringList textsIn(QQuickItem &above);

    [[nodiscard]] static QPointF middleOf(const QQuickItem &item);
    /// In the middle of a slice at rest.
    [[nodiscard]] QPointF middleOfSlice(std::size_t index) const;

    void press(const QPointF &point);
    void move(const QPointF &point);
    void release(const QPointF &point);
    /// The system takes the finger away.
    void cancel();
    void tap(const QPointF &point);
    void tap(const QQuickItem &item) { tap(middleOf(item)); }
    /// In steps, with time for a frame between them; not released.
    void drag(const QPointF &from, const QPointF &to);
    void key(Qt::Key key);
    /// As a keyboard repeats a key that has been pressed elsewhere.
    void repeat(Qt::Key key);
    /// Pressed, repeated, released.
    void hold(Qt::Key key);

private:
    QPointer<QPointingDevice> m_finger;
    QStringList m_warnings;
    QQuickView m_view;
};

} // namespace slicewise
