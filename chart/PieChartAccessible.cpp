// How the chart and its slices answer those who read the screen.
#include "chart/QVPieChart.h"
#include "chart/SliceItem.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QAccessibleObject>
#include <QMetaType>
#include <QQuickWindow>
#include <QtQml>

#include <memory>

namespace slicewise {

namespace {

QRect onScreen(const QQuickItem &item)
{
    if (item.window() == nullptr) {
        return {};
    }
    const QRectF inScene = item.mapRectToScene(QRectF(QPointF(), item.size()));
    return {item.window()->mapToGlobal(inScene.topLeft().toPoint()), inScene.size().toSize()};
}

/// The nearest one above that takes part; the window in the end.
QAccessibleInterface *interfaceAbove(const QQuickItem &item)
{
    for (QQuickItem *above = item.parentItem(); above != nullptr; above = above->parentItem()) {
        if (QAccessibleInterface *const found = QAccessible::queryAccessibleInterface(above)) {
            return found;
        }
    }
    return QAccessible::queryAccessibleInterface(item.window());
}

class SliceAccessible final : public QAccessibleObject, public QAccessibleActionInterface {
public:
    explicit SliceAccessible(SliceItem &item) : QAccessibleObject(&item), m_item(item) {}

    [[nodiscard]] QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(&m_item.chart());
    }
    [[nodiscard]] QAccessibleInterface *child(int /*index*/) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface * /*child*/) const override { return -1; }
    [[nodiscard]] QRect rect() const override { return onScreen(m_item); }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        switch (kind) {
        case QAccessible::Name:
            return m_item.name();
        case QAccessible::Value:
        case QAccessible::Description:
            return m_item.value();
        default:
            return {};
        }
    }

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state;
        state.selectable = true;
        state.focusable = true;
        state.selected = m_item.isSelected();
        state.focused = m_item.isFocused();
        state.disabled = !m_item.isEnabled() || !m_item.chart().pieView().userInteractionEnabled;
        state.invisible = !m_item.isVisible() || m_item.isEmpty();
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this)
                                                    : nullptr;
    }

    [[nodiscard]] QStringList actionNames() const override { return {pressAction(), setFocusAction()}; }
    void doAction(const QString &name) override
    {
        QVPieChart &chart = m_item.chart();
        if (!chart.isEnabled()) {
            return;
        }
        if (name == pressAction()) {
            chart.tapSliceAtIndex(m_item.index());
        } else if (name == setFocusAction()) {
            chart.forceActiveFocus();
            chart.setFocusedSliceIndex(m_item.index());
        }
    }
    [[nodiscard]] QStringList keyBindingsForAction(const QString & /*name*/) const override { return {}; }

private:
    SliceItem &m_item;
};

class PieChartAccessible final : public QAccessibleObject {
public:
    explicit PieChartAccessible(QVPieChart &chart) : QAccessibleObject(&chart), m_chart(chart) {}

    [[nodiscard]] QAccessibleInterface *parent() const override { return interfaceAbove(m_chart); }
    [[nodiscard]] QAccessibleInterface *child(int index) const override
    {
        const auto &items = m_chart.sliceItems();
        const auto place = static_cast<std::size_t>(index);
        return place < items.size() ? QAccessible::queryAccessibleInterface(items[place].get()) : nullptr;
    }
    [[nodiscard]] int childCount() const override { return static_cast<int>(m_chart.sliceItems().size()); }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        const auto *const item =
            child != nullptr ? qobject_cast<const SliceItem *>(child->object()) : nullptr;
        return item != nullptr && &item->chart() == &m_chart ? item->index() : -1;
    }
    [[nodiscard]] QAccessibleInterface *focusChild() const override
    {
        return m_chart.hasActiveFocus() ? child(m_chart.focusedSliceIndex()) : nullptr;
    }
    [[nodiscard]] QRect rect() const override { return onScreen(m_chart); }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::List; }
    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? m_chart.accessibleName() : QString();
    }
    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state;
        state.focusable = true;
        state.focused = m_chart.hasActiveFocus();
        state.disabled = !m_chart.isEnabled();
        state.invisible = !m_chart.isVisible();
        return state;
    }

private:
    QVPieChart &m_chart;
};

// Qt takes over what is returned, and asks along the line of base classes with the name of each.
QAccessibleInterface *makeInterface(const QString & /*className*/, QObject *object)
{
    if (auto *const chart = qobject_cast<QVPieChart *>(object)) {
        return std::make_unique<PieChartAccessible>(*chart).release();
    }
    if (auto *const item = qobject_cast<SliceItem *>(object)) {
        return std::make_unique<SliceAccessible>(*item).release();
    }
    return nullptr;
}

} // namespace

void installChartAccessibility()
{
    QAccessible::installFactory(makeInterface);
}

const std::vector<std::unique_ptr<SliceItem>> &QVPieChart::sliceItems()
{
    if (!m_hasSliceItems) {
        m_hasSliceItems = true;
        sliceItemsChanged();
    }
    return m_sliceItems;
}

void QVPieChart::componentComplete()
{
    QQuickPaintedItem::componentComplete();
    becomeAccessible();
}

// A window's tree of what can be read leads to those items alone that have the attached type Accessible in
// QML. Here it is attached for all who would forget it. The type is Qt Quick's own, known once any QML file
// has imported its module.
void QVPieChart::becomeAccessible()
{
    const QMetaObject *const accessible = QMetaType::fromName("QQuickAccessibleAttached*").metaObject();
    if (accessible != nullptr) {
        qmlAttachedPropertiesObject(this, qmlAttachedPropertiesFunction(this, accessible));
    }
}

void QVPieChart::setAccessibleName(const QString &name)
{
    if (m_accessibleName != name) {
        m_accessibleName = name;
        Q_EMIT accessibleNameChanged();
    }
}

// Nobody pays for these items who has not asked for them.
void QVPieChart::sliceItemsChanged()
{
    if (!m_hasSliceItems) {
        return;
    }
    if (m_sliceItems.size() > m_sliceLayers.size()) {
        m_sliceItems.resize(m_sliceLayers.size());
    }
    for (const auto &item : m_sliceItems) {
        if (item->follow()) {
            QAccessibleEvent event(item.get(), QAccessible::NameChanged);
            QAccessible::updateAccessibility(&event);
        }
    }
    while (m_sliceItems.size() < m_sliceLayers.size()) {
        m_sliceItems.push_back(std::make_unique<SliceItem>(*this, static_cast<int>(m_sliceItems.size())));
        QAccessibleEvent event(m_sliceItems.back().get(), QAccessible::ObjectCreated);
        QAccessible::updateAccessibility(&event);
    }
}

void QVPieChart::announceFocus()
{
    if (!hasActiveFocus() || layerAt(m_focusedSliceIndex) == nullptr ||
        !(m_hasSliceItems || QAccessible::isActive())) {
        return;
    }
    const auto &items = sliceItems();
    const auto place = static_cast<std::size_t>(m_focusedSliceIndex);
    // A slice of a reload that is still running has none yet.
    if (place < items.size()) {
        QAccessibleEvent event(items[place].get(), QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    }
}

} // namespace slicewise
