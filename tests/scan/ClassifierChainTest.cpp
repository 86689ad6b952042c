// The order in which classifiers are asked, what happens when one raises or all decline, and answers for
// whole directories.
#include "scan/Classifier.h"
#include "scan/ScanTables.h"
#include "tests/scan/PropertyListText.h"
#include "tests/scan/RandomChain.h"
#include "tests/scan/Scanned.h"
#include "tests/scan/TestSize.h"
#include "tests/support/ChainOfScan.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/TreeText.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

namespace slicewise {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Chain : public ::testing::Test {
protected:
    /// Eight that decline, each noting that it was asked.
    Chain()
    {
        for (std::size_t i = 0; i < kClassifierCount; ++i) {
            Classifier classifier;
            classifier.classify = [this, i](const std::string &) {
                m_asked.push_back(i);
                return std::nullopt;
            };
            m_chain.push_back(std::move(classifier));
        }
    }

    void letAnswer(std::size_t index, const std::string &category)
    {
        m_chain[index].classify = [this, index, category](const std::string &) {
            m_asked.push_back(index);
            return category;
        };
    }
    void letRaise(std::size_t index, const std::string &what)
    {
        m_chain[index].classify = [this, index, what](const std::string &) -> std::optional<std::string> {
            m_asked.push_back(index);
            throw std::runtime_error(what);
        };
    }

    static DirectoryAnswer declines() { return {.kind = DirectoryAnswer::Kind::Declines, .category = {}}; }
    static DirectoryAnswer takes(const std::string &category)
    {
        return {.kind = DirectoryAnswer::Kind::Takes, .category = category};
    }

    ClassifierChain m_chain;
    std::vector<std::size_t> m_asked;
    std::vector<std::string> m_lines;
    Log m_log{[this](std::string_view line) { m_lines.emplace_back(line); }};
};

} // namespace

TEST(ScanChain, hasItsEightPlacesInTheFixedOrder)
{
    const MemoryDevice device;
    EXPECT_EQ(ChainOfScan(device).chain().size(), kClassifierCount);
    EXPECT_EQ(kClassifierCount, 8U);
    EXPECT_EQ(static_cast<int>(ClassifierIndex::Package), 0);
    EXPECT_EQ(static_cast<int>(ClassifierIndex::ContainerApp), 1);
    EXPECT_EQ(static_cast<int>(ClassifierIndex::LegacyApp), 2);
    EXPECT_EQ(static_cast<int>(ClassifierIndex::Ringtone), 3);
    EXPECT_EQ(static_cast<int>(ClassifierIndex::MediaItem), 4);
    EXPECT_EQ(static_cast<int>(ClassifierIndex::MessageAttachment), 5);
    EXPECT_EQ(static_cast<int>(ClassifierIndex::Location), 6);
    EXPECT_EQ(static_cast<int>(ClassifierIndex::Other), 7);
}

TEST(ScanChain, asksEachTableInItsPlaceAndNowhereElse)
{
    const MemoryDevice device;
    Log log([](std::string_view) {});
    ScanTables tables(device, log, nullptr, noPackageTool());
    const ClassifierChain chain = makeClassifierChain(tables);
    const std::string media = "/private/var/mobile/Media/iTunes_Control/";
    tables.packageIndex.assign("/usr/bin/finger", "adv-cmds");
    tables.ringtoneIndex = PropertyList::parse(xmlDictionary(
        "Ringtones", "<dict><key>a</key><dict><key>Name</key><string>Bell</string></dict></dict>"));
    tables.mediaIndex["iTunes_Control/Music/a"] = {.title = "Song", .kind = "Music"};
    tables.smsAttachmentIndex.assign("/private/var/mobile/Library/SMS/a/b", "Beach");
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"/usr/bin/finger", "Cydia Packages/adv-cmds/usr/bin/finger"},
        {"/private/var/mobile/Containers/Data/Application/1/a", "Application Data/1/a"},
        {"/private/var/mobile/Applications/1/a", "Application Data/1/a"},
        {media + "Ringtones/a", "iTunes/Ringtones/Bell"},
        {media + "Music/a", "iTunes/Music/Song"},
        {"/private/var/mobile/Library/SMS/a/b", "Message Attachments/Beach"}};
    for (std::size_t place = 0; place < expected.size(); ++place) {
        const auto &[path, category] = expected[place];
        for (std::size_t index = 0; index < expected.size(); ++index) {
            EXPECT_EQ(chain[index].classify(path), index == place ? std::optional(category) : std::nullopt)
                << index << ' ' << path;
        }
        EXPECT_EQ(classifyFile(chain, path, log), category);
    }
}

