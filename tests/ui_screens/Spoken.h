// What those hear who cannot see a screen, and how they press.
#pragma once

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QQuickItem>
#include <gtest/gtest.h>

#include <string>

namespace slicewise {

inline std::string spokenName(QQuickItem &item)
{
    QAccessibleInterface *const spoken = QAccessible::queryAccessibleInterface(&item);
    return spoken != nullptr ? spoken->text(QAccessible::Name).toStdString() : "(silent)";
}

inline QAccessible::Role spokenRole(QQuickItem &item)
{
    QAccessibleInterface *const spoken = QAccessible::queryAccessibleInterface(&item);
    return spoken != nullptr ? spoken->role() : QAccessible::NoRole;
}

inline void pressAloud(QQuickItem &item)
{
    QAccessibleInterface *const spoken = QAccessible::queryAccessibleInterface(&item);
    ASSERT_NE(spoken, nullptr);
    ASSERT_NE(spoken->actionInterface(), nullptr);
    spoken->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
}

} // namespace slicewise
