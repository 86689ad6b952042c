// What a pie chart asks for its slices.
//
// Called on the GUI thread, and only from inside QVPieChart::reloadData(). The chart borrows its data source
// and forgets one that is destroyed, even in the middle of a reload. From inside a call everything may be
// done to the chart but destroying it; a reload that is asked for there comes after the one that runs.
#pragma once

#include "chart/Guarded.h"
#include "chart/UIColor.h"

#include <QString>

#include <optional>

namespace slicewise {

class QVPieChart;

/// The answer to a question that may be left out: absent if it is. The chart looks on each call.
template <typename Value> using OptionalAnswer = std::optional<Value>;

class QVPieChartDataSource : public Guardable {
public:
    virtual ~QVPieChartDataSource() = default;
    QVPieChartDataSource() = default;
    QVPieChartDataSource(const QVPieChartDataSource &) = default;
    QVPieChartDataSource &operator=(const QVPieChartDataSource &) = default;

    /// Asked once for each reload.
    [[nodiscard]] virtual unsigned numberOfSlicesInPieChart(QVPieChart &chart) = 0;
    [[nodiscard]] virtual double pieChartValueForSliceAtIndex(QVPieChart &chart, unsigned index) = 0;

    /// Left out, the chart has a colour of its own for each index.
    [[nodiscard]] virtual OptionalAnswer<UIColor> pieChartColorForSliceAtIndex(QVPieChart &chart,
                                                                               unsigned index);

    /// Left out, a slice keeps the text that it has. The inner absence is an answer: no text.
    [[nodiscard]] virtual OptionalAnswer<std::optional<QString>> pieChartTextForSliceAtIndex(
        QVPieChart &chart, unsigned index);
};

} // namespace slicewise
