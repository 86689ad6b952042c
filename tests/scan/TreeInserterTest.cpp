// The inserter that works by directory makes the tree that adding file by file makes.
#include "scan/TreeInserter.h"

#include "tests/scan/TestSize.h"
#include "tests/support/NaiveEngine.h"
#include "tests/support/TreeText.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <stdexcept>

namespace slicewise {

namespace {

class Inserter : public ::testing::Test {
protected:
    const PathNode *pathOf(const std::string &directory) { return m_paths.add(nullptr, directory); }

    void begin(const std::string &directory, const std::string &category)
    {
        m_directory = directory;
        m_category = category;
        m_inserter.beginDirectory(pathOf(directory), category);
    }
    void addHere(const std::string &name, std::uint64_t sizeBytes)
    {
        m_inserter.addHere(name, sizeBytes);
        naiveAdd(m_model, m_category + "/" + name, pathInDirectory(name), sizeBytes);
    }
    void addElsewhere(const std::string &category, const std::string &name, std::uint64_t sizeBytes)
    {
        m_inserter.addElsewhere(category, name, sizeBytes);
        naiveAdd(m_model, category, pathInDirectory(name), sizeBytes);
    }
    std::string pathInDirectory(const std::string &name) const
    {
        return m_directory.ends_with('/') ? m_directory + name : m_directory + "/" + name;
    }
    void expectEqualTrees()
    {
        m_inserter.flush();
        EXPECT_EQ(differenceBetween(m_model, m_root), std::nullopt) << treeText(m_root);
    }

