// Which slice becomes which, against the rule written down with names on a list.
#include "tests/chart/ChartParts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace slicewise {

namespace {

struct Named {
    int name;
    double value;
};

/// Makes the list that shows the values out of the one that is there: keeps, inserts, moves to the end,
/// removes.
class Model {
public:
    void reload(const std::vector<double> &values)
    {
        double sum = 0;
        for (const double value : values) {
            sum += value;
        }
        if (!m_list.empty() && (values.empty() || !(sum > 0))) {
            return;
        }
        std::vector<int> leaving;
        for (const Named &named : m_list) {
            leaving.push_back(named.name);
        }
        long difference = static_cast<long>(values.size()) - static_cast<long>(m_list.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            place(i, values[i], difference, leaving);
            m_list[i].value = values[i];
        }
        std::vector<Named> staying;
        for (const Named &named : m_list) {
            if (std::find(leaving.begin(), leaving.end(), named.name) == leaving.end()) {
                staying.push_back(named);
            }
        }
        m_list = staying;
    }
    [[nodiscard]] const std::vector<Named> &list() const { return m_list; }

private:
    void place(std::size_t i, double value, long &difference, std::vector<int> &leaving)
    {
        if (i >= m_list.size()) {
            m_list.push_back({m_next++, value});
            --difference;
            return;
        }
        if (difference == 0 || m_list[i].value == value) {
            keep(i, leaving);
            return;
        }
        if (difference > 0) {
            m_list.insert(m_list.begin() + static_cast<long>(i), {m_next++, value});
            --difference;
            return;
        }
        do {
            const Named moved = m_list[i];
            m_list.erase(m_list.begin() + static_cast<long>(i));
            m_list.push_back(moved);
            ++difference;
        } while (m_list[i].value != value && difference != 0);
        keep(i, leaving);
    }
    void keep(std::size_t i, std::vector<int> &leaving) const { std::erase(leaving, m_list[i].name); }

    std::vector<Named> m_list;
    int m_next = 0;
};

std::vector<double> randomValues(std::mt19937 &random, const std::vector<double> &last)
{
    std::vector<double> values = last;
    const auto pick = [&](std::size_t below) {
        return std::uniform_int_distribution<std::size_t>(0, below - 1)(random);
    };
    switch (pick(6)) {
    case 0:
        values.assign(pick(12), 0);
        std::ranges::generate(values, [&] { return static_cast<double>(pick(5)); });
        break;
    case 1:
        std::ranges::shuffle(values, random);
        break;
    case 2:
        for (std::size_t i = pick(4); i > 0 && !values.empty(); --i) {
            values.erase(values.begin() + static_cast<long>(pick(values.size())));
        }
        break;
    case 3:
        for (std::size_t i = pick(4); i > 0; --i) {
            values.insert(values.begin() + static_cast<long>(pick(values.size() + 1)),
                          static_cast<double>(pick(9)));
        }
        break;
    case 4:
        for (double &value : values) {
            value = pick(3) == 0 ? static_cast<double>(pick(9)) : value;
        }
        break;
    default:
        std::ranges::sort(values, std::greater<>());
        break;
    }
    return values;
}

/// Where each slice is seen, those left out that have not been on screen.
std::map<const SliceLayer *, std::vector<double>> seen(const ChartParts &parts)
{
    std::map<const SliceLayer *, std::vector<double>> all;
    for (const auto &layer : parts.chart.sliceLayers()) {
        if (const auto shown = layer->presentationLayer()) {
            all[layer.get()] = {shown->startAngle(), shown->endAngle(), shown->position().x(),
                                shown->position().y(), shown->fillColor().red};
        }
    }
    return all;
}

TEST(LayerReuse, noSliceThatStaysJumps)
{
    for (unsigned seed = 100; seed < 130; ++seed) {
        std::mt19937 random(seed);
        ChartParts parts;
        std::vector<double> values;
        std::size_t compared = 0;
        for (int step = 0; step < 60; ++step) {
            values = randomValues(random, values);
            // Kept alive, so that no new slice has the address of an old one.
            const auto old = parts.chart.sliceLayers();
            const auto before = seen(parts);
            parts.reload(values);
            for (const auto &[layer, place] : seen(parts)) {
                if (before.contains(layer)) {
                    ASSERT_EQ(before.at(layer), place) << seed << ' ' << step;
                    ++compared;
                }
            }
            parts.clock->step(static_cast<double>(random() % 8) / 10);
            parts.chart.setSliceSelectedAtIndex(static_cast<int>(random() % 4));
            parts.clock->step(0.05);
        }
        EXPECT_GT(compared, 60U);
    }
}

TEST(LayerReuse, isTheRuleOnAListThatChangesUnderTheLoop)
{
    for (unsigned seed = 0; seed < 60; ++seed) {
        std::mt19937 random(seed);
        ChartParts parts;
        Model model;
        std::map<const SliceLayer *, int> names;
        // Layers stay alive, so that no address stands for two of them.
        std::vector<std::shared_ptr<SliceLayer>> alive;
        std::vector<double> values;
        for (int step = 0; step < 60; ++step) {
            values = randomValues(random, values);
            parts.reload(values);
            model.reload(values);
            parts.clock->step(random() % 3 == 0 ? 1 : 0.1);
            ASSERT_EQ(parts.chart.sliceLayers().size(), model.list().size()) << seed << ' ' << step;
            for (std::size_t i = 0; i < model.list().size(); ++i) {
                const auto &layer = parts.chart.sliceLayers()[i];
                const auto [known, isNew] = names.try_emplace(layer.get(), model.list()[i].name);
                if (isNew) {
                    alive.push_back(layer);
                }
                ASSERT_EQ(known->second, model.list()[i].name) << seed << ' ' << step << ' ' << i;
                ASSERT_EQ(layer->value(), model.list()[i].value) << seed << ' ' << step << ' ' << i;
            }
            // Nothing that has left still moves.
            ASSERT_LE(parts.chart.animations().size(), 2 * parts.chart.sliceLayers().size());
        }
        parts.clock->runOut();
        EXPECT_TRUE(parts.chart.animations().empty());
        EXPECT_FALSE(parts.clock->isRunning());
    }
}

} // namespace

} // namespace slicewise
