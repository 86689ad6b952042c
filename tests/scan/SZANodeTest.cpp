// A node by itself and files going into a tree. Removal has its own file, and so has the random comparison.
#include "scan/SZANode.h"

#include "tests/scan/DeclaredSizes.h"
#include "tests/support/TreeText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kHalf = std::uint64_t{1} << 63U;

class Insertion : public ::testing::Test {
protected:
    std::uint64_t add(const std::string &category, const std::string &file, std::uint64_t sizeBytes)
    {
        m_device.declare(file, sizeBytes);
        return m_root.addNodeForFile(category, file);
    }

    SZANode &at(const std::vector<std::string> &names)
    {
        SZANode *node = &m_root;
        for (const std::string &name : names) {
            node = node->childNamed(name);
            if (node == nullptr) {
                throw std::runtime_error("no node " + name + " in\n" + treeText(m_root));
            }
        }
        return *node;
    }

    DeclaredSizes m_device;
    SZANode m_root{&m_device};
};

using Properties = Insertion;
using Order = Insertion;

std::vector<std::string> namesOf(const std::vector<SZANode *> &nodes)
{
    std::vector<std::string> names;
    for (const SZANode *node : nodes) {
        names.emplace_back(node->name());
    }
    return names;
}

void expectFresh(const SZANode &node)
{
    EXPECT_THAT(node.getNodes(), IsEmpty());
    EXPECT_EQ(node.childCount(), 0U);
    EXPECT_EQ(node.childNamed(""), nullptr);
    EXPECT_EQ(node.name(), "");
    EXPECT_EQ(node.size(), 0U);
    EXPECT_EQ(node.index(), 0U);
    EXPECT_TRUE(node.sort());
    EXPECT_EQ(node.filename(), std::nullopt);
    EXPECT_EQ(node.fullname(), std::nullopt);
}

} // namespace

TEST(FreshNode, hasNoChildrenNoNameNoFileAndNoSize)
{
    const DeclaredSizes device;
    expectFresh(SZANode(&device));
    expectFresh(SZANode());
}

TEST_F(Insertion, addsTheSizeToEveryNodeAboveTheLeaf)
{
    EXPECT_EQ(add("A/B/f", "/f", 100), 100U);
    EXPECT_EQ(add("A/C/g", "/g", 50), 50U);
    EXPECT_EQ(m_root.size(), 150U);
    EXPECT_EQ(at({"A"}).size(), 150U);
    EXPECT_EQ(at({"A", "B"}).size(), 100U);
    EXPECT_EQ(at({"A", "C"}).size(), 50U);
    EXPECT_EQ(at({"A", "B", "f"}).size(), 100U);
    EXPECT_EQ(at({"A", "C", "g"}).size(), 50U);
}

TEST_F(Insertion, givesIndicesInTheOrderInWhichSiblingsAreMade)
{
    add("A/B/f", "/f", 1);
    add("A/C/g", "/g", 1);
    add("Z", "/z", 1);
    add("A/B/e", "/e", 1);
    add("A/A", "/a", 1);
    EXPECT_EQ(at({"A"}).index(), 0U);
    EXPECT_EQ(at({"Z"}).index(), 1U);
    EXPECT_EQ(at({"A", "B"}).index(), 0U);
    EXPECT_EQ(at({"A", "C"}).index(), 1U);
    EXPECT_EQ(at({"A", "A"}).index(), 2U);
    EXPECT_EQ(at({"A", "B", "f"}).index(), 0U);
    EXPECT_EQ(at({"A", "B", "e"}).index(), 1U);
}

TEST_F(Insertion, namesChildrenByTheirKeysAndRecordsTheFileAtTheLeafAlone)
{
    add("A/B/f", "/x/of another name", 1);
    EXPECT_EQ(at({"A"}).name(), "A");
    EXPECT_EQ(at({"A", "B"}).name(), "B");
    EXPECT_EQ(at({"A", "B", "f"}).name(), "f");
    EXPECT_EQ(m_root.name(), "");
    EXPECT_EQ(at({"A", "B", "f"}).filename(), "/x/of another name");
    EXPECT_EQ(at({"A", "B"}).filename(), std::nullopt);
    EXPECT_EQ(at({"A"}).filename(), std::nullopt);
    EXPECT_EQ(m_root.filename(), std::nullopt);
}

