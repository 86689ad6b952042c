// What a finger does to delete, in a window with the browser in it.
#pragma once

#include "tests/ui_screens/ScreenWindow.h"

#include <stdexcept>
#include <string>

namespace slicewise {

class DeletingFingers {
public:
    explicit DeletingFingers(ScreenWindow &window) : m_window(window) {}

    /// Of a row that is in sight.
    [[nodiscard]] QQuickItem *minus(int row) const { return inRow(row, "minus"); }
    [[nodiscard]] QQuickItem *deleteButton(int row) const { return inRow(row, "deleteButton"); }
    [[nodiscard]] QQuickItem &question() const { return below("question"); }
    [[nodiscard]] QQuickItem &alert() const { return below("alert"); }
    [[nodiscard]] QQuickItem &overlay() const { return below("deletionHUD"); }
    [[nodiscard]] bool isAsked() const { return question().property("shown").toBool(); }
    [[nodiscard]] bool isAlerted() const { return alert().property("shown").toBool(); }

    void tapBarButton() { m_window.tap(m_window.inBar("rightButton")); }
    [[nodiscard]] bool edits()
    {
        tapBarButton();
        return m_window.topScreen()->tableView()->isEditing() && comesTrue([this] {
                   return !m_window.rows().empty() &&
                          std::ranges::all_of(m_window.rows(), [](const QQuickItem *row) {
                              const double progress = row->property("editProgress").toDouble();
                              return progress == (row->property("editable").toBool() ? 1 : 0);
                          });
               });
    }
    /// The "Delete" has come in.
    [[nodiscard]] bool opens(int row)
    {
        m_window.scrollTo(row);
        if (!comesTrue([&] { return minus(row) != nullptr; })) {
            return false;
        }
        m_window.tap(*minus(row));
        return isOpen(row);
    }
    [[nodiscard]] bool isOpen(int row)
    {
        return comesTrue([&] {
            return m_window.row(row) != nullptr &&
                   m_window.row(row)->property("openProgress").toDouble() == 1;
        });
    }
    /// No row's "Delete" can be seen any more.
    [[nodiscard]] bool isClosed()
    {
        return m_window.topScreen()->tableView()->openRow() == -1 && comesTrue([this] {
                   return std::ranges::all_of(m_window.rows(), [](const QQuickItem *row) {
                       return row->property("openProgress").toDouble() == 0;
                   });
               });
    }
    [[nodiscard]] bool deletes(int row)
    {
        SZAViewController &screen = *m_window.topScreen();
        if (!opens(row)) {
            return false;
        }
        m_window.tap(*deleteButton(row));
        return isOver(screen);
    }
    [[nodiscard]] static bool isOver(const SZAViewController &screen)
    {
        return comesTrue([&] { return !screen.isDeleting(); });
    }
    /// The sheet has come up.
    [[nodiscard]] bool asks()
    {
        return comesTrue([this] { return isAsked() && question().isVisible() && isInPlace(); });
    }
    /// The alert is there.
    [[nodiscard]] bool alerts()
    {
        return comesTrue([this] {
            return isAlerted() && alert().isVisible() &&
                   ScreenWindow::itemNamed(alert(), QStringLiteral("plate"))->scale() == 1;
        });
    }
    /// The sheet has come up; then that answer is given.
    [[nodiscard]] bool answers(const char *button)
    {
        if (!asks()) {
            return false;
        }
        QQuickItem *const found = ScreenWindow::itemNamed(question(), QString::fromUtf8(button));
        if (found == nullptr) {
            return false;
        }
        SZAViewController &screen = *m_window.topScreen();
        m_window.tap(*found);
        return isOver(screen) && comesTrue([this] { return !question().isVisible(); });
    }
    [[nodiscard]] bool closesTheAlert()
    {
        if (!alerts()) {
            return false;
        }
        m_window.tap(*ScreenWindow::itemNamed(alert(), QStringLiteral("close")));
        return comesTrue([this] { return !alert().isVisible(); });
    }

private:
    [[nodiscard]] QQuickItem *inRow(int row, const char *name) const
    {
        QQuickItem *const found = m_window.row(row);
        return found != nullptr ? ScreenWindow::itemNamed(*found, QString::fromUtf8(name)) : nullptr;
    }
    [[nodiscard]] QQuickItem &below(const char *name) const
    {
        auto *const found = m_window.browser().findChild<QQuickItem *>(QString::fromUtf8(name));
        if (found == nullptr) {
            throw std::logic_error(std::string("no ") + name);
        }
        return *found;
    }
    [[nodiscard]] bool isInPlace() const
    {
        const QQuickItem *const card = ScreenWindow::itemNamed(question(), QStringLiteral("card"));
        const double bottom = card->mapToScene(QPointF(0, card->height())).y();
        return card->scale() == 1 && bottom <= m_window.browser().height();
    }

    ScreenWindow &m_window;
};

} // namespace slicewise
