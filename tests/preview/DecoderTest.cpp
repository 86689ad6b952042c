// A decoder that has been taken over, or is killed, and what it may do at all.
#include "preview/PictureItem.h"
#include "tests/preview/PreviewFixture.h"
#include "tests/support/InChild.h"

#include <QQuickWindow>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;
using View = Document::View;

/// Bytes that are taken for a picture, and tell the stand-in what to do.
std::string deed(const std::string &what)
{
    return "\x89PNG\r\n\x1a\n" + what;
}

bool isRunning(::pid_t process)
{
    return ::kill(process, 0) == 0;
}

std::string statusOf(::pid_t process)
{
    std::ifstream stream("/proc/" + std::to_string(process) + "/status");
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Hostile : public testing::Test {
protected:
    Preview preview{SLICEWISE_HOSTILE_DECODER};
};

TEST_F(Hostile, decodersThatCrashOrTalkNonsenseLeaveASentenceAndTheBytes)
{
    for (const char *what : {"crash", "garbage", "nothing at all"}) {
        Document *document = preview.showBytesOf("x.png", deed(what));
        EXPECT_EQ(document->view(), View::Notice) << what;
        EXPECT_EQ(document->message().toStdString(), "This file is damaged, or not what its name says.");
        EXPECT_FALSE(document->decoderProcess().has_value());
        document->showBytes();
        EXPECT_THAT(rowOf(*document, 0), HasSubstr("89 50 4e 47"));
    }
}

TEST_F(Hostile, decodersThatCrashLaterDoSoToo)
{
    Document *document = preview.showBytesOf("x.png", deed("crash later"));
    EXPECT_TRUE(eventually([&] { return document->view() == View::Notice; }));
}

TEST_F(Hostile, decodersThatNeverAnswerAreGivenUp)
{
    for (const char *what : {"silence", "trickle"}) {
        preview.directory.writeFile("x.png", deed(what));
        Document document({.device = preview.device.get(),
                           .path = "/x.png",
                           .name = "n",
                           .decoder = SLICEWISE_HOSTILE_DECODER,
                           .mostPatience = std::chrono::milliseconds(50)});
        EXPECT_TRUE(eventually([&] { return document.view() == View::Notice; })) << what;
        EXPECT_FALSE(document.decoderProcess().has_value());
    }
}

TEST_F(Hostile, decodersThatSendMoreThanWasAskedForAreNotBelieved)
{
    Document *document = preview.showBytesOf("x.png", deed("large picture"));
    ASSERT_EQ(document->view(), View::Picture);
    QQuickWindow window;
    PictureItem item(window.contentItem());
    item.setSize({20, 20});
    item.setDocument(document);
    EXPECT_TRUE(eventually([&] { return document->view() == View::Notice; }));
    EXPECT_FALSE(item.isReady());
}

TEST_F(Hostile, decodersHaveNothingButTheFileAndTheConnection)
{
    ::setenv("SECRET_OF_OURS", "x", 1);
    Document *document = preview.showBytesOf("x.png", deed("status"));
    ::unsetenv("SECRET_OF_OURS");
    ASSERT_EQ(document->view(), View::Text) << document->message().toStdString();
    std::string all;
    for (int row = 0; row < document->pieces()->rowCount(); ++row) {
        all += rowOf(*document, row);
    }
    EXPECT_THAT(all, HasSubstr("NoNewPrivs:\t1\n"));
    EXPECT_THAT(all, HasSubstr("descriptors: 0 1 2 3\n")) << "the fourth is the one that it asks with";
    EXPECT_THAT(all, Not(HasSubstr("SECRET")));
    EXPECT_THAT(all, HasSubstr("variable HOME=/dev/null\n"));
    EXPECT_THAT(all, HasSubstr("\nlimit " + std::to_string(RLIMIT_FSIZE) + " 0\n"));
    EXPECT_THAT(all, HasSubstr("\nlimit " + std::to_string(RLIMIT_CORE) + " 0\n"));
    EXPECT_THAT(all, HasSubstr("\nlimit " + std::to_string(RLIMIT_CPU) + " 120\n"));
#if !defined(__SANITIZE_ADDRESS__)
    EXPECT_THAT(all, HasSubstr("\nlimit " + std::to_string(RLIMIT_DATA) + " 1073741824"));
#endif
}

class Decoder : public testing::Test {
protected:
    [[nodiscard]] Document *showPicture()
    {
        Document *document = preview.showBytesOf("x.png", encoded(twoColours(40, 20), "PNG"));
        EXPECT_EQ(document->view(), View::Picture);
        EXPECT_TRUE(document->decoderProcess().has_value());
        return document;
    }
    Preview preview;
};

TEST_F(Decoder, hasTheRealUsersIdsAndNoWayToMore)
{
    const std::string status = statusOf(showPicture()->decoderProcess().value());
    const std::string user = std::to_string(::getuid());
    EXPECT_THAT(status, HasSubstr("\nUid:\t" + user + "\t" + user + "\t" + user + "\t" + user + "\n"));
    EXPECT_THAT(status, HasSubstr("\nNoNewPrivs:\t1\n"));
    EXPECT_THAT(status, HasSubstr("\nSeccomp:\t2\n"));
}

TEST_F(Decoder, hasGivenUpTheSavedIdOfASetUserIdProgram)
{
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become a set-user-id process's likeness";
    }
    inChild([&] {
        // As the program is right after its entry: the user's own, root's in the background.
        ASSERT_EQ(::setresuid(kOrdinaryUser, kOrdinaryUser, 0), 0);
        Preview own;
        Document *document = own.showBytesOf("x.png", encoded(twoColours(40, 20), "PNG"));
        ASSERT_EQ(document->view(), View::Picture) << document->message().toStdString();
        EXPECT_THAT(statusOf(document->decoderProcess().value()),
                    HasSubstr("\nUid:\t65534\t65534\t65534\t65534\n"));
    });
}

