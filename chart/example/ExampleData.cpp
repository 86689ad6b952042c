#include "chart/example/ExampleData.h"

#include "chart/UIColorHSL.h"

#include <algorithm>
#include <array>

namespace slicewise {

namespace {

/// The same values each time, so that two pictures can be compared.
constexpr unsigned kSeed = 7;
constexpr int kMostSlices = 24;
/// Hues that lie well beside each other, as parts of 360.
constexpr std::array<int, 8> kHues = {210, 130, 0, 42, 325, 168, 85, 22};

} // namespace

// The same each time on purpose.
// NOLINTNEXTLINE(bugprone-random-generator-seed)
ExampleData::ExampleData(QObject *parent) : QObject(parent), m_random(kSeed)
{
    setCount(7);
}

void ExampleData::setCount(int count)
{
    const auto wanted = static_cast<std::size_t>(std::clamp(count, 0, kMostSlices));
    if (wanted == m_values.size()) {
        return;
    }
    while (m_values.size() < wanted) {
        m_values.push_back(makeSlice());
    }
    m_values.resize(wanted);
    Q_EMIT valuesChanged();
}

void ExampleData::attach(QVPieChart *chart)
{
    if (chart != nullptr) {
        chart->setDataSource(this);
        chart->setDelegate(this);
        chart->reloadData();
    }
}

void ExampleData::shuffle()
{
    for (Slice &slice : m_values) {
        slice.value = makeSlice().value;
        --m_made;
    }
    Q_EMIT valuesChanged();
}

void ExampleData::insertAtFront()
{
    if (m_values.size() < kMostSlices) {
        m_values.insert(m_values.begin(), makeSlice());
        Q_EMIT valuesChanged();
    }
}

void ExampleData::removeFromFront()
{
    if (!m_values.empty()) {
        m_values.erase(m_values.begin());
        Q_EMIT valuesChanged();
    }
}

unsigned ExampleData::numberOfSlicesInPieChart(QVPieChart & /*chart*/)
{
    return static_cast<unsigned>(m_values.size());
}

double ExampleData::pieChartValueForSliceAtIndex(QVPieChart & /*chart*/, unsigned index)
{
    return m_values.at(index).value;
}

OptionalAnswer<UIColor> ExampleData::pieChartColorForSliceAtIndex(QVPieChart & /*chart*/, unsigned index)
{
    if (!m_coloured) {
        return std::nullopt;
    }
    const auto number = static_cast<std::size_t>(m_values.at(index).number);
    const double saturation = number < kHues.size() ? 0.75 : 0.4;
    return colorWithHueSaturationLightnessAlpha(kHues.at(number % kHues.size()) / 360.0, saturation, 0.52, 1);
}

OptionalAnswer<std::optional<QString>> ExampleData::pieChartTextForSliceAtIndex(QVPieChart & /*chart*/,
                                                                                unsigned index)
{
    if (!m_named) {
        return std::optional<QString>();
    }
    return std::optional<QString>(QChar(static_cast<char16_t>(u'A' + m_values.at(index).number % 26)));
}

bool ExampleData::pieChartWillSelectSliceAtIndex(QVPieChart & /*chart*/, unsigned index)
{
    if (!m_allowed) {
        setLastCall(QStringLiteral("Slice %1 may not be selected").arg(index + 1));
    }
    return m_allowed;
}

void ExampleData::pieChartDidSelectSliceAtIndex(QVPieChart & /*chart*/, unsigned index)
{
    setLastCall(QStringLiteral("Slice %1 was selected").arg(index + 1));
}

void ExampleData::pieChartDidDeselectSliceAtIndex(QVPieChart & /*chart*/, unsigned index)
{
    setLastCall(QStringLiteral("Slice %1 was deselected").arg(index + 1));
}

ExampleData::Slice ExampleData::makeSlice()
{
    std::uniform_int_distribution<int> value(10, 100);
    return {.value = static_cast<double>(value(m_random)), .number = m_made++};
}

void ExampleData::setLastCall(const QString &text)
{
    m_lastCall = text;
    Q_EMIT lastCallChanged();
}

} // namespace slicewise