TEST(ScanChain, letsTheFirstOfTwoTablesThatKnowAFileDecide)
{
    const MemoryDevice device;
    Log log([](std::string_view) {});
    ScanTables tables(device, log, nullptr, noPackageTool());
    const ClassifierChain chain = makeClassifierChain(tables);
    const std::string path = "/private/var/mobile/Media/iTunes_Control/Ringtones/a";
    EXPECT_EQ(classifyFile(chain, path, log), "iTunes/Ringtones/a");
    tables.mediaIndex["iTunes_Control/Ringtones/a"] = {.title = "Song", .kind = "Music"};
    EXPECT_EQ(classifyFile(chain, path, log), "iTunes/Music/Song");
    tables.ringtoneIndex = PropertyList::parse(xmlDictionary(
        "Ringtones", "<dict><key>a</key><dict><key>Name</key><string>Bell</string></dict></dict>"));
    EXPECT_EQ(classifyFile(chain, path, log), "iTunes/Ringtones/Bell");
    tables.packageIndex.assign(path, "tones");
    EXPECT_EQ(classifyFile(chain, path, log), "Cydia Packages/tones" + path);
}

TEST(ScanChain, endsInTheLocationsAndInTheOneThatTakesAll)
{
    const MemoryDevice device;
    const ChainOfScan own(device);
    const ClassifierChain &chain = own.chain();
    EXPECT_EQ(chain[6].classify("/usr/lib/a"), "Operating System/usr/lib/a");
    EXPECT_EQ(chain[6].classify("/etc/a"), std::nullopt);
    EXPECT_EQ(chain[6].classifyDirectory("/usr/lib").category, "Operating System/usr/lib");
    EXPECT_EQ(chain[6].classifyDirectory("/etc").kind, DirectoryAnswer::Kind::Declines);
    EXPECT_EQ(chain[7].classify("/usr/lib/a"), "Others/usr/lib/a");
    EXPECT_EQ(chain[7].classifyDirectory("/usr/lib").category, "Others/usr/lib");
}

TEST(ScanChain, declinesWholeDirectoriesInFrontOfTheLocationsWhereItsTablesAreEmpty)
{
    const MemoryDevice device;
    const ChainOfScan own(device);
    for (const std::string directory :
         {"/", "/usr/bin", "/Applications/Maps.app", "/private/var/mobile/Media/iTunes_Control/Ringtones",
          "/private/var/mobile/Library/SMS/Attachments/00"}) {
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_EQ(own.chain()[i].classifyDirectory(directory).kind, DirectoryAnswer::Kind::Declines)
                << i << " " << directory;
        }
        EXPECT_TRUE(planDirectory(own.chain(), directory).decidedForAll()) << directory;
    }
}

