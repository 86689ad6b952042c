// What those who read the screen find.
#include "chart/SliceItem.h"
#include "tests/chart/ChartParts.h"

#include <QAccessible>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <gtest/gtest.h>

void qml_register_types_Slicewise_Chart(); // NOLINT(readability-identifier-naming): Qt's name for what it
                                           // generates

namespace slicewise {

namespace {

class AccessibleTest : public ::testing::Test {
protected:
    AccessibleTest()
    {
        window.resize(300, 200);
        parts.chart.setParentItem(window.contentItem());
        parts.source.texts[0] = QStringLiteral("Songs");
        parts.show({1, 3});
    }

    [[nodiscard]] QAccessibleInterface &chart()
    {
        return *QAccessible::queryAccessibleInterface(&parts.chart);
    }
    [[nodiscard]] QAccessibleInterface &slice(int index) { return *chart().child(index); }

    QQuickWindow window;
    ChartParts parts{{}, {50, 40, 200, 100}};
};

TEST_F(AccessibleTest, theChartIsAListOfItsSlices)
{
    parts.chart.setAccessibleName(QStringLiteral("Storage"));
    EXPECT_EQ(chart().role(), QAccessible::List);
    EXPECT_EQ(chart().text(QAccessible::Name), QStringLiteral("Storage"));
    EXPECT_EQ(chart().childCount(), 2);
    EXPECT_EQ(chart().indexOfChild(&slice(1)), 1);
    EXPECT_EQ(chart().child(2), nullptr);
    EXPECT_EQ(chart().child(-1), nullptr);
    EXPECT_EQ(chart().indexOfChild(&chart()), -1);
    EXPECT_EQ(slice(0).parent(), &chart());
    EXPECT_EQ(slice(0).role(), QAccessible::ListItem);
    EXPECT_EQ(slice(0).childCount(), 0);
    EXPECT_TRUE(slice(0).isValid());
}

TEST_F(AccessibleTest, isFoundFromTheWindow)
{
    qml_register_types_Slicewise_Chart();
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(
        "import QtQuick\nimport Slicewise.Chart\nItem { QVPieChart { width: 200; height: 100 } }", QUrl());
    const std::unique_ptr<QQuickItem> item(qobject_cast<QQuickItem *>(component.create()));
    ASSERT_NE(item, nullptr) << component.errorString().toStdString();
    item->setParentItem(window.contentItem());
    QAccessibleInterface *const top = QAccessible::queryAccessibleInterface(&window);
    ASSERT_NE(top, nullptr);
    ASSERT_EQ(top->childCount(), 1);
    EXPECT_EQ(top->child(0)->object(), item->childItems().first());
    EXPECT_EQ(top->child(0)->role(), QAccessible::List);
    EXPECT_EQ(top->child(0)->parent(), top);
}

TEST_F(AccessibleTest, aChartMadeInCodeIsFoundFromTheWindowToo)
{
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nItem {}", QUrl());
    ASSERT_TRUE(component.isReady()) << "Qt Quick's types are known";
    parts.chart.setParentItem(nullptr);
    parts.chart.setParentItem(window.contentItem());
    const QVPieChart bornThere(QRectF(0, 0, 40, 40), window.contentItem());
    QAccessibleInterface *const top = QAccessible::queryAccessibleInterface(&window);
    ASSERT_NE(top, nullptr);
    ASSERT_EQ(top->childCount(), 2);
    EXPECT_EQ(top->child(0), &chart());
    EXPECT_EQ(top->child(1)->object(), &bornThere);
    EXPECT_EQ(chart().parent(), top);
}

TEST_F(AccessibleTest, aSliceHasItsTextOrValueAsNameAndItsShareAsValue)
{
    EXPECT_EQ(slice(0).text(QAccessible::Name), QStringLiteral("Songs"));
    EXPECT_EQ(slice(0).text(QAccessible::Value), QStringLiteral("25 %"));
    EXPECT_EQ(slice(1).text(QAccessible::Name), QStringLiteral("3"));
    EXPECT_EQ(slice(1).text(QAccessible::Value), QStringLiteral("75 %"));
    EXPECT_EQ(slice(1).text(QAccessible::Help), QString());
}

TEST_F(AccessibleTest, aSliceLiesWhereItIsSeen)
{
    const QRectF outline = parts.layer(0).path().boundingRect();
    const QPointF inWindow = outline.topLeft() + parts.chart.pieView().frame.topLeft() + QPointF(50, 40);
    EXPECT_EQ(slice(0).rect(), QRect(window.mapToGlobal(inWindow.toPoint()), outline.size().toSize()));
    EXPECT_EQ(chart().rect(), QRect(window.mapToGlobal(QPoint(50, 40)), QSize(200, 100)));
}

TEST_F(AccessibleTest, followsTheValues)
{
    EXPECT_EQ(chart().childCount(), 2);
    parts.show({2, 2, 4});
    EXPECT_EQ(chart().childCount(), 3);
    EXPECT_EQ(slice(2).text(QAccessible::Value), QStringLiteral("50 %"));
    parts.show({5});
    EXPECT_EQ(chart().childCount(), 1);
    EXPECT_EQ(slice(0).text(QAccessible::Value), QStringLiteral("100 %"));
}

TEST_F(AccessibleTest, slicesThatHaveClosedCannotBeSeenOrPressed)
{
    EXPECT_FALSE(slice(0).state().invisible);
    EXPECT_FALSE(slice(0).state().disabled);
    parts.show({});
    EXPECT_TRUE(slice(0).state().invisible);
    EXPECT_TRUE(slice(0).state().disabled);
    parts.show({0, 1});
    EXPECT_TRUE(slice(0).state().invisible);
    EXPECT_FALSE(slice(1).state().invisible);
    EXPECT_FALSE(slice(1).state().disabled);
}

TEST_F(AccessibleTest, aPressIsATap)
{
    QAccessibleActionInterface *const actions = slice(1).actionInterface();
    ASSERT_NE(actions, nullptr);
    EXPECT_TRUE(actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
    EXPECT_FALSE(slice(1).state().selected);
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(parts.layer(1).isSelected());
    EXPECT_TRUE(slice(1).state().selected);
    EXPECT_EQ(parts.delegate.calls.size(), 2U);
    parts.chart.setEnabled(false);
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(parts.layer(1).isSelected());
    EXPECT_TRUE(slice(1).state().disabled);
}

TEST_F(AccessibleTest, theFocusIsSeen)
{
    window.show();
    window.requestActivate();
    QCoreApplication::processEvents();
    EXPECT_EQ(chart().focusChild(), nullptr);
    slice(1).actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
    EXPECT_EQ(parts.chart.focusedSliceIndex(), 1);
    EXPECT_EQ(chart().focusChild(), &slice(1));
    EXPECT_TRUE(slice(1).state().focused);
    EXPECT_FALSE(slice(0).state().focused);
}

TEST_F(AccessibleTest, aDataSourceMayMoveTheFocusToASliceThatHasJustCome)
{
    class Focusing final : public ListSource {
    public:
        using ListSource::ListSource;
        OptionalAnswer<UIColor> pieChartColorForSliceAtIndex(QVPieChart &chart, unsigned index) override
        {
            chart.setFocusedSliceIndex(static_cast<int>(index));
            return std::nullopt;
        }
    } source({1, 3, 5});
    window.show();
    window.requestActivate();
    QCoreApplication::processEvents();
    parts.chart.forceActiveFocus();
    EXPECT_EQ(chart().childCount(), 2);
    parts.chart.setDataSource(&source);
    parts.chart.reloadData();
    EXPECT_EQ(parts.chart.focusedSliceIndex(), 2);
    EXPECT_EQ(chart().childCount(), 3);
    EXPECT_TRUE(slice(2).state().focused);
}

TEST_F(AccessibleTest, itemsAreMadeForThoseWhoAskAndPaintNothing)
{
    EXPECT_TRUE(parts.chart.childItems().isEmpty());
    EXPECT_EQ(chart().childCount(), 2);
    EXPECT_EQ(parts.chart.childItems().size(), 2);
    for (const QQuickItem *item : parts.chart.childItems()) {
        EXPECT_FALSE(item->flags().testFlag(QQuickItem::ItemHasContents));
        EXPECT_EQ(item->acceptedMouseButtons(), Qt::NoButton);
    }
}

} // namespace

} // namespace slicewise
