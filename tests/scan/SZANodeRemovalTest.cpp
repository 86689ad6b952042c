// Detaching nodes from a tree.
#include "scan/SZAException.h"
#include "scan/SZANode.h"
#include "tests/scan/DeclaredSizes.h"
#include "tests/support/TreeText.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <stdexcept>

namespace slicewise {

namespace {

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

/// A/B/f with 100 bytes and A/C/g with 50.
class Removal : public ::testing::Test {
protected:
    SZANode &filled()
    {
        m_device.declare("/dir/f", 100);
        m_device.declare("/dir/g", 50);
        m_root.addNodeForFile("A/B/f", "/dir/f");
        m_root.addNodeForFile("A/C/g", "/dir/g");
        return child(m_root, "A");
    }

    static SZANode &child(const SZANode &node, std::string_view name)
    {
        SZANode *found = node.childNamed(name);
        if (found == nullptr) {
            throw std::runtime_error("no node " + std::string(name));
        }
        return *found;
    }

    void expectRefusal(SZANode &parent, const SZANode &node)
    {
        const std::string before = treeText(m_root);
        const std::uint64_t sizeOfNode = node.size();
        const std::array affected = {&m_root, &m_a};
        try {
            parent.removeNodeAffectedNodes(node, affected);
            ADD_FAILURE() << "did not raise";
        } catch (const SZAException &exception) {
            EXPECT_EQ(exception.name(), "SZAException");
            EXPECT_EQ(exception.reason(), "Unexpected number of keys in node");
            EXPECT_STREQ(exception.what(), "SZAException: Unexpected number of keys in node");
        }
        EXPECT_EQ(treeText(m_root), before);
        EXPECT_EQ(node.size(), sizeOfNode);
    }

