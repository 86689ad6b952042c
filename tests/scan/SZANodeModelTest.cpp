// Random sequences of operations on a tree and on a plain model of it, which have to agree after each.
#include "scan/SZAException.h"
#include "scan/SZANode.h"
#include "tests/scan/DeclaredSizes.h"
#include "tests/scan/TestSize.h"
#include "tests/support/NaiveEngine.h"
#include "tests/support/TreeText.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <utility>

namespace slicewise {

namespace {

class Game {
public:
    explicit Game(std::uint64_t seed) : m_random(seed) {}

    void step()
    {
        switch (below(12)) {
        case 0:
        case 1:
            removeAChild();
            break;
        case 2:
            removeANodeThatIsNoChild();
            break;
        case 3:
            assignSomething();
            break;
        default:
            add();
        }
    }

    std::optional<std::string> difference() { return differenceBetween(*m_model, m_tree); }
    std::string text() const { return treeText(m_tree); }

    /// The detached nodes have to be as they were, each with all that was below it.
    std::optional<std::string> differenceOfDetached()
    {
        for (const auto &[model, node] : m_detached) {
            if (auto found = differenceBetween(*model, *node)) {
                return found;
            }
        }
        return std::nullopt;
    }

private:
    struct Place {
        std::shared_ptr<NaiveNode> model;
        SZANode *node;
    };

    std::uint64_t below(std::uint64_t end) { return m_random() % end; }

    /// The root, or some steps down from it.
    Place somewhere()
    {
        Place place{m_model, &m_tree};
        for (std::uint64_t steps = below(4); steps > 0 && !place.model->children.empty(); --steps) {
            place = someChild(place);
        }
        return place;
    }

    Place someChild(const Place &place)
    {
        auto child = place.model->children.begin();
        std::advance(child, static_cast<std::ptrdiff_t>(below(place.model->children.size())));
        return {child->second, place.node->childNamed(child->first)};
    }

    std::uint64_t someNumber()
    {
        return below(4) == 0 ? m_random() : below(5); // small ones are often equal, large ones wrap
    }

    void add()
    {
        static const std::array<std::string, 7> kNames = {"a", "b", "c", "d", "", "\xff", "\n"};
        const Place place = somewhere();
        std::string category = kNames.at(below(kNames.size()));
        for (std::uint64_t more = below(4); more > 0; --more) {
            category += "/" + kNames.at(below(kNames.size()));
        }
        const std::string file = below(2) == 0 ? "/dir/" + kNames.at(below(2)) : "/" + category;
        const std::uint64_t sizeBytes = someNumber();
        m_device.declare(file, sizeBytes);
        EXPECT_EQ(place.node->addNodeForFile(category, file),
                  naiveAdd(*place.model, category, file, sizeBytes));
    }

    void removeAChild()
    {
        const Place parent = somewhere();
        if (parent.model->children.empty()) {
            return;
        }
        const Place child = someChild(parent);
        std::vector<NaiveNode *> modelsAffected;
        std::vector<SZANode *> nodesAffected;
        for (std::uint64_t i = below(4); i > 0; --i) {
            const Place one = below(3) == 0 ? child : somewhere();
            modelsAffected.push_back(one.model.get());
            nodesAffected.push_back(one.node);
        }
        ASSERT_TRUE(naiveRemove(*parent.model, child.model.get(), modelsAffected));
        ASSERT_NO_THROW(parent.node->removeNodeAffectedNodes(*child.node, nodesAffected));
        m_detached.emplace_back(child.model, child.node);
    }

    void removeANodeThatIsNoChild()
    {
        const Place parent = somewhere();
        const Place node = below(2) == 0 && !m_detached.empty()
                               ? Place{m_detached.back().first, m_detached.back().second}
                               : somewhere();
        const std::array modelsAffected = {m_model.get()};
        const std::array nodesAffected = {&m_tree};
        if (naiveRemove(*parent.model, node.model.get(), modelsAffected)) {
            ASSERT_NO_THROW(parent.node->removeNodeAffectedNodes(*node.node, nodesAffected));
            m_detached.emplace_back(node.model, node.node);
        } else {
            ASSERT_THROW(parent.node->removeNodeAffectedNodes(*node.node, nodesAffected), SZAException);
        }
    }

    void assignSomething()
    {
        const Place place = somewhere();
        const std::uint64_t value = someNumber();
        switch (below(4)) {
        case 0:
            place.model->sizeBytes = value;
            place.node->setSize(value);
            break;
        case 1:
            place.model->index = value;
            place.node->setIndex(value);
            break;
        case 2:
            place.model->filename = "/dir/" + std::to_string(value);
            place.node->setFilename(place.model->filename);
            break;
        default:
            place.model->filename.reset();
            place.node->setFilename(std::nullopt);
        }
    }

    std::mt19937_64 m_random;
    DeclaredSizes m_device;
    SZANode m_tree{&m_device};
    std::shared_ptr<NaiveNode> m_model = std::make_shared<NaiveNode>();
    std::vector<std::pair<std::shared_ptr<NaiveNode>, SZANode *>> m_detached;
};

} // namespace

TEST(NodeModel, agreesWithTheTreeAfterEachOfManyRandomOperations)
{
    for (std::uint64_t seed = 0; seed < 60 * testSize(); ++seed) {
        Game game(seed);
        for (int step = 0; step < 120; ++step) {
            game.step();
            ASSERT_EQ(game.difference(), std::nullopt) << "seed " << seed << ", step " << step << '\n'
                                                       << game.text();
        }
        ASSERT_EQ(game.differenceOfDetached(), std::nullopt) << "seed " << seed;
    }
}

TEST(NodeModel, agreesWithTheTreeWhereOneNodeHasManyChildren)
{
    std::mt19937_64 random(4711);
    DeclaredSizes device;
    SZANode tree(&device);
    NaiveNode model;
    for (std::uint64_t i = 0; i < 20'000 * testSize(); ++i) {
        const std::string name = "d/" + std::to_string(random() % 10'000'000);
        device.declare(name, random() % 100);
        naiveAdd(model, name, name, device.status(name)->sizeBytes);
        tree.addNodeForFile(name, name);
    }
    ASSERT_EQ(differenceBetween(model, tree), std::nullopt);
}

} // namespace slicewise
