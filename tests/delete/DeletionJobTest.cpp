#include "delete/DeletionJob.h"

#include "scan/SZAException.h"
#include "tests/delete/DeletionFixture.h"

#include <gmock/gmock.h>

#include <string>

namespace slicewise {
namespace {

using testing::IsEmpty;

using DeletionJob = DeletionFixture;

TEST_F(DeletionJob, eachTypeCallsItsStrategy)
{
    addFile("Others/a", "/others/a");
    EXPECT_TRUE(deleteByType(SZADeleteTypeRegular, nodeAt("Others/a"), deletion()).deleted);
    EXPECT_FALSE(exists("others/a"));
    EXPECT_TRUE(exists("others"));

    addFile("Message Attachments/b", "/sms/GUID/b");
    EXPECT_TRUE(deleteByType(SZADeleteTypeParent, nodeAt("Message Attachments/b"), deletion()).deleted);
    EXPECT_FALSE(exists("sms/GUID"));

    addFile("Photos/DCIM/100APPLE/c", "/private/var/mobile/Media/DCIM/100APPLE/c");
    EXPECT_TRUE(deleteByType(SZADeleteTypeAsset, nodeAt("Photos/DCIM/100APPLE/c"), deletion()).deleted);
    EXPECT_FALSE(exists("private/var/mobile/Media/DCIM/100APPLE/c"));

    addFile("Applications/d/e", "/d/e");
    const DeletionOutcome app = deleteByType(SZADeleteTypeApp, nodeAt("Applications/d"), deletion());
    EXPECT_FALSE(app.deleted);
    EXPECT_EQ(app.errorText, std::nullopt);
    EXPECT_EQ(logged().back(), "Deleting app");
}

TEST_F(DeletionJob, anyOtherTypeIsABrokenInvariant)
{
    addFile("Others/a", "/others/a");
    for (const int type : {0, -1, 6, 100}) {
        try {
            static_cast<void>(deleteByType(static_cast<SZADeleteType>(type), nodeAt("Others/a"), deletion()));
            ADD_FAILURE() << type;
        } catch (const SZAException &exception) {
            EXPECT_EQ(exception.name(), "SZAException");
            EXPECT_EQ(exception.reason(), "Delete type not implemented");
        }
    }
    EXPECT_TRUE(exists("others/a"));
}

TEST_F(DeletionJob, aNodeWithoutTheFileThatItsStrategyNeedsIsAFailureAndNotTheEnd)
{
    addFile("Message Attachments/a/b.jpg", "/sms/GUID/b.jpg");
    EXPECT_FALSE(deleteByType(SZADeleteTypeParent, nodeAt("Message Attachments/a"), deletion()).deleted);
    EXPECT_TRUE(exists("sms/GUID/b.jpg"));

    addFile("Photos/DCIM/100APPLE/dir/c", "/private/var/mobile/Media/DCIM/100APPLE/dir/c");
    EXPECT_FALSE(deleteByType(SZADeleteTypeAsset, nodeAt("Photos/DCIM/100APPLE/dir"), deletion()).deleted);
    addFile("Photos/DCIM/100APPLE/d", "/elsewhere/d");
    EXPECT_FALSE(deleteByType(SZADeleteTypeAsset, nodeAt("Photos/DCIM/100APPLE/d"), deletion()).deleted);
    EXPECT_TRUE(exists("elsewhere/d"));
    EXPECT_THAT(photoLibrary().urls(), IsEmpty());
    EXPECT_EQ(ids().timesRaised(), 0U);
}

TEST_F(DeletionJob, onlyApplicationsAndPackagesAreAskedFor)
{
    EXPECT_TRUE(asksBeforeDeletion(SZADeleteTypeApp));
    EXPECT_TRUE(asksBeforeDeletion(SZADeleteTypePackage));
    EXPECT_FALSE(asksBeforeDeletion(SZADeleteTypeRegular));
    EXPECT_FALSE(asksBeforeDeletion(SZADeleteTypeParent));
    EXPECT_FALSE(asksBeforeDeletion(SZADeleteTypeAsset));
}

} // namespace
} // namespace slicewise
