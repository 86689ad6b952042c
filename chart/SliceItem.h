// What those who read the screen, rather than see it, find of a slice: an invisible item over it.
//
// The chart owns its items and keeps them at their slices; an item is one of the chart's as long as it lives.
// The chart and its slices answer by QAccessibleInterface of their own, since a slice has a value (its
// share), a place and a press.
#pragma once

#include <QQuickItem>
#include <QString>

namespace slicewise {

class QVPieChart;

class SliceItem : public QQuickItem {
    Q_OBJECT
public:
    SliceItem(QVPieChart &chart, int index);

    [[nodiscard]] QVPieChart &chart() const { return m_chart; }
    [[nodiscard]] int index() const { return m_index; }
    /// The label's text, or the value where there is none.
    [[nodiscard]] QString name() const;
    /// The share: "25 %".
    [[nodiscard]] QString value() const;
    [[nodiscard]] bool isSelected() const;
    [[nodiscard]] bool isFocused() const;
    /// There is nothing of the slice to be seen, as where the pie has closed.
    [[nodiscard]] bool isEmpty() const;

    /// Takes the place of its slice; true if what it says has changed.
    bool follow();

private:
    QVPieChart &m_chart;
    int m_index;
    QString m_toldName;
    QString m_toldValue;
};

/// Once for a program, before the first chart is asked for; more often does no harm.
void installChartAccessibility();

} // namespace slicewise