TEST_F(Decoder, thatIsKilledLeavesASentence)
{
    Document *document = showPicture();
    ::kill(document->decoderProcess().value(), SIGKILL);
    EXPECT_TRUE(eventually([&] { return document->view() == View::Notice; }));
    EXPECT_TRUE(document->hasBytes());
}

TEST_F(Decoder, endsWithItsPreviewAndTheThreadsToo)
{
    Document *document = showPicture();
    const ::pid_t process = document->decoderProcess().value();
    ASSERT_TRUE(isRunning(process));
    preview.documents.close(document);
    EXPECT_TRUE(eventually([&] { return !isRunning(process); }));
    EXPECT_EQ(errno, ESRCH) << "it has been waited for";
}

TEST_F(Decoder, thatCannotEndYetIsNotWaitedFor)
{
    preview.directory.writeFile("x.png", deed("recite"));
    const std::unique_ptr<ReadableFile> file = preview.device->openFile("/x.png").value();
    std::promise<void> begun;
    std::promise<void> gate;
    EndingThreads ending;
    auto thread = std::make_unique<DecoderThread>(DecoderStart{.program = SLICEWISE_HOSTILE_DECODER,
                                                               .task = DecoderTask::Media,
                                                               .file = file->descriptor().value()},
                                                  [&, opened = false](const std::optional<Answer> &) mutable {
                                                      if (!std::exchange(opened, true)) {
                                                          begun.set_value();
                                                          gate.get_future().wait();
                                                      }
                                                  });
    begun.get_future().wait();
    const DecoderThread &watched = *thread;
    const ::pid_t process = watched.process().value();
    ending.take(std::move(thread));
    EXPECT_FALSE(watched.hasEnded());
    EXPECT_TRUE(isRunning(process));
    gate.set_value();
    EXPECT_TRUE(eventually([&] { return watched.hasEnded(); }));
    EXPECT_FALSE(isRunning(process));
}

TEST_F(Decoder, ofADocumentComesToItsEndAmongTheOthersThatDo)
{
    preview.directory.writeFile("x.png", encoded(twoColours(40, 20), "PNG"));
    preview.directory.writeFile("bad.png", deed("nothing at all"));
    const std::vector<std::pair<std::string, std::function<void(Document &)>>> ways = {
        {"/x.png", [](Document &document) { document.endThreads(); }},
        {"/x.png", [](Document &document) { document.showBytes(); }},
        {"/bad.png", [](Document & /*document*/) {}},
    };
    for (const auto &[path, letGo] : ways) {
        const auto ending = std::make_shared<EndingThreads>();
        Document document({.device = preview.device.get(),
                           .path = path,
                           .name = "n",
                           .decoder = SLICEWISE_PREVIEW,
                           .ending = ending});
        ASSERT_TRUE(eventually([&] { return document.view() != View::Opening; }));
        letGo(document);
        EXPECT_EQ(ending->count(), 1U) << path;
        EXPECT_FALSE(document.decoderProcess().has_value());
    }
}