TEST_F(Chain, asksInOrderAndStopsAtTheFirstAnswer)
{
    letAnswer(3, "Three/a");
    letAnswer(5, "Five/a");
    EXPECT_EQ(classifyFile(m_chain, "/a", m_log), "Three/a");
    EXPECT_THAT(m_asked, ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(m_lines, IsEmpty());
}

TEST_F(Chain, takesAnEmptyCategoryPathForAnAnswer)
{
    letAnswer(2, "");
    letAnswer(3, "Three");
    EXPECT_EQ(classifyFile(m_chain, "/a", m_log), "");
}

TEST_F(Chain, logsWhatEachClassifierRaisesAndTriesTheNext)
{
    std::vector<std::string> expected;
    for (std::size_t i = 0; i < kClassifierCount; ++i) {
        letRaise(i, fmt::format("Failure of {}", i));
        expected.push_back(
            fmt::format("Failure of {} raised for file /dir/a b while using classifier {}", i, i));
    }
    expected.emplace_back("Failed to get node for (null)!");
    EXPECT_EQ(classifyFile(m_chain, "/dir/a b", m_log), std::nullopt);
    EXPECT_EQ(m_lines, expected);
    EXPECT_THAT(m_asked, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
}

TEST_F(Chain, goesOnBehindAClassifierThatRaised)
{
    letRaise(1, "No");
    letAnswer(6, "Six/a");
    EXPECT_EQ(classifyFile(m_chain, "/a", m_log), "Six/a");
    EXPECT_THAT(m_asked, ElementsAre(0, 1, 2, 3, 4, 5, 6));
    EXPECT_THAT(m_lines, ElementsAre("No raised for file /a while using classifier 1"));
}

TEST_F(Chain, logsWhereNobodyAnswersOnceForEachFile)
{
    EXPECT_EQ(classifyFile(m_chain, "/a", m_log), std::nullopt);
    EXPECT_EQ(classifyFile(m_chain, "/b", m_log), std::nullopt);
    EXPECT_THAT(m_lines, ElementsAre("Failed to get node for (null)!", "Failed to get node for (null)!"));
}

TEST_F(Chain, plansToAskThoseThatDoNotAnswerForTheDirectory)
{
    m_chain[0].classifyDirectory = [](const std::string &) { return declines(); };
    m_chain[2].classifyDirectory = [](const std::string &) { return DirectoryAnswer(); };
    m_chain[4].classifyDirectory = [](const std::string &directory) { return takes("Four" + directory); };
    m_chain[5].classifyDirectory = [](const std::string &) { return takes("Five"); };
    const DirectoryPlan plan = planDirectory(m_chain, "/dir");
    EXPECT_THAT(plan.askByFile, ElementsAre(1, 2, 3));
    EXPECT_TRUE(plan.hasCategory);
    EXPECT_EQ(plan.category, "Four/dir");
    EXPECT_FALSE(plan.decidedForAll());

    EXPECT_EQ(classifyFileByPlan(m_chain, plan, "/dir/a", "a", m_log), "Four/dir/a");
    EXPECT_THAT(m_asked, ElementsAre(1, 2, 3));
    letAnswer(2, "Two/a");
    m_asked.clear();
    EXPECT_EQ(classifyFileByPlan(m_chain, plan, "/dir/a", "a", m_log), "Two/a");
    EXPECT_THAT(m_asked, ElementsAre(1, 2));
    EXPECT_THAT(m_lines, IsEmpty());
}

TEST_F(Chain, isDecidedForAllWhereEverybodyInFrontDeclinesTheDirectory)
{
    for (Classifier &classifier : m_chain) {
        classifier.classifyDirectory = [](const std::string &) { return declines(); };
    }
    EXPECT_FALSE(planDirectory(m_chain, "/dir").decidedForAll());
    m_chain[7].classifyDirectory = [](const std::string &) { return takes(""); };
    const DirectoryPlan plan = planDirectory(m_chain, "/dir");
    EXPECT_TRUE(plan.decidedForAll());
    EXPECT_EQ(classifyFileByPlan(m_chain, plan, "/dir/a", "a", m_log), "/a");
    EXPECT_THAT(m_asked, IsEmpty());
}

TEST_F(Chain, logsByPlanWhatItLogsFileByFile)
{
    m_chain[0].classifyDirectory = [](const std::string &) { return declines(); };
    letRaise(5, "Five can't");
    const DirectoryPlan plan = planDirectory(m_chain, "/dir");
    EXPECT_EQ(classifyFileByPlan(m_chain, plan, "/dir/a", "a", m_log), std::nullopt);
    EXPECT_THAT(m_lines, ElementsAre("Five can't raised for file /dir/a while using classifier 5",
                                     "Failed to get node for (null)!"));
}

TEST_F(Chain, answersByPlanWhatItAnswersFileByFileWhateverTheChain)
{
    for (std::uint64_t seed = 0; seed < 200 * testSize(); ++seed) {
        const ClassifierChain chain = makeRandomChain(seed, DirectoryAnswers::Given);
        for (int number = 0; number < 20; ++number) {
            const std::string directory = number == 0 ? "/" : fmt::format("/dir{}/a", number);
            const DirectoryPlan plan = planDirectory(chain, directory);
            for (const std::string name : {"a", "b", "\xff"}) {
                const std::string path = (number == 0 ? "" : directory) + "/" + name;
                m_lines.clear();
                const auto fileByFile = classifyFile(chain, path, m_log);
                const auto linesFileByFile = m_lines;
                m_lines.clear();
                ASSERT_EQ(classifyFileByPlan(chain, plan, path, name, m_log), fileByFile)
                    << "seed " << seed << ' ' << asciiText(path);
                ASSERT_EQ(m_lines, linesFileByFile) << "seed " << seed << ' ' << asciiText(path);
            }
        }
    }
}

TEST_F(Chain, inAScanLosesOnlyTheFileThatNobodyAnswersFor)
{
    const MemoryDevice device = {
        {"/a", 1}, {"/nobody's", 2}, {"/b", 4}, {"/dir/nobody's", 8}, {"/dir/c", 16}};
    m_chain[7].classify = [](const std::string &path) -> std::optional<std::string> {
        if (path.ends_with("nobody's")) {
            throw std::runtime_error("Nobody's");
        }
        return "Others" + path;
    };
    const Scanned scanned = scan(device, {.chain = &m_chain});
    EXPECT_EQ(treeText(*scanned.root), "21 bytes\n"
                                       "\"Others\" 21 #0\n"
                                       "  \"dir\" 16 #2\n"
                                       "    \"c\" 16 #0 \"/dir/c\"\n"
                                       "  \"b\" 4 #1 \"/b\"\n"
                                       "  \"a\" 1 #0 \"/a\"\n");
    EXPECT_THAT(scanned.classifierLines,
                ElementsAre("Nobody's raised for file /nobody's while using classifier 7",
                            "Failed to get node for (null)!",
                            "Nobody's raised for file /dir/nobody's while using classifier 7",
                            "Failed to get node for (null)!"));
    EXPECT_THAT(
        scanned.addingLines,
        ElementsAre("A file can't be added under an absent category path raised while adding file /nobody's",
                    "A file can't be added under an absent category path raised while adding file "
                    "/dir/nobody's"));
    EXPECT_THAT(failures(scanned.report), IsEmpty());
}

TEST_F(Chain, inAScanCountsTheFilesThatAreInTheTree)
{
    const MemoryDevice device = {{"/a", 1}, {"/nobody's", 2}, {"/b", 4}};
    m_chain[7].classify = [](const std::string &path) -> std::optional<std::string> {
        return path == "/nobody's" ? std::nullopt : std::optional("Others" + path);
    };
    ScanMonitor monitor;
    const Scanned scanned = scan(device, {.chain = &m_chain, .monitor = &monitor});
    EXPECT_EQ(scanned.report.files, 2U);
    EXPECT_EQ(monitor.snapshot().files, 2U);
}

} // namespace slicewise
