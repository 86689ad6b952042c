// What a pie chart tells when slices are selected; each call may be left out.
//
// Called on the GUI thread. The chart borrows its delegate and forgets one that is destroyed. From inside a
// call everything may be done to the chart but destroying it; the change that is being told goes on
// afterwards with the same indices.
#pragma once

#include "chart/Guarded.h"

namespace slicewise {

class QVPieChart;

class QVPieChartDelegate : public Guardable {
public:
    virtual ~QVPieChartDelegate() = default;
    QVPieChartDelegate() = default;
    QVPieChartDelegate(const QVPieChartDelegate &) = default;
    QVPieChartDelegate &operator=(const QVPieChartDelegate &) = default;

    /// False keeps the slice from being selected.
    [[nodiscard]] virtual bool pieChartWillSelectSliceAtIndex(QVPieChart &chart, unsigned index);
    virtual void pieChartDidSelectSliceAtIndex(QVPieChart &chart, unsigned index);
    virtual void pieChartWillDeselectSliceAtIndex(QVPieChart &chart, unsigned index);
    virtual void pieChartDidDeselectSliceAtIndex(QVPieChart &chart, unsigned index);
};

} // namespace slicewise
