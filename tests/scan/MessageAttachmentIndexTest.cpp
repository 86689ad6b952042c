// How message attachments get names of their own, against the slow way to do it.
#include "scan/MediaClassifier.h"
#include "tests/scan/TestSize.h"
#include "tests/support/AttachmentModel.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <random>

namespace slicewise {

namespace {

struct Place {
    std::string path;
    std::string directory;
};

// Few, so that they meet; one is another one's directory.
const std::array<Place, 8> &places()
{
    static const std::array<Place, 8> kPlaces = {
        Place{"/d/a", "/d"}, Place{"/d/b", "/d"},     Place{"/d/c", "/d"}, Place{"/e/a", "/e"},
        Place{"/e/d", "/e"}, Place{"/e/d/x", "/e/d"}, Place{"/f", "/"},    Place{"/", "/"}};
    return kPlaces;
}

void expectEqual(const AttachmentModel &model, const MessageAttachmentIndex &index)
{
    ASSERT_EQ(index.size(), model.names().size());
    for (const auto &[path, name] : model.names()) {
        ASSERT_TRUE(index.contains(path));
        ASSERT_EQ(index.nameOf(path), name) << path;
    }
}

void runSequence(std::uint64_t seed, std::size_t assignments, std::size_t names)
{
    static const std::array<std::string, 12> kNames = {
        "a", "a 2", "a 2 2", "a 02", "a 3", "b", "", " 2", "a 1", "a ", "a 4 ", "a 18446744073709551616"};
    std::mt19937_64 random(seed);
    AttachmentModel model;
    MessageAttachmentIndex index;
    for (std::size_t i = 0; i < assignments; ++i) {
        const Place &place = places().at(random() % places().size());
        const std::string &wanted = kNames.at(random() % names);
        model.assign(place.path, place.directory, wanted);
        index.assign(place.path, wanted);
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", assignment " << i << " of \"" << wanted
                                        << "\" to " << place.path);
        ASSERT_NO_FATAL_FAILURE(expectEqual(model, index));
    }
}

} // namespace

TEST(MessageAttachments, getTheSmallestNumberThatMakesTheirNameUnique)
{
    MessageAttachmentIndex index;
    index.assign("/s/1/a", "IMG_0001.JPG");
    index.assign("/s/2/a", "IMG_0001.JPG");
    index.assign("/s/3/a", "IMG_0001.JPG");
    EXPECT_EQ(index.nameOf("/s/1/a"), "IMG_0001.JPG");
    EXPECT_EQ(index.nameOf("/s/2/a"), "IMG_0001.JPG 2");
    EXPECT_EQ(index.nameOf("/s/3/a"), "IMG_0001.JPG 3");
}

TEST(MessageAttachments, areKnownByTheirDirectoriesToo)
{
    MessageAttachmentIndex index;
    EXPECT_TRUE(index.empty());
    index.assign("/s/1/a", "x");
    EXPECT_EQ(index.nameOf("/s/1"), "x");
    EXPECT_EQ(index.nameOf("/s"), std::nullopt);
    EXPECT_FALSE(index.contains("/s/1/"));
    EXPECT_EQ(index.size(), 2U);
}

TEST(MessageAttachments, makeWayForANameThatSomebodyWantedLiterally)
{
    MessageAttachmentIndex index;
    index.assign("/s/1/a", "IMG_0001.JPG 2");
    index.assign("/s/2/a", "IMG_0001.JPG");
    index.assign("/s/3/a", "IMG_0001.JPG");
    index.assign("/s/4/a", "IMG_0001.JPG 2");
    EXPECT_EQ(index.nameOf("/s/2/a"), "IMG_0001.JPG");
    EXPECT_EQ(index.nameOf("/s/3/a"), "IMG_0001.JPG 3");
    EXPECT_EQ(index.nameOf("/s/4/a"), "IMG_0001.JPG 2 2");
}

TEST(MessageAttachments, giveANameBackWhereALaterRowReplacesThem)
{
    MessageAttachmentIndex index;
    index.assign("/s/1/a", "x");
    index.assign("/s/2/a", "x");
    index.assign("/s/3/a", "x");
    index.assign("/s/2/a", "y"); // frees "x 2"
    index.assign("/s/4/a", "x");
    EXPECT_EQ(index.nameOf("/s/4/a"), "x 2");
    index.assign("/s/5/a", "x");
    EXPECT_EQ(index.nameOf("/s/5/a"), "x 4");
    // Its own name is still taken while a new one is looked for.
    index.assign("/s/1/a", "x");
    EXPECT_EQ(index.nameOf("/s/1/a"), "x 5");
    index.assign("/s/6/a", "x");
    EXPECT_EQ(index.nameOf("/s/6/a"), "x");
}

TEST(MessageAttachments, keepANameWhileTheirDirectoryStillHasIt)
{
    MessageAttachmentIndex index;
    index.assign("/s/a", "x");
    index.assign("/s/a/inner", "y"); // "/s/a" is now called "y", "/s" still "x"
    index.assign("/t/a", "x");
    EXPECT_EQ(index.nameOf("/s"), "x");
    EXPECT_EQ(index.nameOf("/s/a"), "y");
    EXPECT_EQ(index.nameOf("/t/a"), "x 2");
}

TEST(MessageAttachments, areNamedAsTheSlowWayNamesThemWhateverTheOrder)
{
    for (std::uint64_t seed = 0; seed < 2000 * testSize(); ++seed) {
        ASSERT_NO_FATAL_FAILURE(runSequence(seed, 40, 3 + seed % 10));
    }
}

TEST(MessageAttachments, areNamedAsTheSlowWayNamesThemOverManyRows)
{
    for (std::uint64_t seed = 0; seed < 20 * testSize(); ++seed) {
        ASSERT_NO_FATAL_FAILURE(runSequence(1'000'000 + seed, 2000, 12));
    }
}

TEST(MessageAttachments, byTheHundredThousandShareOneName)
{
    constexpr int kCount = 100'000;
    const auto pathOf = [](int number) {
        return fmt::format("/private/var/mobile/Library/SMS/Attachments/{}/IMG", number);
    };
    MessageAttachmentIndex index;
    for (int number = 1; number <= kCount; ++number) {
        index.assign(pathOf(number), "IMG_0001.JPG");
    }
    EXPECT_EQ(index.nameOf(pathOf(1)), "IMG_0001.JPG");
    EXPECT_EQ(index.nameOf(pathOf(kCount)), "IMG_0001.JPG 100000");
    // Given back and wanted again, they are found again from the front.
    for (int number = 2; number <= kCount; ++number) {
        index.assign(pathOf(number), fmt::format("other {:06}", number));
    }
    for (int number = 2; number <= kCount; ++number) {
        index.assign(pathOf(kCount + number), "IMG_0001.JPG");
    }
    EXPECT_EQ(index.nameOf(pathOf(kCount + 2)), "IMG_0001.JPG 2");
    EXPECT_EQ(index.nameOf(pathOf(2 * kCount)), "IMG_0001.JPG 100000");
}

} // namespace slicewise
