// The index of packages by itself, the classifier that asks it, and how a list of packages is read.
#include "scan/PackageIndex.h"

#include "tests/scan/DirectoryAgreement.h"
#include "tests/scan/TestSize.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <random>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

std::vector<std::string> namesIn(const std::vector<std::string> &lines)
{
    package_listing::PackageLines reader;
    std::vector<std::string> names;
    for (const std::string &line : lines) {
        if (std::optional<std::string> name = reader.nameIn(line)) {
            names.push_back(std::move(*name));
        }
    }
    return names;
}

std::map<std::string, std::string> contentOf(const PackageIndex &packageIndex)
{
    std::map<std::string, std::string> content;
    packageIndex.forEach(
        [&](const std::string &path, std::string_view package) { content.emplace(path, package); });
    return content;
}

std::string anyDirectory(std::mt19937_64 &random)
{
    static const std::array<std::string, 4> kNames = {"usr", "bin", "a", "private"};
    std::string directory;
    for (std::size_t level = random() % 4; level > 0; --level) {
        directory += "/" + kNames.at(random() % kNames.size());
    }
    return directory.empty() ? "/" : directory;
}

} // namespace

TEST(PackageList, beginsBehindTheLineThatBeginsWithAPlus)
{
    EXPECT_THAT(namesIn({"ii  before 1", "Desired=Unknown", "||/ Name Version",
                         "+++-====-====", "ii  adv-cmds  119-5", "ii  apt 1"}),
                ElementsAre("adv-cmds", "apt"));
    EXPECT_THAT(namesIn({"+", "ii  a 1", "+++ - 2"}), ElementsAre("a", "2"));
}

TEST(PackageList, isEmptyWithoutSuchALine)
{
    EXPECT_THAT(namesIn({"ii  adv-cmds 1", "ii  apt 1", " +++", ""}), ElementsAre());
}

TEST(PackageList, hasTheNameInTheThirdFieldBetweenSingleSpaces)
{
    EXPECT_THAT(namesIn({"+", "ii  adv-cmds  119-5", "rc  gone", "iiR broken 1.0",
                         "ii  libc6:amd64   2.36-9 amd64", "a b c d", "ii\tx  y"}),
                ElementsAre("adv-cmds", "gone", "1.0", "libc6:amd64", "c", "y"));
}

TEST(PackageList, passesByLinesWithFewerFieldsWithoutANameOrWithOneThatLooksLikeAnOption)
{
    EXPECT_THAT(namesIn({"+", "", " ", "ii", "ii ", "ii x", "ii  ", "ii   x", "iiR name  1", "ii  -L",
                         "ii  --root=/", "ii  -"}),
                ElementsAre());
}

TEST(PackageIndex, givesAPathToTheLastThatIsAssigned)
{
    PackageIndex packageIndex;
    packageIndex.assign("/usr/bin/a", "one");
    packageIndex.assign("/usr/bin/b", "one");
    packageIndex.assign("/usr/bin/a", "two");
    EXPECT_EQ(packageIndex.packageOf("/usr/bin/a"), "two");
    EXPECT_EQ(packageIndex.packageOf("/usr/bin/b"), "one");
    EXPECT_EQ(packageIndex.packageOf("/usr/bin"), std::nullopt);
    EXPECT_EQ(packageIndex.packageOf("/usr/bin/"), std::nullopt);
    EXPECT_EQ(packageIndex.pathCount(), 2U);
}

TEST(PackageIndex, takesTheRootAndWhatLiesInIt)
{
    PackageIndex packageIndex;
    EXPECT_FALSE(packageIndex.hasAnyIn("/"));
    packageIndex.assign("/", "base");
    packageIndex.assign("/vmlinuz", "kernel");
    EXPECT_EQ(packageIndex.packageOf("/"), "base");
    EXPECT_EQ(packageIndex.packageOf("/vmlinuz"), "kernel");
    EXPECT_TRUE(packageIndex.hasAnyIn("/"));
    EXPECT_FALSE(packageIndex.hasAnyIn("/vmlinuz"));
    EXPECT_THAT(contentOf(packageIndex), UnorderedElementsAre(Pair("/", "base"), Pair("/vmlinuz", "kernel")));
}

