#include "platform/PhotoLibrary.h"

#include "tests/platform/StandInModules.h"
#include "tests/support/InChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr const char *kUrl = "assets-library://asset/?id=0A1B2C3D-0001-0203-0405-060708090A0B";

/// What became of one deletion: each call of the handler, and the lines in the log.
struct Outcome {
    std::vector<std::pair<bool, std::string>> answers;
    std::vector<std::string> lines;
    Log log{[this](std::string_view line) { lines.emplace_back(line); }};

    PhotoLibrary::Handler handler()
    {
        return [this](bool success, const std::string &error) { answers.emplace_back(success, error); };
    }
};

void deleteAsset(Outcome &outcome, const std::string &url = kUrl)
{
    systemPhotoLibrary(outcome.log)->deleteAssetWithURLHandler(url, outcome.handler());
}

/// With both stand-ins loaded, in a child.
using WithLibrary = std::function<void(const FoundationRecord &, LibraryRecord &)>;
void withLibrary(const WithLibrary &body)
{
    inChild([&body] {
        const FoundationRecord &foundation = loadFoundation();
        body(foundation, loadPhotoLibrary());
        // Whatever was made has been given back, and every class was ready before its first message.
        EXPECT_EQ(foundation.poolsOpen, 0);
        EXPECT_EQ(foundation.objectsAlive, 0);
        EXPECT_EQ(foundation.objectsWithoutPool, 0);
        EXPECT_EQ(foundation.earlyMessages, 0);
    });
}

void expectRefusal(const Outcome &outcome, const std::string &line)
{
    EXPECT_THAT(outcome.answers, ElementsAre(Pair(false, "(null)")));
    EXPECT_THAT(outcome.lines, ElementsAre(line));
}

// ---- refusals

TEST(PhotoLibrary, refusesWhereThereIsNoObjectiveCRuntime)
{
    Outcome outcome;
    deleteAsset(outcome);
    expectRefusal(outcome, "The photo library can't be asked: there is no Objective-C runtime.");
}

TEST(PhotoLibrary, refusesWhereTheDeviceIsAnother)
{
    Outcome outcome;
    refusingPhotoLibrary(outcome.log)->deleteAssetWithURLHandler(kUrl, outcome.handler());
    expectRefusal(outcome, "The photo library can't be asked: the device is not the system that runs here.");
    inChild([] {
        loadFoundation();
        const LibraryRecord &library = loadPhotoLibrary();
        Outcome elsewhere;
        refusingPhotoLibrary(elsewhere.log)->deleteAssetWithURLHandler(kUrl, elsewhere.handler());
        EXPECT_THAT(elsewhere.answers, ElementsAre(Pair(false, "(null)")));
        EXPECT_EQ(library.calls, 0);
    });
}

TEST(PhotoLibrary, refusesWhereAClassIsMissing)
{
    inChild([] {
        loadFoundation();
        Outcome outcome;
        deleteAsset(outcome);
        expectRefusal(outcome, "The photo library can't be asked: there is no class PLGatekeeperClient.");
    });
    inChild([] {
        const LibraryRecord &library = loadPhotoLibrary();
        Outcome outcome;
        deleteAsset(outcome);
        expectRefusal(outcome, "The photo library can't be asked: there is no class NSURL.");
        EXPECT_EQ(library.calls, 0);
    });
}

TEST(PhotoLibrary, isFoundWhenItIsLoadedLater)
{
    inChild([] {
        Outcome outcome;
        const auto photos = systemPhotoLibrary(outcome.log);
        photos->deleteAssetWithURLHandler(kUrl, outcome.handler());
        loadFoundation();
        photos->deleteAssetWithURLHandler(kUrl, outcome.handler());
        loadPhotoLibrary().success = 1;
        photos->deleteAssetWithURLHandler(kUrl, outcome.handler());
        EXPECT_THAT(outcome.answers,
                    ElementsAre(Pair(false, "(null)"), Pair(false, "(null)"), Pair(true, "(null)")));
        EXPECT_EQ(outcome.lines.size(), 2U);
    });
}

TEST(PhotoLibrary, refusesWhereItHasNoSharedInstance)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.hasNoInstance = 1;
        Outcome outcome;
        deleteAsset(outcome);
        expectRefusal(outcome, "The photo library can't be asked: it has no shared instance.");
        EXPECT_EQ(library.calls, 0);
    });
}

