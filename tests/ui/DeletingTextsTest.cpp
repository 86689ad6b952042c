// All that deletion says can be said in another language.
#include "tests/ui/BrowserParts.h"

#include <QTranslator>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace slicewise {

namespace {

/// Another language: the texts of the screens between arrows.
class Arrows final : public QTranslator {
public:
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char *context, const char *sourceText, const char * /*comment*/,
                                    int /*number*/) const override
    {
        return std::string_view(context) == "slicewise::SZAViewController"
                   ? QStringLiteral("<") + QString::fromUtf8(sourceText) + QStringLiteral(">")
                   : QString();
    }
};

class DeletingTextsTest : public ::testing::Test {
protected:
    DeletingTextsTest() { QCoreApplication::installTranslator(&m_arrows); }
    ~DeletingTextsTest() override { QCoreApplication::removeTranslator(&m_arrows); }

    System system;
    HandMadeTree tree{{{"Applications/App/App.app/Info.plist", 3}}};

private:
    Arrows m_arrows;
};

TEST_F(DeletingTextsTest, theButtons)
{
    const Shown list(tree, {"Applications"}, system);
    const UINavigationItem &item = *list.screen->navigationItem();
    EXPECT_EQ(item.rightButtonTitle(), QStringLiteral("<Edit>"));
    list.screen->rightBarButtonTapped();
    EXPECT_EQ(item.rightButtonTitle(), QStringLiteral("<Done>"));
    list.screen->rightBarButtonTapped();
    EXPECT_EQ(item.rightButtonTitle(), QStringLiteral("<Edit>"));
    const Shown single(tree, {"Applications", "App"}, system);
    EXPECT_EQ(single.screen->navigationItem()->rightButtonTitle(), QStringLiteral("<Delete>"));
}

TEST_F(DeletingTextsTest, theOverlayTheQuestionAndTheAlert)
{
    const Shown shown(tree, {"Applications", "App"}, system);
    system.standIn.answer = {.deleted = false, .errorText = {}};
    shown.screen->rightBarButtonTapped();
    EXPECT_EQ(shown.screen->deletionHUDText(), QStringLiteral("<Deleting>"));
    waitForDeletion(*shown.screen);
    const UIActionSheet &sheet = *shown.screen->actionSheet();
    EXPECT_EQ(sheet.title(), QStringLiteral("<Uninstall App?>"));
    EXPECT_EQ(sheet.cancelButtonTitle(), QStringLiteral("<Cancel>"));
    EXPECT_EQ(sheet.destructiveButtonTitle(), QStringLiteral("<Uninstall>"));
    shown.screen->actionSheetClickedButtonAtIndex(UIActionSheet::destructiveButtonIndex());
    waitForDeletion(*shown.screen);
    const UIAlertView &alert = *shown.screen->alertView();
    EXPECT_EQ(alert.title(), QStringLiteral("<Delete failed>"));
    EXPECT_EQ(alert.message(), QStringLiteral("<Deletion failed for some or all of the files.>"));
    EXPECT_EQ(alert.cancelButtonTitle(), QStringLiteral("<Close>"));
}

} // namespace

} // namespace slicewise
