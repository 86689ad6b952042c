// What a file is by its name, and how it is shown therefore.
#include "ui/FileKind.h"

#include "ui/DocumentPresenter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

using ::testing::ElementsAre;

constexpr auto kPreview = DocumentPresentation::Preview;
constexpr auto kOpenIn = DocumentPresentation::OpenInMenu;
constexpr auto kOptions = DocumentPresentation::OptionsMenu;

class Presenter final : public DocumentPresenter {
public:
    explicit Presenter(std::set<DocumentPresentation> can) : m_can(std::move(can)) {}
    bool canPresent(DocumentPresentation presentation, const std::string & /*filename*/) override
    {
        asked.push_back(presentation);
        return m_can.contains(presentation);
    }
    std::vector<DocumentPresentation> asked;

private:
    std::set<DocumentPresentation> m_can;
};

TEST(FileKind, isThatOfTheExtension)
{
    EXPECT_EQ(fileKindOf("/a/b.txt"), FileKind::Text);
    EXPECT_EQ(fileKindOf("/a/b.plist"), FileKind::Text);
    EXPECT_EQ(fileKindOf("/a/IMG_0001.JPG"), FileKind::Image);
    EXPECT_EQ(fileKindOf("/a/x.png"), FileKind::Image);
    EXPECT_EQ(fileKindOf("/a/x.Mp3"), FileKind::Audio);
    EXPECT_EQ(fileKindOf("/a/x.m4r"), FileKind::Audio);
    EXPECT_EQ(fileKindOf("/a/x.MOV"), FileKind::Video);
    EXPECT_EQ(fileKindOf("/a/x.pdf"), FileKind::Pdf);
    EXPECT_EQ(fileKindOf("/a/x.tar.log"), FileKind::Text) << "the last one counts";
}

TEST(FileKind, isOtherWhereNothingSaysWhat)
{
    for (const char *path : {"", "/", "/a/noext", "/a.txt/b", "/a/.txt", "/a/x.", "/a/x.sqlite",
                             "/a/x.txt.gz", "/a/x.png\n", "/a/x.\xff"}) {
        EXPECT_EQ(fileKindOf(path), FileKind::Other) << path;
    }
    EXPECT_EQ(fileKindOf("no slash.txt"), FileKind::Text);
    EXPECT_EQ(fileKindOf("/a/\xff\xfe.txt"), FileKind::Text);
}

TEST(DocumentPresenter, aPreviewIsTriedFirst)
{
    Presenter all({kPreview, kOpenIn, kOptions});
    EXPECT_EQ(presentationOf(all, "/x"), kPreview);
    EXPECT_THAT(all.asked, ElementsAre(kPreview));
}

TEST(DocumentPresenter, thenTheOpenInMenu)
{
    Presenter menus({kOpenIn, kOptions});
    EXPECT_EQ(presentationOf(menus, "/x"), kOpenIn);
    EXPECT_THAT(menus.asked, ElementsAre(kPreview, kOpenIn));
}

TEST(DocumentPresenter, thenTheOptions)
{
    Presenter options({kOptions});
    EXPECT_EQ(presentationOf(options, "/x"), kOptions);
    EXPECT_THAT(options.asked, ElementsAre(kPreview, kOpenIn, kOptions));
}

TEST(DocumentPresenter, andThenNothing)
{
    Presenter none({});
    EXPECT_EQ(presentationOf(none, "/x"), std::nullopt);
    EXPECT_THAT(none.asked, ElementsAre(kPreview, kOpenIn, kOptions));
}

TEST(DocumentPresenter, byKindPreviewsWhatCanBeShown)
{
    FileKindPresenter presenter;
    EXPECT_EQ(presentationOf(presenter, "/private/var/log/x.log"), kPreview);
    EXPECT_EQ(presentationOf(presenter, "/a/x.mp4"), kPreview);
    EXPECT_EQ(presentationOf(presenter, "/a/x.sqlite"), kOptions);
    EXPECT_EQ(presentationOf(presenter, "/a/"), kOptions);
}

} // namespace

} // namespace slicewise
