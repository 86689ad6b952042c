// What a screen answers its chart.
#include "ui/NameText.h"
#include "ui/SZAViewController.h"

#include <array>
#include <numeric>

namespace slicewise {

namespace {

constexpr unsigned kRestSlice = 8; ///< stands for all children behind the largest
constexpr unsigned kSlicesAfterTheScan = kRestSlice + 1;
constexpr unsigned kSlicesDuringTheScan = 24;

} // namespace

unsigned SZAViewController::numberOfSlicesInPieChart(QVPieChart & /*chart*/)
{
    return m_doneScan ? kSlicesAfterTheScan : kSlicesDuringTheScan;
}

bool SZAViewController::isRestSlice(unsigned index) const
{
    return index == kRestSlice && m_doneScan && m_currentNodes.size() > kRestSlice;
}

double SZAViewController::pieChartValueForSliceAtIndex(QVPieChart & /*chart*/, unsigned index)
{
    if (index >= m_currentNodes.size()) {
        return 0;
    }
    if (isRestSlice(index)) {
        return static_cast<double>(
            std::accumulate(m_currentNodes.begin() + index, m_currentNodes.end(), std::uint64_t{0},
                            [](std::uint64_t sum, const SZANode *node) { return sum + node->size(); }));
    }
    return static_cast<double>(m_currentNodes[index]->size());
}

OptionalAnswer<std::optional<QString>> SZAViewController::pieChartTextForSliceAtIndex(QVPieChart & /*chart*/,
                                                                                      unsigned index)
{
    if (index >= m_currentNodes.size() || isRestSlice(index)) {
        return std::optional(QString());
    }
    return std::optional(QString::fromStdString(shownText(m_currentNodes[index]->name())));
}

OptionalAnswer<UIColor> SZAViewController::pieChartColorForSliceAtIndex(QVPieChart & /*chart*/,
                                                                        unsigned index)
{
    return colorForSlice(index);
}

UIColor SZAViewController::colorForSlice(std::size_t index) const
{
    if (m_doneScan || index >= m_currentNodes.size()) {
        return colorForSliceAtIndex(index, m_doneScan ? DoneScan::Yes : DoneScan::No, {});
    }
    // As if it were the only one: a row of any number costs the same.
    const std::array<std::uint64_t, 1> place = {m_currentNodes[index]->index()};
    return colorForSliceAtIndex(0, DoneScan::No, place);
}

} // namespace slicewise
