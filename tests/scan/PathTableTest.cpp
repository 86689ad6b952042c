// The directories of a walk, written down once each.
#include "scan/PathTable.h"

#include "scan/SZANode.h"
#include "tests/scan/TestSize.h"

#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

namespace slicewise {

TEST(Paths, areJoinedWithOneSlashBetweenNames)
{
    SZANode tree;
    PathTable &paths = tree.newPathTable();
    const PathNode *root = paths.add(nullptr, "/");
    const PathNode *usr = paths.add(root, "usr");
    const PathNode *lib = paths.add(usr, "lib");
    EXPECT_EQ(root->text(), "/");
    EXPECT_EQ(usr->text(), "/usr");
    EXPECT_EQ(lib->text(), "/usr/lib");
    EXPECT_EQ(lib->name(), "lib");
    EXPECT_EQ(lib->parent(), usr);
    EXPECT_EQ(root->parent(), nullptr);
    EXPECT_EQ(paths.add(paths.add(nullptr, "/sub"), "a")->text(), "/sub/a");
    EXPECT_EQ(paths.add(paths.add(nullptr, "/sub/"), "a")->text(), "/sub/a");
}

TEST(Paths, keepTheirNamesWhereTheTextThatTheyWereMadeOfGoes)
{
    SZANode tree;
    PathTable &paths = tree.newPathTable();
    std::string name = "a name that no small buffer holds, of some length";
    const PathNode *node = paths.add(paths.add(nullptr, "/"), name);
    const std::string expected = "/" + name;
    name.assign(name.size(), 'x');
    EXPECT_EQ(node->text(), expected);
}

TEST(Paths, areWhatWasAddedHoweverManyThereAre)
{
    SZANode tree;
    PathTable &paths = tree.newPathTable();
    std::mt19937_64 random(3);
    std::vector<std::pair<const PathNode *, std::string>> added = {{paths.add(nullptr, "/top"), "/top"}};
    for (std::uint64_t i = 0; i < 5000 * testSize(); ++i) {
        const auto &[parent, text] = added.at(random() % added.size());
        const std::string name(random() % 40 + 1, static_cast<char>('a' + random() % 26));
        std::string longer = text;
        added.emplace_back(paths.add(parent, name), longer.append("/").append(name));
    }
    for (const auto &[node, text] : added) {
        ASSERT_EQ(node->text(), text);
    }
}

} // namespace slicewise