TEST(PhotoLibrary, refusesWhatIsNoUrl)
{
    using std::string_literals::operator""s;
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        Outcome outcome;
        deleteAsset(outcome, "no url");
        expectRefusal(outcome, "The photo library can't be asked: \"no url\" is no URL.");
        Outcome notUtf8;
        deleteAsset(notUtf8, "assets-library://\xff");
        expectRefusal(notUtf8, "The photo library can't be asked: \"assets-library://\xff\" is no URL.");
        // Cut at its null byte it would name another asset.
        Outcome cut;
        deleteAsset(cut, "assets-library://asset/?id=1\0002"s);
        expectRefusal(cut,
                      R"(The photo library can't be asked: "assets-library://asset/?id=1\x002" is no URL.)");
        EXPECT_EQ(library.calls, 0);
    });
}

// ---- what the library is asked and answers

TEST(PhotoLibrary, isHandedTheUrlAndAnswersAtOnce)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.success = 1;
        Outcome outcome;
        deleteAsset(outcome);
        EXPECT_THAT(outcome.answers, ElementsAre(Pair(true, "(null)")));
        EXPECT_THAT(outcome.lines, IsEmpty());
        EXPECT_EQ(library.calls, 1);
        EXPECT_STREQ(library.url, kUrl);
        EXPECT_EQ(library.earlyMessages, 0);
        EXPECT_EQ(library.poolsOpen, 1);
    });
}

TEST(PhotoLibrary, isHandedTheBytesOfAUrlBeyondAscii)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        Outcome outcome;
        deleteAsset(outcome, "assets-library://asset/?id=Größe😀");
        EXPECT_STREQ(library.url, "assets-library://asset/?id=Größe😀");
        EXPECT_THAT(outcome.answers, ElementsAre(Pair(false, "(null)")));
    });
}

TEST(PhotoLibrary, succeedsWithEveryTruthValueButZero)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        for (const int success : {0, 1, 2, 0x7f, 0x80, 0xff}) {
            library.success = static_cast<unsigned char>(success);
            Outcome outcome;
            deleteAsset(outcome);
            EXPECT_THAT(outcome.answers, ElementsAre(Pair(success != 0, "(null)"))) << success;
        }
    });
}

TEST(PhotoLibrary, handsOnWhatTheErrorSaysOfItself)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.error = ErrorWithText;
        library.errorText = "Error Domain=Löschen Code=-1 \"(null)\"";
        Outcome outcome;
        deleteAsset(outcome);
        EXPECT_THAT(outcome.answers, ElementsAre(Pair(false, "Error Domain=Löschen Code=-1 \"(null)\"")));
        library.success = 1;
        library.errorText = "";
        Outcome successWithError;
        deleteAsset(successWithError);
        EXPECT_THAT(successWithError.answers, ElementsAre(Pair(true, "")));
    });
}

TEST(PhotoLibrary, namesAnErrorNullThatSaysNothing)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        for (const LibraryError error : {NoErrorObject, ErrorWithoutDescription, ErrorWhoseTextHasNoBytes}) {
            library.error = error;
            Outcome outcome;
            deleteAsset(outcome);
            EXPECT_THAT(outcome.answers, ElementsAre(Pair(false, "(null)"))) << error;
        }
    });
}

TEST(PhotoLibrary, answersAlsoWhereItsErrorRaises)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.error = ErrorThatRaises;
        Outcome outcome;
        deleteAsset(outcome);
        EXPECT_THAT(outcome.answers, ElementsAre(Pair(false, "an error that can't be described")));
    });
}

// ---- when it answers

/// On another thread, when the library that was asked is gone.
void expectAnswerLater(LibraryAnswer answer)
{
    withLibrary([answer](const FoundationRecord &foundation, LibraryRecord &library) {
        library.answer = answer;
        library.success = 1;
        library.error = ErrorWithText;
        library.errorText = "said late";
        Outcome outcome;
        deleteAsset(outcome);
        EXPECT_THAT(outcome.answers, IsEmpty());
        EXPECT_EQ(foundation.objectsAlive, 0);
        std::thread(library.answerLater).join();
        EXPECT_THAT(outcome.answers, ElementsAre(Pair(true, "said late")));
        EXPECT_THAT(outcome.lines, IsEmpty());
    });
}

