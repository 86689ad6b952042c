#include "delete/NodeDeletion.h"

#include "tests/delete/DeletionFixture.h"
#include "tests/support/TreeText.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Function = FailingSystemCalls::Function;

class RegularDelete : public DeletionFixture {
protected:
    void failToRemove(const std::string &name, int error)
    {
        calls().failWhere(
            Function::UnlinkAt, [name](const FailingSystemCalls::Call &call) { return call.path == name; },
            error);
    }
};

TEST_F(RegularDelete, aFileGoesWithRootsRightsHeldForThatAlone)
{
    addFile("Others/a", "/home/a");
    folder().makeFile("home/b");
    EXPECT_TRUE(regularDelete(nodeAt("Others/a"), deletion()));
    EXPECT_FALSE(exists("home/a"));
    EXPECT_TRUE(exists("home/b"));
    EXPECT_EQ(removalsWithoutRights(), 0U);
    EXPECT_EQ(ids().timesRaised(), 1U);
    EXPECT_FALSE(ids().isRoot());
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(RegularDelete, aNodeWithoutAFileLosesTheFilesOfAllItsDescendantsAndTheirDirectoriesStay)
{
    addFile("Others/home/me/a", "/home/me/a");
    addFile("Others/home/me/deep/b", "/home/me/deep/b");
    addFile("Others/home/you/c", "/home/you/c");
    EXPECT_TRUE(regularDelete(nodeAt("Others/home/me"), deletion()));
    EXPECT_FALSE(exists("home/me/a"));
    EXPECT_FALSE(exists("home/me/deep/b"));
    EXPECT_TRUE(exists("home/me/deep"));
    EXPECT_TRUE(exists("home/you/c"));
    EXPECT_EQ(ids().timesRaised(), 2U);
}

TEST_F(RegularDelete, aNodeWithNeitherFileNorChildrenIsDeletedByDoingNothing)
{
    const SZANode nothing;
    EXPECT_TRUE(regularDelete(nothing, deletion()));
    EXPECT_EQ(ids().timesRaised(), 0U);
    EXPECT_EQ(calls().count(Function::UnlinkAt), 0U);
}

TEST_F(RegularDelete, everyChildIsTriedAlsoAfterOneHasFailed)
{
    addFile("Others/x/1", "/x/1", 3);
    addFile("Others/x/2", "/x/2", 2);
    addFile("Others/x/3", "/x/3", 1);
    for (const std::string name : {"1", "2", "3"}) {
        SCOPED_TRACE(name);
        folder().makeFile("x/1");
        folder().makeFile("x/2");
        folder().makeFile("x/3");
        calls().heal();
        failToRemove(name, EPERM);
        EXPECT_FALSE(regularDelete(nodeAt("Others/x"), deletion()));
        for (const std::string other : {"1", "2", "3"}) {
            EXPECT_EQ(exists("x/" + other), other == name);
        }
        EXPECT_FALSE(ids().isRoot());
    }
}

TEST_F(RegularDelete, aFailureIsALineInTheLogWithPathAndReason)
{
    addFile("Others/a", "/home/a");
    failToRemove("a", EACCES);
    EXPECT_FALSE(regularDelete(nodeAt("Others/a"), deletion()));
    EXPECT_THAT(logged(), ElementsAre("“/home/a” could not be removed: Permission denied"));
}

TEST_F(RegularDelete, aFileThatIsGoneAlreadyIsAFailure)
{
    addFile("Others/a", "/home/a");
    folder().remove("home/a");
    EXPECT_FALSE(regularDelete(nodeAt("Others/a"), deletion()));
    EXPECT_THAT(logged(), ElementsAre("“/home/a” could not be removed: No such file or directory"));
}

TEST_F(RegularDelete, afterAPartialFailureTheTreeIsAsItWasAndAnotherTryFinishesTheJob)
{
    addFile("Others/x/1", "/x/1", 3);
    addFile("Others/x/2", "/x/2", 2);
    const std::string before = treeText(tree());
    failToRemove("2", EBUSY);
    EXPECT_FALSE(regularDelete(nodeAt("Others/x"), deletion()));
    EXPECT_EQ(treeText(tree()), before);

    calls().heal();
    SZANode scannedAgain(&device());
    scannedAgain.addNodeForFile("Others/x/2", "/x/2");
    EXPECT_TRUE(regularDelete(scannedAgain, deletion()));
    EXPECT_FALSE(exists("x/2"));
}

TEST_F(RegularDelete, aLeafWhoseFileIsADirectoryGoesWhole)
{
    folder().makeFile("home/dir/deep/a");
    SZANode node(&device());
    node.setFilename("/home/dir");
    EXPECT_TRUE(regularDelete(node, deletion()));
    EXPECT_FALSE(exists("home/dir"));
    EXPECT_TRUE(exists("home"));
    EXPECT_EQ(ids().timesRaised(), 1U);
}

TEST_F(RegularDelete, ofANodeThatHasAFileAndChildrenOnlyTheFileGoes)
{
    addFile("Others/a", "/home/a");
    addFile("Others/a/b", "/other/b");
    EXPECT_TRUE(regularDelete(nodeAt("Others/a"), deletion()));
    EXPECT_FALSE(exists("home/a"));
    EXPECT_TRUE(exists("other/b"));
}

TEST_F(RegularDelete, aFileThatHasBecomeALinkStaysAndSoDoesWhatItLeadsTo)
{
    addFile("Others/a", "/home/a");
    folder().remove("home/a");
    folder().makeFile("secret/canary");
    folder().makeLink("home/a", "/secret/canary");
    EXPECT_FALSE(regularDelete(nodeAt("Others/a"), deletion()));
    EXPECT_TRUE(exists("secret/canary"));
    EXPECT_TRUE(exists("home/a"));
}

TEST_F(RegularDelete, aTreeOfAnyDepthTakesNoStack)
{
    std::string category = "Others";
    for (int i = 0; i < 20'000; ++i) {
        category.append("/d");
    }
    addFile(category + "/a", "/home/a");
    EXPECT_TRUE(regularDelete(nodeAt("Others"), deletion()));
    EXPECT_FALSE(exists("home/a"));
}

TEST_F(RegularDelete, anyNameIsOnlyAName)
{
    for (const std::string name : {"a\nb", "%s%n", "..a", "a b", "-rf", "*", "\xff\xfe", "'\"", "\\x41"}) {
        addFile("Others/odd/" + name, "/odd/" + name);
    }
    folder().makeFile("odd/stays");
    EXPECT_TRUE(regularDelete(nodeAt("Others/odd"), deletion()));
    EXPECT_EQ(device().entryNames("/odd").value(), std::vector<std::string>{"stays"});
}

using ParentDelete = DeletionFixture;
using ParentDeleteDeathTest = DeletionFixture;

TEST_F(ParentDelete, theWholeDirectoryThatHoldsTheFileGoes)
{
    addFile("Message Attachments/cat.jpg", "/private/var/mobile/Library/SMS/Attachments/0a/1/GUID/cat.jpg");
    folder().makeFile("private/var/mobile/Library/SMS/Attachments/0a/1/GUID/more/of it");
    folder().makeFile("private/var/mobile/Library/SMS/Attachments/0a/1/OTHER/dog.jpg");
    EXPECT_TRUE(parentDelete(nodeAt("Message Attachments/cat.jpg"), deletion()));
    EXPECT_FALSE(exists("private/var/mobile/Library/SMS/Attachments/0a/1/GUID"));
    EXPECT_TRUE(exists("private/var/mobile/Library/SMS/Attachments/0a/1/OTHER/dog.jpg"));
    EXPECT_EQ(removalsWithoutRights(), 0U);
    EXPECT_EQ(ids().timesRaised(), 1U);
    EXPECT_FALSE(ids().isRoot());
}

TEST_F(ParentDelete, aFailureIsALineInTheLogAndFalse)
{
    addFile("Message Attachments/cat.jpg", "/sms/GUID/cat.jpg");
    calls().failEach(Function::UnlinkAt, EROFS);
    EXPECT_FALSE(parentDelete(nodeAt("Message Attachments/cat.jpg"), deletion()));
    EXPECT_TRUE(exists("sms/GUID/cat.jpg"));
    EXPECT_THAT(logged(), ElementsAre("“/sms/GUID” could not be removed: Read-only file system"));
    EXPECT_FALSE(ids().isRoot());
}

TEST_F(ParentDelete, aFileInTheRootItselfDoesNotTakeTheRootAlong)
{
    addFile("Message Attachments/a", "/a");
    EXPECT_FALSE(parentDelete(nodeAt("Message Attachments/a"), deletion()));
    EXPECT_TRUE(exists("a"));
}

TEST_F(ParentDelete, aDirectoryThatHasBecomeALinkStaysAndSoDoesWhatItLeadsTo)
{
    addFile("Message Attachments/a", "/sms/GUID/a");
    folder().rename("sms/GUID", "sms/moved");
    folder().makeFile("secret/a");
    folder().makeLink("sms/GUID", "../secret");
    EXPECT_FALSE(parentDelete(nodeAt("Message Attachments/a"), deletion()));
    EXPECT_TRUE(exists("secret/a"));
    EXPECT_TRUE(exists("sms/moved/a"));
}

TEST_F(ParentDeleteDeathTest, aNodeWithoutAFileEndsTheProcess)
{
    const SZANode node;
    deletion().log.setSink({});
    EXPECT_DEATH(
        static_cast<void>(parentDelete(node, deletion())),
        "Assertion failed: \\(self\\.filename\\), function -\\[SZANode parentDelete\\], file SZANode");
}

} // namespace
} // namespace slicewise
