// What the chart adds to painting its sectors: a frame of 24 slices, in software, beside a loop that paints
// the same sectors and knows nothing else; and what a reload of 24 slices takes of a frame.
//
// Usage: chart-paint [ROUNDS]   rounds of each (default 200); what is printed are medians
#include "chart/Clock.h"
#include "chart/QVPieChart.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

constexpr int kSide = 800;
constexpr unsigned kSlices = 24;
constexpr double kFrameMilliseconds = 1000.0 / 60;
/// Longer than any animation.
constexpr double kSettledSeconds = 10;

/// A clock that a frame has to be asked of.
class SteppedClock : public Clock {
public:
    [[nodiscard]] double now() const override { return m_now; }
    void start(std::function<void()> frame) override
    {
        if (!m_frame) {
            m_frame = std::move(frame);
        }
    }
    void stop() override { m_frame = nullptr; }
    [[nodiscard]] bool isRunning() const override { return m_frame != nullptr; }

    void step(double seconds)
    {
        m_now += seconds;
        if (const auto frame = m_frame) {
            frame();
        }
    }

private:
    double m_now = 0;
    std::function<void()> m_frame;
};

class Values : public QVPieChartDataSource {
public:
    unsigned numberOfSlicesInPieChart(QVPieChart & /*chart*/) override { return kSlices; }
    double pieChartValueForSliceAtIndex(QVPieChart & /*chart*/, unsigned index) override
    {
        return 100 + (index * 37 + m_turn * 11) % 50;
    }
    OptionalAnswer<std::optional<QString>> pieChartTextForSliceAtIndex(QVPieChart & /*chart*/,
                                                                       unsigned index) override
    {
        return std::optional<QString>(QString::number(index));
    }
    void turn() { ++m_turn; }

private:
    unsigned m_turn = 0;
};

/// Medians of several pieces of work in milliseconds, each in each round, so that whatever else the machine
/// does meets all of them.
std::vector<double> medianMilliseconds(int rounds, const std::function<void()> &prepare,
                                       const std::vector<std::function<void()>> &works)
{
    std::vector<std::vector<double>> times(works.size());
    for (int i = 0; i < rounds; ++i) {
        for (std::size_t w = 0; w < works.size(); ++w) {
            prepare();
            const auto start = std::chrono::steady_clock::now();
            works[w]();
            times[w].push_back(
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
        }
    }
    std::vector<double> medians;
    for (std::vector<double> &ofOne : times) {
        std::ranges::nth_element(ofOne, ofOne.begin() + rounds / 2);
        medians.push_back(ofOne[static_cast<std::size_t>(rounds) / 2]);
    }
    return medians;
}

/// From the values alone, as somebody would who wants this one picture.
void paintBare(QPainter &painter, QVPieChart &chart, Values &values, const PiePicture &colours)
{
    painter.setRenderHint(QPainter::Antialiasing);
    double sum = 0;
    for (unsigned i = 0; i < kSlices; ++i) {
        sum += values.pieChartValueForSliceAtIndex(chart, i);
    }
    const QPointF center = chart.pieView().frame.center();
    const double radius = chart.pieRadius();
    const QRectF square(center.x() - radius, center.y() - radius, 2 * radius, 2 * radius);
    double start = 90;
    for (unsigned i = 0; i < kSlices; ++i) {
        const double sweep = 360 * values.pieChartValueForSliceAtIndex(chart, i) / sum;
        QPainterPath path(center);
        path.arcTo(square, start, -sweep);
        path.closeSubpath();
        const PiePicture::Slice &slice = colours.slices[i];
        painter.setPen(QPen(slice.stroke, slice.lineWidth, Qt::SolidLine, slice.cap, slice.join));
        painter.setBrush(slice.fill);
        painter.drawPath(path);
        start -= sweep;
    }
}

/// A chart whose slices lie where they belong.
struct Shown {
    explicit Shown(bool labels)
    {
        chart.setClock(clock);
        chart.setDataSource(&values);
        chart.setShowLabel(labels);
        chart.reloadData();
        clock->step(kSettledSeconds);
        clock->step(kSettledSeconds);
        if (clock->isRunning() || chart.picture(1).slices.size() != kSlices) {
            throw std::runtime_error("the chart does not show what is to be measured");
        }
    }

    std::shared_ptr<SteppedClock> clock = std::make_shared<SteppedClock>();
    Values values;
    QVPieChart chart{QRectF(0, 0, kSide, kSide)};
};

void printPainting(int rounds, double scale)
{
    Shown plain(false);
    const Shown labelled(true);
    const PiePicture colours = plain.chart.picture(scale);
    const auto pixels = static_cast<int>(kSide * scale);
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    const auto painted = [&](const std::function<void(QPainter &)> &paint) {
        return std::function<void()>([&image, paint] {
            QPainter painter(&image);
            paint(painter);
        });
    };
    const std::vector<std::function<void()>> works = {
        painted([&](QPainter &painter) { plain.chart.picture(scale).paint(painter); }),
        painted([&](QPainter &painter) { paintBare(painter, plain.chart, plain.values, colours); }),
        painted([&](QPainter &painter) { labelled.chart.picture(scale).paint(painter); })};
    const std::vector<double> medians = medianMilliseconds(
        rounds, [&] { image.fill(Qt::white); }, works);
    fmt::print("frame of {} slices, {} x {} pixels: {:.2f} ms; the same sectors bare {:.2f} ms; {:.2f} "
               "(budget 1.5); "
               "with labels {:.2f} ms\n",
               kSlices, pixels, pixels, medians[0], medians[1], medians[0] / medians[1], medians[2]);
}

/// New values for all slices, and the first frame on the way to them, painted.
void printReload(int rounds)
{
    Shown shown(true);
    QImage image(kSide, kSide, QImage::Format_ARGB32_Premultiplied);
    const std::vector<double> medians = medianMilliseconds(rounds,
                                                           [&] {
                                                               shown.values.turn();
                                                               shown.clock->step(kSettledSeconds);
                                                           },
                                                           {[&] { shown.chart.reloadData(); },
                                                            [&] {
                                                                shown.chart.reloadData();
                                                                shown.clock->step(1.0 / 60);
                                                                QPainter painter(&image);
                                                                shown.chart.picture(1).paint(painter);
                                                            }});
    fmt::print("reload of {} slices: {:.3f} ms; with its first frame: {:.3f} ms (budget {:.1f})\n", kSlices,
               medians[0], medians[1], kFrameMilliseconds);
}

void run(int rounds)
{
    for (const double scale : {1.0, 2.0}) {
        printPainting(rounds, scale);
    }
    printReload(rounds);
}

} // namespace
} // namespace slicewise

int main(int argc, char **argv)
{
    // Before the application object, which decides on it once.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    try {
        slicewise::run(argc > 1 ? std::max(1, std::atoi(argv[1])) : 200);
    } catch (const std::exception &error) {
        fmt::print(stderr, "chart-paint: {}\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
