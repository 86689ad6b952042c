// Media items, ringtones and message attachments: what the rows of the databases become, and where the files
// go.
#include "scan/MediaClassifier.h"

#include "tests/scan/DirectoryAgreement.h"
#include "tests/scan/PropertyListText.h"
#include "tests/scan/TestSize.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <stdexcept>

namespace slicewise {

namespace {

using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char *kMedia = "/private/var/mobile/Media/";
constexpr const char *kRingtones = "/private/var/mobile/Media/iTunes_Control/Ringtones/";

class MediaLibrary : public ::testing::Test {
protected:
    void row(const char *location, const char *title, const char *path)
    {
        const std::array<const char *, 3> columns = {location, title, path};
        mediaLibraryRowCallback(m_index, m_log, columns);
    }

    MediaIndex m_index;
    std::vector<std::string> m_lines;
    Log m_log{[this](std::string_view line) { m_lines.emplace_back(line); }};
};

class Attachments : public ::testing::Test {
protected:
    void row(const char *filename, const char *transferName)
    {
        const std::array<const char *, 2> columns = {filename, transferName};
        messageAttachmentRowCallback(m_index, columns);
    }
    std::optional<std::string> classify(const std::string &path)
    {
        return classifyMessageAttachment(m_index, path);
    }

    MessageAttachmentIndex m_index;
};

std::optional<PropertyList> ringtones(const std::string &content)
{
    std::optional<PropertyList> list =
        PropertyList::parse(xmlList("<dict><key>Ringtones</key>" + content + "</dict>"));
    EXPECT_TRUE(list.has_value());
    return list;
}
std::optional<PropertyList> oneRingtone(const std::string &file, const std::string &entry)
{
    return ringtones("<dict><key>" + file + "</key>" + entry + "</dict>");
}

Classifier classifierOf(auto byFile, auto byDirectory, const auto &table)
{
    return {.classify = [byFile, &table](const std::string &path) { return byFile(table, path); },
            .classifyDirectory = [byDirectory,
                                  &table](const std::string &path) { return byDirectory(table, path); }};
}

std::string anyDirectory(std::mt19937_64 &random)
{
    static const std::array<std::string, 9> kPlaces = {"",
                                                       "/private/var/mobile",
                                                       "/private/var/mobile/Library",
                                                       "/private/var/mobile/Library/SMS",
                                                       "/private/var/mobile/Library/SMS/Attachments",
                                                       "/private/var/mobile/Library/SMSfoo",
                                                       "/private/var/mobile/Media",
                                                       "/private/var/mobile/Media/iTunes_Control",
                                                       "/private/var/mobile/Media/iTunes_Control/Ringtones"};
    static const std::array<std::string, 7> kNames = {"SMS",   "SMSfoo", "a",      "Ringtones",
                                                      "Music", "F00",    "Library"};
    std::string directory = kPlaces.at(random() % kPlaces.size());
    for (std::size_t level = random() % 4; level > 0; --level) {
        directory += "/" + kNames.at(random() % kNames.size());
    }
    return directory.empty() ? "/" : directory;
}

void expectAgreement(const Classifier &classifier, std::uint64_t seed)
{
    std::mt19937_64 random(seed);
    for (std::uint64_t i = 0; i < 1000 * testSize(); ++i) {
        const std::string directory = anyDirectory(random);
        for (const std::string name : {"a", "SMS", "SMSfoo", "b.m4r"}) {
            ASSERT_EQ(outcomeByDirectory(classifier, directory, name),
                      outcomeByFile(classifier, directory, name))
                << "seed " << seed << ' ' << directory << ' ' << name;
        }
    }
}

} // namespace

// ---- the media library

TEST_F(MediaLibrary, keepsTheTitleAndTheSecondComponentOfTheBasePath)
{
    row("iTunes_Control/Music/F12/ABCD.m4a", "Some Song", "iTunes_Control/Music/F12");
    row("iTunes_Control/Podcasts/x", "Talk", "iTunes_Control/Podcasts");
    row("iTunes_Control//y", "Nothing", "iTunes_Control/");
    EXPECT_EQ(m_index.at("iTunes_Control/Music/F12/ABCD.m4a").title, "Some Song");
    EXPECT_EQ(m_index.at("iTunes_Control/Music/F12/ABCD.m4a").kind, "Music");
    EXPECT_EQ(m_index.at("iTunes_Control/Podcasts/x").kind, "Podcasts");
    EXPECT_EQ(m_index.at("iTunes_Control//y").kind, "");
    EXPECT_THAT(m_lines, IsEmpty());
}

TEST_F(MediaLibrary, letsALaterRowReplaceAnEarlierOne)
{
    row("l", "Old", "a/Music");
    row("l", "New", "a/Movies");
    EXPECT_EQ(m_index.size(), 1U);
    EXPECT_EQ(m_index.at("l").title, "New");
    EXPECT_EQ(m_index.at("l").kind, "Movies");
}

TEST_F(MediaLibrary, logsARowWithANullAndSkipsIt)
{
    row(nullptr, "Title", "a/Music");
    row("l", nullptr, "a/Music");
    row("l", "Title", nullptr);
    row(nullptr, nullptr, nullptr);
    EXPECT_TRUE(m_index.empty());
    ASSERT_EQ(m_lines.size(), 4U);
    EXPECT_THAT(m_lines, Each(StartsWith("Unreasonable DB entry (")));
    EXPECT_THAT(m_lines[0], EndsWith("): path||'/'||location = '(null)', title = 'Title', path = 'a/Music'"));
    EXPECT_THAT(m_lines[1], EndsWith("): path||'/'||location = 'l', title = '(null)', path = 'a/Music'"));
    EXPECT_THAT(m_lines[2], EndsWith("): path||'/'||location = 'l', title = 'Title', path = '(null)'"));
    EXPECT_THAT(m_lines[3], EndsWith("): path||'/'||location = '(null)', title = '(null)', path = '(null)'"));
}

TEST_F(MediaLibrary, logsABasePathWithoutASlashAndSkipsTheRow)
{
    row("l", "Title", "Music");
    row("l", "Title", "");
    EXPECT_TRUE(m_index.empty());
    ASSERT_EQ(m_lines.size(), 2U);
    EXPECT_THAT(m_lines[0], StartsWith("Unreasonable DB entry ("));
    EXPECT_THAT(m_lines[0], EndsWith("): path||'/'||location = 'l', title = 'Title', path = 'Music'"));
}

TEST_F(MediaLibrary, logsBytesThatAreNoTextAndSkipsTheRow)
{
    row("l\xff", "Title", "a/Music");
    row("l", "Title\xff", "a/Music");
    row("l", "Title", "a/Music\xff");
    EXPECT_TRUE(m_index.empty());
    ASSERT_EQ(m_lines.size(), 3U);
    EXPECT_THAT(m_lines, Each(StartsWith("Unreasonable DB entry (")));
}

TEST_F(MediaLibrary, goesOnBehindARowThatItCannotUse)
{
    row("l", nullptr, "a/Music");
    row("m", "Title", "a/Music");
    EXPECT_EQ(m_index.at("m").title, "Title");
}

TEST_F(MediaLibrary, keepsWhatWasThereWhereALaterRowCannotBeUsed)
{
    row("l", "Title", "a/Music");
    row("l", "Other", "Music");
    EXPECT_EQ(m_index.at("l").title, "Title");
}

TEST_F(MediaLibrary, namesFilesByTheirTitleBelowTheirKind)
{
    row("iTunes_Control/Music/F12/ABCD.m4a", "Some Song", "iTunes_Control/Music/F12");
    row("iTunes_Control/Music/F13/EFGH.m4a", "Some Song", "iTunes_Control/Music/F13");
    row("iTunes_Control/Music/F14/x", "", "iTunes_Control/Music/F14");
    row("iTunes_Control/Music/F15/x", "Either/Or", "iTunes_Control/Music/F15");
    const auto classify = [&](const std::string &path) { return classifyMediaItem(m_index, kMedia + path); };
    EXPECT_EQ(classify("iTunes_Control/Music/F12/ABCD.m4a"), "iTunes/Music/Some Song");
    EXPECT_EQ(classify("iTunes_Control/Music/F13/EFGH.m4a"), "iTunes/Music/Some Song");
    EXPECT_EQ(classify("iTunes_Control/Music/F14/x"), "iTunes/Music/");
    EXPECT_EQ(classify("iTunes_Control/Music/F15/x"), "iTunes/Music/Either/Or");
}

TEST_F(MediaLibrary, declinesFilesThatItDoesNotListOrThatLieElsewhere)
{
    row("iTunes_Control/Music/F12/a", "Song", "iTunes_Control/Music/F12");
    row("DCIM/a", "Photo", "DCIM/x");
    EXPECT_EQ(classifyMediaItem(m_index, "/private/var/mobile/Media/iTunes_Control/Music/F12/b"),
              std::nullopt);
    EXPECT_EQ(classifyMediaItem(m_index, "/private/var/mobile/Media/iTunes_Control/Music/F12/A"),
              std::nullopt);
    EXPECT_EQ(classifyMediaItem(m_index, "/private/var/mobile/Media/DCIM/a"), std::nullopt);
    EXPECT_EQ(classifyMediaItem(m_index, "iTunes_Control/Music/F12/a"), std::nullopt);
    EXPECT_EQ(classifyMediaItem(m_index, "/var/mobile/Media/iTunes_Control/Music/F12/a"), std::nullopt);
}

TEST_F(MediaLibrary, saysTheSameOfADirectoryAsOfItsFiles)
{
    const auto classifier = classifierOf(classifyMediaItem, classifyMediaItemOfDirectory, m_index);
    expectAgreement(classifier, 1);
    EXPECT_EQ(classifier.classifyDirectory("/private/var/mobile/Media/iTunes_Control/Music").kind,
              DirectoryAnswer::Kind::Declines);
    for (const char *location :
         {"iTunes_Control/a", "iTunes_Control/Music/F00/a", "iTunes_Control/Ringtones/b.m4r"}) {
        row(location, "T", "iTunes_Control/Music");
    }
    expectAgreement(classifier, 2);
    EXPECT_EQ(classifier.classifyDirectory("/usr/bin").kind, DirectoryAnswer::Kind::Declines);
}

// ---- ringtones

TEST(Ringtones, areNamedByTheList)
{
    const auto list = oneRingtone("ABCD.m4r", "<dict><key>Name</key><string>Marimba</string></dict>");
    EXPECT_EQ(classifyRingtone(list, std::string(kRingtones) + "ABCD.m4r"), "iTunes/Ringtones/Marimba");
    EXPECT_EQ(std::string(kRingtones).size(), 51U);
}

TEST(Ringtones, withoutANameReadAsNull)
{
    EXPECT_EQ(classifyRingtone(oneRingtone("a", "<dict/>"), std::string(kRingtones) + "a"),
              "iTunes/Ringtones/(null)");
}

TEST(Ringtones, areNamedByANumberInItsDigits)
{
    const auto list = oneRingtone("a", "<dict><key>Name</key><integer>1999</integer></dict>");
    EXPECT_EQ(classifyRingtone(list, std::string(kRingtones) + "a"), "iTunes/Ringtones/1999");
}

TEST(Ringtones, declineWithoutAListWithoutItsKeyAndElsewhere)
{
    const std::string path = std::string(kRingtones) + "a";
    EXPECT_EQ(classifyRingtone(std::nullopt, path), std::nullopt);
    EXPECT_EQ(classifyRingtone(PropertyList::parse(xmlList("<dict/>")), path), std::nullopt);
    EXPECT_EQ(classifyRingtone(PropertyList::parse(xmlDictionary("ringtones", "<dict/>")), path),
              std::nullopt);
    const auto list = oneRingtone("a", "<dict><key>Name</key><string>Marimba</string></dict>");
    EXPECT_EQ(classifyRingtone(list, std::string(kRingtones) + "b"), std::nullopt);
    EXPECT_EQ(classifyRingtone(list, std::string(kRingtones) + "a/a"), std::nullopt);
    EXPECT_EQ(classifyRingtone(list, std::string(kRingtones)), std::nullopt);
    EXPECT_EQ(classifyRingtone(list, "/private/var/mobile/Media/iTunes_Control/Ringtones"), std::nullopt);
    EXPECT_EQ(classifyRingtone(list, "/private/var/mobile/Media/iTunes_Control/ringtones/a"), std::nullopt);
}

TEST(Ringtones, raiseWhereAnEntryOrTheirListHasAnotherShape)
{
    const std::string path = std::string(kRingtones) + "a";
    for (const std::string entry :
         {"<string>Marimba</string>", "<array/>", "<integer>1</integer>", "<true/>"}) {
        EXPECT_THROW(static_cast<void>(classifyRingtone(oneRingtone("a", entry), path)), std::exception)
            << entry;
        EXPECT_THROW(static_cast<void>(classifyRingtone(ringtones(entry), path)), std::exception) << entry;
        EXPECT_THROW(static_cast<void>(classifyRingtone(PropertyList::parse(xmlList(entry)), path)),
                     std::exception)
            << entry;
    }
    EXPECT_EQ(classifyRingtone(ringtones("<array/>"), "/private/var/a"), std::nullopt);
}

TEST(Ringtones, saysTheSameOfADirectoryAsOfItsFilesAndWhatTheyRaise)
{
    const std::array<std::optional<PropertyList>, 4> lists = {
        std::nullopt, oneRingtone("b.m4r", "<dict><key>Name</key><string>Marimba</string></dict>"),
        oneRingtone("a", "<string>x</string>"), ringtones("<array/>")};
    for (const auto &list : lists) {
        expectAgreement(classifierOf(classifyRingtone, classifyRingtoneOfDirectory, list), 3);
    }
}

// ---- message attachments

TEST_F(Attachments, areEnteredUnderTheirPathOnTheDevice)
{
    row("~/Library/SMS/Attachments/00/a.jpg", "A");
    row("/var/mobile/Library/SMS/Attachments/01/b.jpg", "B");
    row("/private/var/mobile/Library/SMS/Attachments/02/c.jpg", "C");
    row("/various/d", "D");
    row("relative/e", "E");
    row("~root/f", "F");
    EXPECT_EQ(m_index.nameOf("/private/var/mobile/Library/SMS/Attachments/00/a.jpg"), "A");
    EXPECT_EQ(m_index.nameOf("/private/var/mobile/Library/SMS/Attachments/00"), "A");
    EXPECT_EQ(m_index.nameOf("/private/var/mobile/Library/SMS/Attachments/01/b.jpg"), "B");
    EXPECT_EQ(m_index.nameOf("/private/var/mobile/Library/SMS/Attachments/02/c.jpg"), "C");
    EXPECT_EQ(m_index.nameOf("/private/various/d"), "D");
    EXPECT_EQ(m_index.nameOf("relative/e"), "E");
    EXPECT_EQ(m_index.nameOf("relative"), "E");
    EXPECT_EQ(m_index.nameOf("/private/var/mobileroot/f"), "F");
}

TEST_F(Attachments, withoutAFileNameAreSkipped)
{
    row(nullptr, "A");
    row(nullptr, nullptr);
    row("/a\xff", "A");
    EXPECT_TRUE(m_index.empty());
}

TEST_F(Attachments, withoutATransferNameGoByTheLastComponentOfTheirFileName)
{
    row("~/Library/SMS/Attachments/00/a.jpg", nullptr);
    row("~", nullptr);
    row("/x/b.jpg", "\xff");
    EXPECT_EQ(m_index.nameOf("/private/var/mobile/Library/SMS/Attachments/00/a.jpg"), "a.jpg");
    EXPECT_EQ(m_index.nameOf("/private/var/mobile"), "~");
    EXPECT_EQ(m_index.nameOf("/x/b.jpg"), "b.jpg");
}

TEST_F(Attachments, withAnEmptyTransferNameKeepIt)
{
    row("/x/a", "");
    row("/y/a", "");
    EXPECT_EQ(m_index.nameOf("/x/a"), "");
    EXPECT_EQ(m_index.nameOf("/y/a"), " 2");
}

TEST_F(Attachments, getNamesOfTheirOwn)
{
    row("~/Library/SMS/Attachments/00/IMG_0001.JPG", "IMG_0001.JPG");
    row("~/Library/SMS/Attachments/01/IMG_0001.JPG", "IMG_0001.JPG");
    row("/var/mobile/Library/SMS/Attachments/02/IMG_0001.JPG", "IMG_0001.JPG");
    EXPECT_EQ(classify("/private/var/mobile/Library/SMS/Attachments/00/IMG_0001.JPG"),
              "Message Attachments/IMG_0001.JPG");
    EXPECT_EQ(classify("/private/var/mobile/Library/SMS/Attachments/01/IMG_0001.JPG"),
              "Message Attachments/IMG_0001.JPG 2");
    EXPECT_EQ(classify("/private/var/mobile/Library/SMS/Attachments/02/IMG_0001.JPG"),
              "Message Attachments/IMG_0001.JPG 3");
}

TEST_F(Attachments, haveTheFilesBesideThemForPreviews)
{
    row("~/Library/SMS/Attachments/00/00/ID/IMG_0001.JPG", "Beach");
    const std::string directory = "/private/var/mobile/Library/SMS/Attachments/00/00/ID";
    EXPECT_EQ(classify(directory + "/IMG_0001.JPG"), "Message Attachments/Beach");
    EXPECT_EQ(classify(directory + "/IMG_0001-preview-left"),
              "Message Attachments/Previews/IMG_0001-preview-left");
    EXPECT_EQ(classify(directory + "/deeper/x"), std::nullopt);
    EXPECT_EQ(classify("/private/var/mobile/Library/SMS/Attachments/00/00/x"), std::nullopt);
}

TEST_F(Attachments, declineTheDatabaseItself)
{
    row("~/Library/SMS/Attachments/00/a", "A");
    EXPECT_EQ(classify("/private/var/mobile/Library/SMS/sms.db"), std::nullopt);
    EXPECT_EQ(classify("/private/var/mobile/Library/SMS/sms.db-wal"), std::nullopt);
}

TEST_F(Attachments, lieInAPlaceThatHasNoSlashAtItsEnd)
{
    row("~/Library/SMSfoo", "Foo");
    row("~/Library/SMS.old/a", "Old");
    row("~/Media/b", "Elsewhere");
    EXPECT_EQ(classify("/private/var/mobile/Library/SMSfoo"), "Message Attachments/Foo");
    EXPECT_EQ(classify("/private/var/mobile/Library/SMSbar"), "Message Attachments/Previews/SMSbar");
    EXPECT_EQ(classify("/private/var/mobile/Library/SMS.old/a"), "Message Attachments/Old");
    EXPECT_EQ(classify("/private/var/mobile/Library/Other"), std::nullopt);
    EXPECT_EQ(classify("/private/var/mobile/Media/b"), std::nullopt);
}

TEST_F(Attachments, saysTheSameOfADirectoryAsOfItsFiles)
{
    const auto classifier =
        classifierOf(classifyMessageAttachment, classifyMessageAttachmentOfDirectory, m_index);
    expectAgreement(classifier, 4);
    for (const char *filename : {"~/Library/SMSfoo", "~/Library/SMS/a", "~/Library/SMS/Attachments/a/F00/a",
                                 "~/Library/SMS/Attachments/SMS", "~/Library/SMSfoo/Library/SMS"}) {
        row(filename, "x");
        expectAgreement(classifier, 5);
    }
    EXPECT_EQ(classifier.classifyDirectory("/usr/bin").kind, DirectoryAnswer::Kind::Declines);
}

TEST_F(Attachments, takesRowsWithFewerColumnsForRowsOfNulls)
{
    messageAttachmentRowCallback(m_index, {});
    EXPECT_TRUE(m_index.empty());
}

} // namespace slicewise