TEST_F(Insertion, makesChildrenThatSortBySize)
{
    m_root.setSort(false);
    add("A/f", "/f", 1);
    EXPECT_TRUE(at({"A"}).sort());
    EXPECT_TRUE(at({"A", "f"}).sort());
    EXPECT_FALSE(m_root.sort());
}

TEST_F(Insertion, letsASecondFileReplaceTheFirstOnOneLeafWhileTheNodesAboveCountBoth)
{
    EXPECT_EQ(add("A/f", "/first", 10), 10U);
    EXPECT_EQ(add("A/f", "/second", 30), 30U);
    EXPECT_EQ(at({"A", "f"}).size(), 30U);
    EXPECT_EQ(at({"A", "f"}).filename(), "/second");
    EXPECT_EQ(at({"A", "f"}).index(), 0U);
    EXPECT_EQ(at({"A"}).size(), 40U);
    EXPECT_EQ(at({"A"}).childCount(), 1U);
    EXPECT_EQ(m_root.size(), 40U);
}

TEST_F(Insertion, countsAFileThatCannotBeAskedAboutAsEmptyButShowsIt)
{
    add("A/there", "/there", 5);
    EXPECT_EQ(m_root.addNodeForFile("A/gone", "/gone"), 0U);
    EXPECT_EQ(at({"A", "gone"}).size(), 0U);
    EXPECT_EQ(at({"A", "gone"}).filename(), "/gone");
    EXPECT_EQ(m_root.size(), 5U);
    EXPECT_THAT(namesOf(at({"A"}).getNodes()), ElementsAre("there", "gone"));
}

TEST_F(Insertion, withoutADeviceCountsEveryFileAsEmpty)
{
    SZANode root;
    EXPECT_EQ(root.addNodeForFile("A/f", "/proc/self/exe"), 0U);
    EXPECT_EQ(treeText(root), "0 bytes\n\"A\" 0 #0\n  \"f\" 0 #0 \"/proc/self/exe\"\n");
}

TEST_F(Insertion, belowAnInnerNodeLeavesTheNodesAboveItAlone)
{
    add("A/B/f", "/f", 10);
    m_device.declare("/g", 7);
    EXPECT_EQ(at({"A", "B"}).addNodeForFile("C/g", "/g"), 7U);
    EXPECT_EQ(at({"A", "B"}).size(), 17U);
    EXPECT_EQ(at({"A", "B", "C"}).size(), 7U);
    EXPECT_EQ(at({"A"}).size(), 10U);
    EXPECT_EQ(m_root.size(), 10U);
}

TEST_F(Insertion, raisesOnAnAbsentCategoryPathAndChangesNothing)
{
    add("A/f", "/f", 10);
    const std::string before = treeText(m_root);
    EXPECT_THROW(m_root.addNodeForFile(std::nullopt, "/f"), std::invalid_argument);
    EXPECT_EQ(treeText(m_root), before);
}

