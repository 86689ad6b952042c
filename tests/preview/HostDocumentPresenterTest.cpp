// Which way of showing a file there is.
#include "preview/HostDocumentPresenter.h"

#include "tests/preview/PreviewFixture.h"
#include "tests/support/InChild.h"

#include <gtest/gtest.h>

#include <string>

namespace slicewise {

namespace {

constexpr auto kPreview = DocumentPresentation::Preview;
constexpr auto kOpenIn = DocumentPresentation::OpenInMenu;
constexpr auto kOptions = DocumentPresentation::OptionsMenu;

class HostPresenter : public testing::Test {
protected:
    TemporaryDirectory directory;
    std::unique_ptr<HostDevice> device = HostDevice::open(directory.path()).value();
    bool hasOpener = true;
    HostDocumentPresenter presenter{*device, [this] { return hasOpener; }};
};

TEST_F(HostPresenter, previewsWhatItCanOpenWhateverTheKind)
{
    directory.writeFile("a.sqlite", "x");
    directory.writeFile("b", "");
    EXPECT_EQ(presentationOf(presenter, "/a.sqlite"), kPreview);
    EXPECT_EQ(presentationOf(presenter, "/b"), kPreview);
}

TEST_F(HostPresenter, offersOnlyOptionsForWhatHasGoneOrIsNoFile)
{
    directory.makeFifo("fifo");
    directory.makeDirectory("folder");
    directory.makeSocket("socket");
    for (const char *path : {"/gone", "/fifo", "/folder", "/socket", "/", ""}) {
        EXPECT_EQ(presentationOf(presenter, path), kOptions) << path;
    }
}

TEST_F(HostPresenter, opensWithAnApplicationWhatItMayNotReadItself)
{
    directory.writeFile("secret", "x");
    directory.setMode("secret", 0);
    asOrdinaryUser([&] {
        EXPECT_EQ(presentationOf(presenter, "/secret"), kOpenIn);
        hasOpener = false;
        EXPECT_EQ(presentationOf(presenter, "/secret"), kOptions);
    });
}

TEST_F(HostPresenter, followsWhatHappensToTheFile)
{
    directory.writeFile("a.txt", "x");
    EXPECT_EQ(presentationOf(presenter, "/a.txt"), kPreview);
    directory.remove("a.txt");
    EXPECT_EQ(presentationOf(presenter, "/a.txt"), kOptions);
}

} // namespace

} // namespace slicewise
