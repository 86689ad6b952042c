#include "delete/NodeDeletion.h"
#include "tests/delete/DeletionFixture.h"
#include "tests/support/SampleDatabase.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>
#include <thread>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *kSchema =
    "CREATE TABLE ZGENERICASSET (Z_PK INTEGER PRIMARY KEY, ZDIRECTORY TEXT, ZFILENAME TEXT, ZUUID)";
constexpr const char *kPhoto = "/private/var/mobile/Media/DCIM/100APPLE/IMG_0001.JPG";
constexpr const char *kIdentifier = "01234567-89AB-CDEF-0123-456789ABCDEF";

class AssetDelete : public DeletionFixture {
protected:
    /// ZUUID as the given SQL expression, so that it can be text, bytes or nothing.
    struct Asset {
        std::string directory;
        std::string filename;
        std::string identifier;
    };

    void makeLibrary(const std::vector<Asset> &assets)
    {
        folder().makeDirectory("private/var/mobile/Media/PhotoData");
        std::string statements = std::string(kSchema) + ";";
        for (const Asset &asset : assets) {
            statements += "INSERT INTO ZGENERICASSET (ZDIRECTORY, ZFILENAME, ZUUID) VALUES ('" +
                          asset.directory + "', '" + asset.filename + "', " + asset.identifier + ");";
        }
        SampleDatabase database(folder().pathOf("private/var/mobile/Media/PhotoData/Photos.sqlite"),
                                statements);
        database.close();
    }

    [[nodiscard]] bool deletePhoto(const std::string &path = kPhoto)
    {
        addFile("Photos/DCIM/100APPLE/photo", path);
        return assetDelete(nodeAt("Photos/DCIM/100APPLE/photo"), deletion());
    }

    [[nodiscard]] bool photoIsThere() const { return exists(std::string(kPhoto).substr(1)); }
};

using AssetDeleteDeathTest = AssetDelete;

TEST_F(AssetDelete, aPhotoOfTheLibraryIsDeletedByTheLibraryAloneAndWithoutRootsRights)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "'" + std::string(kIdentifier) + "'"}});
    EXPECT_TRUE(deletePhoto());
    EXPECT_THAT(photoLibrary().urls(), ElementsAre("assets-library://asset/?id=" + std::string(kIdentifier)));
    EXPECT_TRUE(photoIsThere()) << "removing the file is the library's business";
    EXPECT_FALSE(photoLibrary().everRoot());
    EXPECT_EQ(ids().timesRaised(), 0U);
    EXPECT_THAT(logged(), ElementsAre("(null)"));
}

TEST_F(AssetDelete, beforeVersionEightTheIdentifierIsBytesThatAreWrittenInGroups)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "x'0123456789abcdef0123456789abcdef'"}});
    deletion().deviceVersion = {.number = 7.1F};
    EXPECT_TRUE(deletePhoto());
    EXPECT_THAT(photoLibrary().urls(), ElementsAre("assets-library://asset/?id=" + std::string(kIdentifier)));
}

TEST_F(AssetDelete, theLastGroupTakesWhatIsLeft)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "x'0123456789abcdef0123456789abcdef4567'"}});
    deletion().deviceVersion = {.number = 7.0F};
    EXPECT_TRUE(deletePhoto());
    EXPECT_THAT(photoLibrary().urls(),
                ElementsAre("assets-library://asset/?id=" + std::string(kIdentifier) + "4567"));
}

TEST_F(AssetDelete, anIdentifierTooShortToBeOneDeletesNothing)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "x'0123'"}});
    deletion().deviceVersion = {.number = 7.0F};
    EXPECT_FALSE(deletePhoto());
    EXPECT_THAT(photoLibrary().urls(), IsEmpty());
    EXPECT_TRUE(photoIsThere());
}

TEST_F(AssetDelete, fromVersionEightOnTheIdentifierIsTakenAsItIs)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "'some other text'"}});
    deletion().deviceVersion = {.number = 8.0F};
    EXPECT_TRUE(deletePhoto());
    EXPECT_THAT(photoLibrary().urls(), ElementsAre("assets-library://asset/?id=some other text"));
}

TEST_F(AssetDelete, ofSeveralRowsTheLastOneCounts)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "'first'"},
                 {"DCIM/100APPLE", "IMG_0002.JPG", "'another photo'"},
                 {"DCIM/100APPLE", "IMG_0001.JPG", "'last'"}});
    EXPECT_TRUE(deletePhoto());
    EXPECT_THAT(photoLibrary().urls(), ElementsAre("assets-library://asset/?id=last"));
}

TEST_F(AssetDelete, aQuoteInThePathIsOnlyAQuote)
{
    makeLibrary({{"DCIM/100APPLE", "it''s.JPG", "'right'"}, {"DCIM/100APPLE", "IMG_0001.JPG", "'wrong'"}});
    EXPECT_TRUE(deletePhoto("/private/var/mobile/Media/DCIM/100APPLE/it's.JPG"));
    EXPECT_THAT(photoLibrary().urls(), ElementsAre("assets-library://asset/?id=right"));
}