TEST_F(Insertion, splitsCategoryPathsAtEverySlashButALastOne)
{
    struct Case {
        std::string category;
        std::vector<std::string> names;
    };
    const std::vector<Case> cases = {
        {"f", {"f"}},
        {"a/f", {"a", "f"}},
        {"f/", {"f"}},
        {"a/f/", {"a", "f"}},
        {"/f", {"", "f"}},
        {"/a/f", {"", "a", "f"}},
        {"a//f", {"a", "", "f"}},
        {"a///f", {"a", "", "", "f"}},
        {"a//", {"a", ""}},
        {"", {""}},
        {"/", {""}},
        {"//", {"", ""}},
        {"///", {"", "", ""}},
        {" /.", {" ", "."}},
        {"\xff/\n", {"\xff", "\n"}},
    };
    for (const Case &one : cases) {
        SCOPED_TRACE(asciiText(one.category));
        SZANode root(&m_device);
        m_device.declare("/file", 3);
        root.addNodeForFile(one.category, "/file");
        const SZANode *node = &root;
        for (const std::string &name : one.names) {
            EXPECT_EQ(node->size(), 3U);
            EXPECT_EQ(node->filename(), std::nullopt);
            ASSERT_EQ(node->childCount(), 1U);
            node = node->childNamed(name);
            ASSERT_NE(node, nullptr) << "no \"" << asciiText(name) << '"';
            EXPECT_EQ(node->name(), name);
        }
        EXPECT_EQ(node->filename(), "/file");
        EXPECT_EQ(node->size(), 3U);
        EXPECT_EQ(node->childCount(), 0U);
    }
}

TEST_F(Insertion, assignsTheSizeOfAnInnerNodeThatBecomesALeaf)
{
    add("A/B/f", "/f", 100);
    add("A", "/a", 30);
    EXPECT_EQ(at({"A"}).size(), 30U);
    EXPECT_EQ(at({"A"}).filename(), "/a");
    EXPECT_EQ(at({"A", "B", "f"}).size(), 100U);
    EXPECT_EQ(at({"A", "B", "f"}).filename(), "/f");
    EXPECT_EQ(m_root.size(), 130U);
    add("A/C", "/c", 5);
    EXPECT_EQ(at({"A"}).size(), 35U);
    EXPECT_EQ(at({"A"}).filename(), "/a");
    EXPECT_EQ(at({"A", "C"}).index(), 1U);
    EXPECT_EQ(m_root.size(), 135U);
}

TEST_F(Insertion, keepsTheFileOfALeafThatBecomesAnInnerNode)
{
    add("A/f", "/dir/f", 10);
    add("A/f/g", "/dir/g", 5);
    EXPECT_EQ(at({"A", "f"}).size(), 15U);
    EXPECT_EQ(at({"A", "f"}).filename(), "/dir/f");
    EXPECT_EQ(at({"A", "f", "g"}).size(), 5U);
    EXPECT_EQ(at({"A", "f", "g"}).filename(), "/dir/g");
    EXPECT_EQ(m_root.size(), 15U);
}

TEST_F(Insertion, wrapsSizesWithoutComplaint)
{
    add("A/f", "/f", kLargest);
    add("A/g", "/g", 3);
    EXPECT_EQ(at({"A", "f"}).size(), kLargest);
    EXPECT_EQ(at({"A"}).size(), 2U);
    EXPECT_EQ(m_root.size(), 2U);
}

TEST_F(Insertion, takesACategoryPathOfAHundredThousandNames)
{
    constexpr std::size_t kDepth = 100'000;
    std::string category;
    for (std::size_t i = 0; i < kDepth; ++i) {
        category += "d/";
    }
    category += "leaf";
    SZANode root(&m_device);
    m_device.declare("/leaf", 9);
    EXPECT_EQ(root.addNodeForFile(category, "/leaf"), 9U);
    const SZANode *node = &root;
    for (std::size_t i = 0; i < kDepth; ++i) {
        ASSERT_EQ(node->size(), 9U);
        node = node->childNamed("d");
        ASSERT_NE(node, nullptr);
    }
    ASSERT_NE(node->childNamed("leaf"), nullptr);
    EXPECT_EQ(node->childNamed("leaf")->filename(), "/leaf");
}

