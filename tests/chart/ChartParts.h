// A data source and a delegate that remember what they are asked and told, and a chart between them whose
// time a test steps.
#pragma once

#include "chart/QVPieChart.h"
#include "tests/chart/SteppedClock.h"

#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace slicewise {

using Calls = std::vector<std::string>;

class ListSource : public QVPieChartDataSource {
public:
    explicit ListSource(std::vector<double> listed = {}) : values(std::move(listed)) {}

    unsigned numberOfSlicesInPieChart(QVPieChart &chart) override
    {
        calls.emplace_back("count");
        return count ? count(chart) : static_cast<unsigned>(values.size());
    }
    double pieChartValueForSliceAtIndex(QVPieChart & /*chart*/, unsigned index) override
    {
        calls.push_back("value " + std::to_string(index));
        if (onValue) {
            onValue(index);
        }
        return index < values.size() ? values[index] : 0;
    }
    OptionalAnswer<UIColor> pieChartColorForSliceAtIndex(QVPieChart & /*chart*/, unsigned index) override
    {
        calls.push_back("color " + std::to_string(index));
        const auto found = colors.find(index);
        return found != colors.end() ? OptionalAnswer<UIColor>(found->second) : std::nullopt;
    }
    OptionalAnswer<std::optional<QString>> pieChartTextForSliceAtIndex(QVPieChart & /*chart*/,
                                                                       unsigned index) override
    {
        calls.push_back("text " + std::to_string(index));
        const auto found = texts.find(index);
        return found != texts.end() ? OptionalAnswer<std::optional<QString>>(found->second) : std::nullopt;
    }

    std::vector<double> values;
    std::map<unsigned, UIColor> colors;
    std::map<unsigned, std::optional<QString>> texts; ///< absent: the question is left out
    std::function<unsigned(QVPieChart &)> count;
    std::function<void(unsigned)> onValue;
    Calls calls;
};

class ListDelegate : public QVPieChartDelegate {
public:
    bool pieChartWillSelectSliceAtIndex(QVPieChart &chart, unsigned index) override
    {
        note("willSelect", chart, index);
        return allows;
    }
    void pieChartDidSelectSliceAtIndex(QVPieChart &chart, unsigned index) override
    {
        note("didSelect", chart, index);
    }
    void pieChartWillDeselectSliceAtIndex(QVPieChart &chart, unsigned index) override
    {
        note("willDeselect", chart, index);
    }
    void pieChartDidDeselectSliceAtIndex(QVPieChart &chart, unsigned index) override
    {
        note("didDeselect", chart, index);
    }

    bool allows = true;
    Calls calls; ///< "willSelect 2: 1 out, selected 0": which are pulled out, and the recorded index, at that
                 ///< moment
    std::function<void(QVPieChart &)> onCall;

private:
    void note(const char *call, QVPieChart &chart, unsigned index)
    {
        std::string entry = call;
        entry += ' ' + std::to_string(index) + ':';
        for (std::size_t i = 0; i < chart.sliceLayers().size(); ++i) {
            if (chart.sliceLayers()[i]->isSelected()) {
                entry += ' ' + std::to_string(i) + " out,";
            }
        }
        calls.push_back(entry + " selected " + std::to_string(chart.selectedSliceIndex()));
        if (onCall) {
            onCall(chart);
        }
    }
};

/// 200 by 100, so that its pie has the radius 43.75 around (100, 50).
struct ChartParts {
    explicit ChartParts(std::vector<double> values = {}, const QRectF &frame = {0, 0, 200, 100})
        : source(std::move(values)), chart(frame)
    {
        chart.setClock(clock);
        chart.setDataSource(&source);
        chart.setDelegate(&delegate);
    }

    void reload(std::vector<double> values)
    {
        source.values = std::move(values);
        chart.reloadData();
    }
    void show(std::vector<double> values)
    {
        reload(std::move(values));
        clock->runOut();
    }
    [[nodiscard]] SliceLayer &layer(std::size_t index) const { return *chart.sliceLayers().at(index); }
    [[nodiscard]] SliceLayer shown(std::size_t index) const
    {
        return layer(index).presentationLayer().value();
    }
    [[nodiscard]] std::vector<double> values() const
    {
        std::vector<double> all;
        for (const auto &each : chart.sliceLayers()) {
            all.push_back(each->value());
        }
        return all;
    }
    /// In the chart's coordinates, half way out in the middle of a slice.
    [[nodiscard]] QPointF pointIn(std::size_t index) const
    {
        const double middle = (layer(index).startAngle() + layer(index).endAngle()) / 2;
        return chart.pieView().frame.center() +
               QPointF(std::cos(middle), std::sin(middle)) * (chart.pieRadius() / 2);
    }
    void tap(const QPointF &point)
    {
        chart.touchesBeganWithEvent(point);
        chart.touchesEndedWithEvent(point);
    }
    void tapSlice(std::size_t index) { tap(pointIn(index)); }

    std::shared_ptr<SteppedClock> clock = std::make_shared<SteppedClock>();
    ListSource source;
    ListDelegate delegate;
    QVPieChart chart;
};

constexpr double kTop = 4.71238898038469;
constexpr double kTurn = 2 * std::numbers::pi;

} // namespace slicewise