TEST_F(AssetDelete, aPathThatLooksLikeAQueryIsOnlyAPath)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "'wrong'"}});
    const std::string hostile = "/private/var/mobile/Media/DCIM/100APPLE/' OR '1'='1";
    EXPECT_TRUE(deletePhoto(hostile));
    EXPECT_THAT(photoLibrary().urls(), IsEmpty());
    EXPECT_FALSE(exists(hostile.substr(1)));
}

TEST_F(AssetDelete, aFileThatTheLibraryDoesNotKnowGoesAsAFileWithRootsRights)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0002.JPG", "'another photo'"}});
    EXPECT_TRUE(deletePhoto());
    EXPECT_FALSE(photoIsThere());
    EXPECT_THAT(photoLibrary().urls(), IsEmpty());
    EXPECT_EQ(removalsWithoutRights(), 0U);
    EXPECT_EQ(ids().timesRaised(), 1U);
    EXPECT_FALSE(ids().isRoot());
}

TEST_F(AssetDelete, withoutADatabaseOrWithABrokenOneTheFileGoesAsAFile)
{
    EXPECT_TRUE(deletePhoto());
    EXPECT_FALSE(photoIsThere());
    folder().writeFile("private/var/mobile/Media/PhotoData/Photos.sqlite", "This is not a database.");
    EXPECT_TRUE(deletePhoto());
    EXPECT_FALSE(photoIsThere());
}

TEST_F(AssetDelete, anAssetWithoutAnIdentifierIsNoneOfTheLibrary)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "NULL"}});
    EXPECT_TRUE(deletePhoto());
    EXPECT_FALSE(photoIsThere());
    EXPECT_THAT(photoLibrary().urls(), IsEmpty());
}

TEST_F(AssetDelete, aFileThatCanNotBeRemovedIsALineInTheLog)
{
    calls().failEach(FailingSystemCalls::Function::UnlinkAt, EPERM);
    EXPECT_FALSE(deletePhoto());
    EXPECT_THAT(logged(),
                ElementsAre("“" + std::string(kPhoto) + "” could not be removed: Operation not permitted"));
}

TEST_F(AssetDelete, aLibraryThatReportsAFailureLeavesTheFile)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "'id'"}});
    photoLibrary().answerWith([](const PhotoLibrary::Handler &handler) { handler(false, "It is shared."); });
    EXPECT_FALSE(deletePhoto());
    EXPECT_TRUE(photoIsThere());
    EXPECT_THAT(logged(), ElementsAre("It is shared."));
    EXPECT_EQ(ids().timesRaised(), 0U);
}

TEST_F(AssetDelete, waitsForALibraryThatAnswersOnAThreadOfItsOwn)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "'id'"}});
    std::thread library;
    photoLibrary().answerWith([&](const PhotoLibrary::Handler &handler) {
        library = std::thread([handler] { handler(true, "late"); });
    });
    EXPECT_TRUE(deletePhoto());
    EXPECT_THAT(logged(), ElementsAre("late"));
    library.join();
}

TEST_F(AssetDelete, takesAPathRelativeToTheMediaDirectory)
{
    folder().makeFile("private/var/mobile/Media/DCIM/x");
    EXPECT_TRUE(deletePhotoAssetAtMediaPath("DCIM/x", deletion()));
    EXPECT_FALSE(exists("private/var/mobile/Media/DCIM/x"));
    EXPECT_TRUE(exists("private/var/mobile/Media/DCIM"));
}

TEST_F(AssetDelete, nothingIsWrittenBesideTheDatabase)
{
    makeLibrary({{"DCIM/100APPLE", "IMG_0001.JPG", "'id'"}});
    EXPECT_TRUE(deletePhoto());
    EXPECT_THAT(device().entryNames("/private/var/mobile/Media/PhotoData").value(),
                ElementsAre("Photos.sqlite"));
}

TEST_F(AssetDeleteDeathTest, aFileOutsideTheMediaDirectoryEndsTheProcess)
{
    deletion().log.setSink({});
    constexpr const char *kMessage = "Assertion failed: \\(\\[self\\.filename "
                                     "hasPrefix:@\"/private/var/mobile/Media/\"\\]\\), function "
                                     "-\\[SZANode assetDelete\\], file SZANode";
    const SZANode withoutFile;
    EXPECT_DEATH(static_cast<void>(assetDelete(withoutFile, deletion())), kMessage);
    addFile("Photos/x/100APPLE/photo", "/private/var/mobile/Mediax/photo");
    EXPECT_DEATH(static_cast<void>(assetDelete(nodeAt("Photos/x/100APPLE/photo"), deletion())), kMessage);
}

} // namespace
} // namespace slicewise