TEST_F(Properties, aNewNameDoesNotMoveTheNodeFromItsKey)
{
    add("A/f", "/x/f", 10);
    SZANode &leaf = at({"A", "f"});
    leaf.setName("shown");
    EXPECT_EQ(leaf.name(), "shown");
    EXPECT_EQ(at({"A"}).childNamed("shown"), nullptr);
    EXPECT_EQ(at({"A"}).childNamed("f"), &leaf);
    EXPECT_EQ(leaf.filename(), "/x/f");
    add("A/f", "/y/f", 20);
    EXPECT_EQ(at({"A"}).childCount(), 1U);
    EXPECT_EQ(leaf.name(), "shown");
    EXPECT_EQ(leaf.filename(), "/y/f");
    leaf.setName("");
    EXPECT_EQ(leaf.name(), "");
    EXPECT_EQ(at({"A"}).childNamed("f"), &leaf);
    leaf.setName("f");
    EXPECT_EQ(leaf.name(), "f");
}

TEST_F(Properties, theNameOfTheRootMayBeAnything)
{
    m_root.setName("Disk");
    EXPECT_EQ(m_root.name(), "Disk");
    m_root.setName(std::string(100'000, 'x'));
    EXPECT_EQ(m_root.name(), std::string(100'000, 'x'));
    SZANode without;
    without.setName("Disk");
    EXPECT_EQ(without.name(), "Disk");
}

TEST_F(Properties, aFileNameIsGivenBackByteForByteAndCanBeTakenAway)
{
    add("A/f", "/x/f", 1);
    SZANode without;
    for (SZANode *node : {&m_root, &at({"A"}), &at({"A", "f"}), &without}) {
        for (const std::string &filename :
             {std::string("/dir/f"), std::string("/dir/A"), std::string("/f"), std::string("f"),
              std::string(), std::string("/"), std::string("/dir/"), std::string("//f"),
              std::string("\xff/\n")}) {
            SCOPED_TRACE(asciiText(node->name()) + ": " + asciiText(filename));
            node->setFilename(filename);
            EXPECT_EQ(node->filename(), filename);
        }
        node->setFilename(std::nullopt);
        EXPECT_EQ(node->filename(), std::nullopt);
        node->setFilename("/again");
        EXPECT_EQ(node->filename(), "/again");
    }
    EXPECT_EQ(m_root.size(), 1U);
    EXPECT_EQ(at({"A"}).childCount(), 1U);
}

TEST_F(Properties, aLeafWhoseFileNameWasTakenAwayCanStillGetChildren)
{
    add("A/f", "/x/f", 1);
    at({"A", "f"}).setFilename(std::nullopt);
    add("A/f/g", "/x/g", 2);
    EXPECT_EQ(at({"A", "f"}).filename(), std::nullopt);
    EXPECT_EQ(at({"A", "f", "g"}).filename(), "/x/g");
}

TEST_F(Properties, aFullnameIsEachNodesOwn)
{
    add("A/f", "/x/f", 1);
    add("A/g", "/x/g", 1);
    EXPECT_EQ(at({"A", "f"}).fullname(), std::nullopt);
    SZANode without;
    for (SZANode *node : {&m_root, &at({"A"}), &at({"A", "f"}), &without}) {
        node->setFullname("full");
        EXPECT_EQ(node->fullname(), "full");
        node->setFullname("");
        EXPECT_EQ(node->fullname(), "");
    }
    EXPECT_EQ(at({"A", "g"}).fullname(), std::nullopt);
    at({"A", "f"}).setFullname(std::nullopt);
    EXPECT_EQ(at({"A", "f"}).fullname(), std::nullopt);
    EXPECT_EQ(at({"A"}).fullname(), "");
}

TEST_F(Properties, sizeIndexAndSortAreAssignedAndNothingElseHappens)
{
    add("A/f", "/x/f", 10);
    at({"A"}).setSize(kLargest);
    at({"A"}).setIndex(kLargest);
    at({"A"}).setSort(false);
    EXPECT_EQ(at({"A"}).size(), kLargest);
    EXPECT_EQ(at({"A"}).index(), kLargest);
    EXPECT_FALSE(at({"A"}).sort());
    EXPECT_EQ(m_root.size(), 10U);
    EXPECT_EQ(at({"A", "f"}).size(), 10U);
}

TEST_F(Order, comparesSizesAsUnsignedTheLargerFirst)
{
    SZANode left;
    SZANode right;
    const auto compare = [&](std::uint64_t leftSize, std::uint64_t rightSize) {
        left.setSize(leftSize);
        right.setSize(rightSize);
        return left.compareSize(right);
    };
    EXPECT_EQ(compare(2, 1), Ordering::Ascending);
    EXPECT_EQ(compare(1, 2), Ordering::Descending);
    EXPECT_EQ(compare(2, 2), Ordering::Same);
    EXPECT_EQ(compare(kHalf, kHalf - 1), Ordering::Ascending);
    EXPECT_EQ(compare(0, kLargest), Ordering::Descending);
    EXPECT_EQ(compare(kLargest, kLargest), Ordering::Same);
    EXPECT_EQ(left.compareSize(left), Ordering::Same);
    EXPECT_EQ(static_cast<int>(Ordering::Ascending), -1);
    EXPECT_EQ(static_cast<int>(Ordering::Same), 0);
    EXPECT_EQ(static_cast<int>(Ordering::Descending), 1);
}

TEST_F(Order, comparesIndicesAsUnsignedTheSmallerFirst)
{
    SZANode left;
    SZANode right;
    const auto compare = [&](std::uint64_t leftIndex, std::uint64_t rightIndex) {
        left.setIndex(leftIndex);
        right.setIndex(rightIndex);
        return left.compareIndex(right);
    };
    EXPECT_EQ(compare(1, 2), Ordering::Ascending);
    EXPECT_EQ(compare(2, 1), Ordering::Descending);
    EXPECT_EQ(compare(2, 2), Ordering::Same);
    EXPECT_EQ(compare(kHalf - 1, kHalf), Ordering::Ascending);
    EXPECT_EQ(compare(kLargest, 0), Ordering::Descending);
}

TEST_F(Order, isByInsertionUntilSortIsSetAndThenBySize)
{
    m_root.setSort(false);
    add("small/f", "/f", 1);
    add("large/f", "/g", 1000);
    add("middle/f", "/h", 30);
    EXPECT_THAT(namesOf(m_root.getNodes()), ElementsAre("small", "large", "middle"));
    m_root.setSort(true);
    EXPECT_THAT(namesOf(m_root.getNodes()), ElementsAre("large", "middle", "small"));
    add("small/g", "/i", 5000);
    EXPECT_THAT(namesOf(m_root.getNodes()), ElementsAre("small", "large", "middle"));
    m_root.setSort(false);
    EXPECT_THAT(namesOf(m_root.getNodes()), ElementsAre("small", "large", "middle"));
}

TEST_F(Order, keepsEqualSizesInTheOrderOfInsertion)
{
    for (const char *name : {"q", "b", "z", "a", "m", "c"}) {
        add(name, name, 7);
    }
    add("largest", "/l", 8);
    EXPECT_THAT(namesOf(m_root.getNodes()), ElementsAre("largest", "q", "b", "z", "a", "m", "c"));
}

TEST_F(Order, putsSizesAndIndicesBeyondTheSignedOnesWhereTheyBelong)
{
    add("one", "/one", 1);
    add("half", "/half", kHalf);
    add("largest", "/largest", kLargest);
    EXPECT_THAT(namesOf(m_root.getNodes()), ElementsAre("largest", "half", "one"));
    m_root.setSort(false);
    at({"one"}).setIndex(kLargest);
    at({"half"}).setIndex(kHalf);
    at({"largest"}).setIndex(kHalf - 1);
    EXPECT_THAT(namesOf(m_root.getNodes()), ElementsAre("largest", "half", "one"));
}

TEST_F(Order, isAskedForAnewEachTime)
{
    add("A", "/a", 1);
    std::vector<SZANode *> nodes = m_root.getNodes();
    nodes.clear();
    EXPECT_THAT(namesOf(m_root.getNodes()), ElementsAre("A"));
}

} // namespace slicewise