TEST(PhotoLibrary, answersLaterWhereItCopiedTheBlocksBytes)
{
    expectAnswerLater(AnswerLaterByCopy);
}

TEST(PhotoLibrary, answersLaterWhereItKeptTheBlockItself)
{
    expectAnswerLater(AnswerLaterByOriginal);
}

TEST(PhotoLibrary, answersLaterWhereTheRuntimeOfBlocksCopied)
{
    inChild([] {
        const StandInModule blocks("Blocks");
        const FoundationRecord &foundation = loadFoundation();
        LibraryRecord &library = loadPhotoLibrary();
        library.answer = AnswerLaterByRuntimesCopy;
        library.success = 1;
        Outcome outcome;
        deleteAsset(outcome);
        EXPECT_EQ(library.blockKind, &blocks.record<void *>("_NSConcreteStackBlock"));
        EXPECT_THAT(outcome.answers, IsEmpty());
        std::thread(library.answerLater).join();
        EXPECT_THAT(outcome.answers, ElementsAre(Pair(true, "(null)")));
        EXPECT_EQ(foundation.objectsWithoutPool, 0);
    });
}

TEST(PhotoLibrary, keepsDeletionsApartThatWaitAtTheSameTime)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.answer = AnswerLaterByCopy;
        library.success = 1;
        Outcome first;
        deleteAsset(first);
        Outcome second;
        library.answer = AnswerAtOnce;
        library.success = 0;
        deleteAsset(second);
        EXPECT_THAT(first.answers, IsEmpty());
        EXPECT_THAT(second.answers, ElementsAre(Pair(false, "(null)")));
        library.success = 1;
        std::thread(library.answerLater).join();
        EXPECT_THAT(first.answers, ElementsAre(Pair(true, "(null)")));
        EXPECT_THAT(second.answers, ElementsAre(Pair(false, "(null)")));
    });
}

TEST(PhotoLibrary, mayNeverAnswer)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.answer = AnswerNever;
        Outcome outcome;
        deleteAsset(outcome);
        EXPECT_EQ(library.calls, 1);
        EXPECT_THAT(outcome.answers, IsEmpty());
        EXPECT_THAT(outcome.lines, IsEmpty());
    });
}

TEST(PhotoLibrary, isHeardOnlyOnceWhereItAnswersTwice)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.answer = AnswerTwice;
        library.success = 1;
        Outcome outcome;
        deleteAsset(outcome);
        EXPECT_THAT(outcome.answers, ElementsAre(Pair(true, "(null)")));
    });
}

TEST(PhotoLibrary, refusesWhereItRaisesAnException)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.answer = RaiseInstead;
        library.success = 1;
        Outcome outcome;
        deleteAsset(outcome);
        expectRefusal(outcome, "The photo library can't be asked: it raised an exception.");
    });
}

TEST(PhotoLibrary, countsAnAnswerBeforeAnException)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.answer = AnswerAndRaise;
        library.success = 1;
        Outcome outcome;
        deleteAsset(outcome);
        EXPECT_THAT(outcome.answers, ElementsAre(Pair(true, "(null)")));
        EXPECT_THAT(outcome.lines, IsEmpty());
    });
}

TEST(PhotoLibrary, ignoresAnAnswerAfterAnException)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        library.answer = RaiseAndAnswerLater;
        library.success = 1;
        Outcome outcome;
        deleteAsset(outcome);
        std::thread(library.answerLater).join();
        expectRefusal(outcome, "The photo library can't be asked: it raised an exception.");
    });
}

// ---- the block

TEST(PhotoLibrary, describesItsBlockForThoseWhoPassItOn)
{
    withLibrary([](const FoundationRecord &, LibraryRecord &library) {
        Outcome outcome;
        deleteAsset(outcome);
        EXPECT_EQ(library.blockFlags, 1 << 30); // it has a signature, and nothing to do where it is copied
        EXPECT_STREQ(library.blockSignature, sizeof(void *) == 8 ? "v20@?0B8@12" : "v12@?0c4@8");
        EXPECT_EQ(library.blockKind, nullptr); // nothing here knows of blocks
    });
}

} // namespace
} // namespace slicewise