TEST_F(Decoder, isNotStartedForAPreviewThatWasClosedBeforeItsFileWasOpen)
{
    preview.directory.writeFile("x.png", encoded(twoColours(40, 20), "PNG"));
    const auto ending = std::make_shared<EndingThreads>();
    auto document = std::make_unique<Document>(Document::Origin{.device = preview.device.get(),
                                                                .path = "/x.png",
                                                                .name = "n",
                                                                .decoder = SLICEWISE_PREVIEW,
                                                                .ending = ending});
    document->endThreads();
    ASSERT_TRUE(eventually([&] { return document->hasBytes(); }));
    EXPECT_EQ(document->view(), View::Opening);
    document.reset();
    EXPECT_EQ(ending->count(), 1U) << "what has read, and nothing else";
}

TEST_F(Decoder, endsWithItsPreviewWhateverItIsDoing)
{
    preview.directory.writeFile("x.png", deed("silence"));
    auto document = std::make_unique<Document>(Document::Origin{
        .device = preview.device.get(), .path = "/x.png", .name = "n", .decoder = SLICEWISE_HOSTILE_DECODER});
    ASSERT_TRUE(eventually([&] { return document->decoderProcess().has_value(); }));
    const ::pid_t process = document->decoderProcess().value();
    document.reset();
    EXPECT_FALSE(isRunning(process));
}

TEST_F(Decoder, isSteeredInTheOrderOfTheRequestsAndOnlyToTheLastPlace)
{
    using What = PlayRequest::What;
    preview.directory.writeFile("x.png", deed("recite"));
    const std::unique_ptr<ReadableFile> file = preview.device->openFile("/x.png").value();
    std::unique_ptr<DecoderThread> thread;
    std::promise<void> made;
    std::promise<void> said;
    std::vector<std::pair<What, std::uint32_t>> heard;
    bool hasAsked = false;
    thread = std::make_unique<DecoderThread>(
        DecoderStart{.program = SLICEWISE_HOSTILE_DECODER,
                     .task = DecoderTask::Media,
                     .file = file->descriptor().value()},
        [&](const std::optional<Answer> &answer) {
            if (!hasAsked) { // on its thread, so that all of them wait at once
                hasAsked = true;
                made.get_future().wait();
                thread->ask(PlayRequest{.what = What::Seek, .positionMs = 300});
                thread->ask(PlayRequest{.what = What::Play});
                thread->ask(PlayRequest{.what = What::NextFrame, .width = 8, .height = 8});
                thread->ask(PlayRequest{.what = What::Seek, .positionMs = 600});
                thread->ask(PlayRequest{.what = What::Pause});
                return;
            }
            const auto &playback = std::get<PlaybackAnswer>(answer.value());
            heard.emplace_back(static_cast<What>(playback.durationMs), playback.positionMs);
            if (heard.size() == 4) {
                said.set_value();
            }
        });
    made.set_value();
    said.get_future().wait();
    thread.reset();
    EXPECT_THAT(heard, ElementsAre(Pair(What::Play, 0), Pair(What::Seek, 600), Pair(What::Pause, 0),
                                   Pair(What::NextFrame, 0)));
}

TEST_F(Decoder, thatIsNotThereLeavesASentence)
{
    for (const char *program : {"", "/nowhere/slicewise-preview", "relative"}) {
        Preview without{program};
        Document *document = without.showBytesOf("x.png", encoded(twoColours(4, 2), "PNG"));
        EXPECT_EQ(document->view(), View::Notice) << program;
        EXPECT_NE(document->message(), QString());
        EXPECT_EQ(without.showBytesOf("x.txt", "text")->view(), View::Text) << "which needs none";
    }
}

} // namespace

} // namespace slicewise
