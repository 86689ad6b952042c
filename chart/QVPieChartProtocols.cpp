// The calls that may be left out, as they are when they are.
#include "chart/QVPieChartDataSource.h"
#include "chart/QVPieChartDelegate.h"

namespace slicewise {

OptionalAnswer<UIColor> QVPieChartDataSource::pieChartColorForSliceAtIndex(QVPieChart & /*chart*/,
                                                                           unsigned /*index*/)
{
    return std::nullopt;
}

OptionalAnswer<std::optional<QString>> QVPieChartDataSource::pieChartTextForSliceAtIndex(
    QVPieChart & /*chart*/, unsigned /*index*/)
{
    return std::nullopt;
}

bool QVPieChartDelegate::pieChartWillSelectSliceAtIndex(QVPieChart & /*chart*/, unsigned /*index*/)
{
    return true;
}

void QVPieChartDelegate::pieChartDidSelectSliceAtIndex(QVPieChart & /*chart*/, unsigned /*index*/) {}
void QVPieChartDelegate::pieChartWillDeselectSliceAtIndex(QVPieChart & /*chart*/, unsigned /*index*/) {}
void QVPieChartDelegate::pieChartDidDeselectSliceAtIndex(QVPieChart & /*chart*/, unsigned /*index*/) {}

} // namespace slicewise