TEST(PackageIndex, keepsItsTextsWhenItIsMoved)
{
    PackageIndex first;
    for (int i = 0; i < 1000; ++i) {
        first.assign(fmt::format("/dir{}/file{}", i % 10, i), fmt::format("package{}", i % 7));
    }
    const PackageIndex second = std::move(first);
    EXPECT_EQ(second.pathCount(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(second.packageOf(fmt::format("/dir{}/file{}", i % 10, i)), fmt::format("package{}", i % 7));
    }
}

TEST(PackageIndex, equalsAMapWhateverIsAssigned)
{
    for (std::uint64_t seed = 0; seed < 50 * testSize(); ++seed) {
        std::mt19937_64 random(seed);
        PackageIndex packageIndex;
        std::map<std::string, std::string> model;
        for (int i = 0; i < 200; ++i) {
            std::string path = anyDirectory(random);
            path += path == "/" ? fmt::format("{}", random() % 5) : fmt::format("/{}", random() % 5);
            const std::string package = fmt::format("p{}", random() % 6);
            packageIndex.assign(path, package);
            model[path] = package;
        }
        ASSERT_EQ(contentOf(packageIndex), model) << "seed " << seed;
        ASSERT_EQ(packageIndex.pathCount(), model.size()) << "seed " << seed;
    }
}

TEST(PackageClassifier, putsThePathAsItStandsBelowItsPackage)
{
    PackageIndex packageIndex;
    packageIndex.assign("/usr/bin/finger", "adv-cmds");
    EXPECT_EQ(classifyPackage(packageIndex, "/usr/bin/finger"), "Cydia Packages/adv-cmds/usr/bin/finger");
}

TEST(PackageClassifier, declinesEveryOtherPath)
{
    PackageIndex packageIndex;
    EXPECT_EQ(classifyPackage(packageIndex, "/usr/bin/finger"), std::nullopt);
    packageIndex.assign("/usr/bin/finger", "adv-cmds");
    for (const std::string path :
         {"/usr/bin/Finger", "/usr/bin/finge", "/usr/bin/fingers", "/usr/bin/finger/a", "/usr/bin",
          "/usr/bin//finger", "/usr/bin/../bin/finger"}) {
        EXPECT_EQ(classifyPackage(packageIndex, path), std::nullopt) << path;
    }
}

TEST(PackageClassifier, saysTheSameOfADirectoryAsOfItsFiles)
{
    for (std::uint64_t seed = 0; seed < 100 * testSize(); ++seed) {
        std::mt19937_64 random(seed);
        PackageIndex packageIndex;
        for (std::size_t i = random() % 20; i > 0; --i) {
            const std::string directory = anyDirectory(random);
            packageIndex.assign((directory == "/" ? "" : directory) + fmt::format("/{}", random() % 3), "p");
        }
        const Classifier classifier{
            .classify = [&](const std::string &path) { return classifyPackage(packageIndex, path); },
            .classifyDirectory =
                [&](const std::string &directory) {
                    return classifyPackageOfDirectory(packageIndex, directory);
                }};
        for (int i = 0; i < 50; ++i) {
            const std::string directory = anyDirectory(random);
            for (const std::string name : {"0", "1", "2", "3"}) {
                ASSERT_EQ(outcomeByDirectory(classifier, directory, name),
                          outcomeByFile(classifier, directory, name))
                    << "seed " << seed << ' ' << directory << ' ' << name;
            }
        }
    }
}

TEST(PackageClassifier, declinesADirectoryThatNoPackageHasAnythingIn)
{
    PackageIndex packageIndex;
    packageIndex.assign("/usr/bin/finger", "adv-cmds");
    EXPECT_EQ(classifyPackageOfDirectory(packageIndex, "/usr").kind, DirectoryAnswer::Kind::Declines);
    EXPECT_EQ(classifyPackageOfDirectory(packageIndex, "/").kind, DirectoryAnswer::Kind::Declines);
    EXPECT_EQ(classifyPackageOfDirectory(packageIndex, "/usr/bin").kind, DirectoryAnswer::Kind::AskByFile);
}

} // namespace slicewise