    DeclaredSizes m_device;
    SZANode m_root{&m_device};
    SZANode &m_a = filled();
    SZANode &m_b = child(m_a, "B");
};

} // namespace

TEST_F(Removal, ofAWholeNodePathLowersEveryNodeOfIt)
{
    const std::array path = {&m_root, &m_a, &m_b};
    m_a.removeNodeAffectedNodes(m_b, path);
    EXPECT_EQ(m_root.size(), 50U);
    EXPECT_EQ(m_a.size(), 50U);
    EXPECT_EQ(m_b.size(), 0U);
    EXPECT_EQ(m_a.childNamed("B"), nullptr);
    EXPECT_EQ(m_a.childCount(), 1U);
    EXPECT_EQ(m_a.getNodes(), std::vector<SZANode *>{&child(m_a, "C")});
}

TEST_F(Removal, leavesTheSizeOfTheParentAloneWhereItIsNotNamed)
{
    const std::array affected = {&m_root};
    m_a.removeNodeAffectedNodes(m_b, affected);
    EXPECT_EQ(m_root.size(), 50U);
    EXPECT_EQ(m_a.size(), 150U);
    EXPECT_EQ(m_b.size(), 100U);
    EXPECT_EQ(m_a.childCount(), 1U);
    m_a.removeNodeAffectedNodes(child(m_a, "C"), {});
    EXPECT_EQ(m_root.size(), 50U);
    EXPECT_EQ(m_a.size(), 150U);
    EXPECT_EQ(m_a.childCount(), 0U);
}

TEST_F(Removal, subtractsTheSizeThatTheChildHadBeforeItWasLoweredItself)
{
    const std::array affected = {&m_b, &m_a, &m_root};
    m_a.removeNodeAffectedNodes(m_b, affected);
    EXPECT_EQ(m_b.size(), 0U);
    EXPECT_EQ(m_a.size(), 50U);
    EXPECT_EQ(m_root.size(), 50U);
}

TEST_F(Removal, subtractsOnceForEachTimeThatANodeIsNamed)
{
    const std::array affected = {&m_root, &m_b, &m_root, &m_b};
    m_root.setSize(1000);
    m_a.removeNodeAffectedNodes(m_b, affected);
    EXPECT_EQ(m_root.size(), 800U);
    EXPECT_EQ(m_b.size(), kLargest - 99);
}

TEST_F(Removal, wrapsASizeThatIsTooSmall)
{
    m_a.setSize(30);
    const std::array affected = {&m_a};
    m_a.removeNodeAffectedNodes(m_b, affected);
    EXPECT_EQ(m_a.size(), kLargest - 69);
}

TEST_F(Removal, subtractsFromAnyNodeThatIsNamedWhereverItIs)
{
    SZANode other;
    other.setSize(1000);
    const std::array affected = {&other};
    m_a.removeNodeAffectedNodes(m_b, affected);
    EXPECT_EQ(other.size(), 900U);
    EXPECT_EQ(m_root.size(), 150U);
}

TEST_F(Removal, raisesForANodeThatIsNoChild)
{
    SZANode stranger;
    expectRefusal(m_root, stranger);
    stranger.setName("A"); // the name is not what makes it a child
    expectRefusal(m_root, stranger);
    SZANode other(&m_device);
    other.addNodeForFile("A", "/dir/f");
    expectRefusal(m_root, child(other, "A"));
    EXPECT_EQ(other.childCount(), 1U);
}

TEST_F(Removal, raisesForAGrandchildForTheNodeItselfAndForItsParent)
{
    expectRefusal(m_root, m_b);
    expectRefusal(m_a, m_a);
    expectRefusal(m_a, m_root);
}

TEST_F(Removal, raisesForANodeWithoutChildren)
{
    SZANode &leaf = child(m_b, "f");
    expectRefusal(leaf, leaf);
    expectRefusal(leaf, m_b);
    SZANode empty;
    expectRefusal(empty, m_b);
}

TEST_F(Removal, raisesTheSecondTime)
{
    m_a.removeNodeAffectedNodes(m_b, {});
    expectRefusal(m_a, m_b);
    m_root.addNodeForFile("A/B/f", "/dir/f"); // a node of its name is there again, but another one
    expectRefusal(m_a, m_b);
    EXPECT_NE(m_a.childNamed("B"), &m_b);
}

TEST_F(Removal, findsAChildThatWasRenamed)
{
    m_b.setName("C"); // what its sibling is called
    const std::array affected = {&m_root};
    m_a.removeNodeAffectedNodes(m_b, affected);
    EXPECT_EQ(m_root.size(), 50U);
    EXPECT_EQ(m_a.childNamed("B"), nullptr);
    EXPECT_NE(m_a.childNamed("C"), nullptr);
}

TEST_F(Removal, leavesTheDetachedNodesReadableUntilTheTreeGoes)
{
    SZANode &leaf = child(m_b, "f");
    leaf.setFilename("/dir/f");
    m_b.setFullname("full");
    m_a.removeNodeAffectedNodes(m_b, {});
    for (int i = 0; i < 1000; ++i) {
        m_root.addNodeForFile("A/B/f" + std::to_string(i), "/dir/f");
    }
    EXPECT_EQ(m_b.name(), "B");
    EXPECT_EQ(m_b.size(), 100U);
    EXPECT_EQ(m_b.index(), 0U);
    EXPECT_EQ(m_b.fullname(), "full");
    EXPECT_EQ(m_b.childNamed("f"), &leaf);
    EXPECT_EQ(m_b.getNodes(), std::vector<SZANode *>{&leaf});
    EXPECT_EQ(leaf.filename(), "/dir/f");
    EXPECT_EQ(leaf.name(), "f");
}

TEST_F(Removal, letsTheNameBeUsedAgainWithTheNumberOfSiblingsAsIndex)
{
    m_root.addNodeForFile("A/D/h", "/dir/missing");
    m_a.removeNodeAffectedNodes(m_b, {});
    m_root.addNodeForFile("A/B/f", "/dir/f");
    EXPECT_EQ(child(m_a, "B").index(), 2U);
    EXPECT_EQ(child(m_a, "B").size(), 100U);
    EXPECT_EQ(child(m_a, "B").childCount(), 1U);
    EXPECT_EQ(child(m_a, "D").index(), 2U); // indices are ranks at the time, and may come twice
}

TEST_F(Removal, ofTheOnlyChildLeavesANodeThatTakesChildrenAgain)
{
    m_root.removeNodeAffectedNodes(m_a, {});
    EXPECT_EQ(m_root.childCount(), 0U);
    EXPECT_TRUE(m_root.getNodes().empty());
    m_root.addNodeForFile("Z", "/dir/g");
    EXPECT_EQ(child(m_root, "Z").index(), 0U);
}

} // namespace slicewise