    SZANode m_root;
    PathTable &m_paths = m_root.newPathTable();
    NaiveNode m_model;
    std::string m_directory;
    std::string m_category;
    TreeInserter m_inserter{m_root};
};

} // namespace

TEST_F(Inserter, addsTheFilesOfADirectoryUnderItsCategory)
{
    begin("/usr/lib", "Operating System/usr/lib");
    addHere("a", 10);
    addHere("b", 20);
    begin("/", "Others");
    addHere("c", 5);
    m_inserter.flush();
    EXPECT_EQ(treeText(m_root), "35 bytes\n"
                                "\"Operating System\" 30 #0\n"
                                "  \"usr\" 30 #0\n"
                                "    \"lib\" 30 #0\n"
                                "      \"b\" 20 #1 \"/usr/lib/b\"\n"
                                "      \"a\" 10 #0 \"/usr/lib/a\"\n"
                                "\"Others\" 5 #1\n"
                                "  \"c\" 5 #0 \"/c\"\n");
    expectEqualTrees();
}

TEST_F(Inserter, makesNoNodeForADirectoryWithoutFiles)
{
    begin("/empty", "Others/empty");
    begin("/usr", "Operating System/usr");
    addElsewhere("A/f", "f", 1);
    expectEqualTrees();
    EXPECT_EQ(m_root.childCount(), 1U);
}

TEST_F(Inserter, findsItsWayBetweenCategoriesThatShareTheirFront)
{
    // Each one after each other: the names that both share are not looked up again, and must be the right
    // ones.
    const std::array<std::string, 13> categories = {"",     "a",     "a/b", "a/bc", "a/b/c", "ab",     "/a",
                                                    "a//b", "a//bc", "//a", "b",    "b/a",   "a/b/c/d"};
    int count = 0;
    for (const std::string &first : categories) {
        for (const std::string &second : categories) {
            begin("/1", first);
            addHere("f" + std::to_string(++count), 1);
            begin("/2", second);
            addHere("g" + std::to_string(count), 2);
            expectEqualTrees();
        }
    }
}

TEST_F(Inserter, countsBothFilesAboveALeafThatIsMetTwice)
{
    begin("/1", "C");
    addHere("f", 10);
    begin("/2", "C");
    addHere("f", 30);
    expectEqualTrees();
    EXPECT_EQ(m_root.childNamed("C")->size(), 40U);
    EXPECT_EQ(m_root.childNamed("C")->childNamed("f")->size(), 30U);
    EXPECT_EQ(m_root.childNamed("C")->childNamed("f")->filename(), "/2/f");
}

TEST_F(Inserter, assignsASizeToANodeAboveTheDirectorysOwnInTheRightOrder)
{
    begin("/dir", "A/B/C");
    addHere("f", 100);
    addElsewhere("A/B", "onB", 7); // what is not yet in the sizes above comes before it
    addHere("g", 1000);
    addElsewhere("A", "onA", 3);
    addHere("h", 10000);
    expectEqualTrees();
    EXPECT_EQ(m_root.size(), 11110U);
    EXPECT_EQ(m_root.childNamed("A")->size(), 10003U);
    EXPECT_EQ(m_root.childNamed("A")->childNamed("B")->size(), 11007U);
}

TEST_F(Inserter, assignsASizeToTheDirectorysOwnNode)
{
    begin("/dir", "A/B");
    addHere("f", 100);
    addElsewhere("A/B", "onB", 7);
    addHere("f", 1);
    expectEqualTrees();
    EXPECT_EQ(m_root.childNamed("A")->childNamed("B")->size(), 8U);
}

TEST_F(Inserter, assignsASizeToAnInnerNodeThatAFileOfTheDirectoryEndsAt)
{
    begin("/1/f", "A/f");
    addHere("deep", 100);
    begin("/1", "A");
    addHere("f", 7);
    begin("/1/f", "A/f");
    addHere("deeper", 1);
    expectEqualTrees();
    EXPECT_EQ(m_root.childNamed("A")->childNamed("f")->size(), 8U);
    EXPECT_EQ(m_root.childNamed("A")->childNamed("f")->filename(), "/1/f");
}

TEST_F(Inserter, keepsTheFileNamesOfFilesElsewhereWhateverTheirLeafIsCalled)
{
    begin("/dir", "D");
    addElsewhere("A/same", "same", 1);
    addElsewhere("A/other", "name", 2);
    addElsewhere("", "f", 3);
    addElsewhere("B/", "B", 4);
    addElsewhere("//", "g", 5);
    expectEqualTrees();
    EXPECT_EQ(m_root.childNamed("A")->childNamed("other")->filename(), "/dir/name");
    EXPECT_EQ(m_root.childNamed("A")->childNamed("same")->filename(), "/dir/same");
}

TEST_F(Inserter, raisesOnAnAbsentCategoryPathAndGoesOnAsIfNothingHadBeen)
{
    begin("/dir", "D");
    addHere("f", 1);
    EXPECT_THROW(m_inserter.addElsewhere(std::nullopt, "g", 5), std::invalid_argument);
    addHere("h", 2);
    expectEqualTrees();
}

TEST_F(Inserter, bringsTheSizesUpToDateAtItsEnd)
{
    {
        TreeInserter inserter(m_root);
        inserter.beginDirectory(pathOf("/dir"), "A");
        inserter.addHere("f", 10);
    }
    EXPECT_EQ(m_root.size(), 10U);
}

TEST(RandomInserter, makesTheTreeThatAddingFileByFileMakes)
{
    const std::array<std::string, 11> categories = {"A",  "A/B", "A/B/C", "A/BC", "",       "B",
                                                    "/A", "B/A", "A//B",  "C",    "A/B/C/D"};
    const std::array<std::string, 6> names = {"A", "B", "C", "f", "g", "\xff"};
    for (std::uint64_t seed = 0; seed < 300 * testSize(); ++seed) {
        std::mt19937_64 random(seed);
        const auto below = [&random](std::uint64_t end) { return random() % end; };
        SZANode root;
        NaiveNode model;
        PathTable &paths = root.newPathTable();
        TreeInserter inserter(root);
        for (int directory = 0; directory < 20; ++directory) {
            const std::string category = categories.at(below(categories.size()));
            const std::string path = "/" + std::to_string(directory);
            inserter.beginDirectory(paths.add(nullptr, path), category);
            for (std::uint64_t file = below(8); file > 0; --file) {
                const std::string name = names.at(below(names.size()));
                const std::uint64_t sizeBytes = below(10) == 0 ? random() : below(100);
                if (below(3) != 0) {
                    inserter.addHere(name, sizeBytes);
                    naiveAdd(model, category + "/" + name, path + "/" + name, sizeBytes);
                    continue;
                }
                std::string elsewhere = categories.at(below(categories.size()));
                if (below(2) == 0) {
                    elsewhere += "/" + names.at(below(names.size()));
                }
                inserter.addElsewhere(elsewhere, name, sizeBytes);
                naiveAdd(model, elsewhere, path + "/" + name, sizeBytes);
            }
            if (below(4) == 0) {
                inserter.flush();
                ASSERT_EQ(differenceBetween(model, root), std::nullopt) << "seed " << seed << '\n'
                                                                        << treeText(root);
            }
        }
        inserter.flush();
        ASSERT_EQ(differenceBetween(model, root), std::nullopt) << "seed " << seed << '\n' << treeText(root);
    }
}

} // namespace slicewise
