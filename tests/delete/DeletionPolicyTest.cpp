#include "delete/DeletionPolicy.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {
namespace {

/// A root and nodes of these names below it, one in the other.
class Path {
public:
    explicit Path(std::initializer_list<std::string_view> names)
    {
        add("Disk");
        for (const std::string_view name : names) {
            add(name);
        }
    }

    [[nodiscard]] SZADeleteType type() const { return SZADeleteTypeForNodePath(m_path); }
    [[nodiscard]] bool hasDeletableChildren() const { return pathHasDeletableChildren(m_path); }

private:
    void add(std::string_view name)
    {
        m_nodes.push_back(std::make_unique<SZANode>());
        m_nodes.back()->setName(name);
        m_path.push_back(m_nodes.back().get());
    }

    std::vector<std::unique_ptr<SZANode>> m_nodes;
    std::vector<const SZANode *> m_path;
};

SZADeleteType typeOf(std::initializer_list<std::string_view> names)
{
    return Path(names).type();
}

constexpr std::string_view kCategories[] = {
    "Applications",
    "Application Data",
    "Cydia Packages",
    "iTunes",
    "Message Attachments",
    "Messages",
    "Photos",
    "Logs",
    "Operating System",
    "Temporary Data",
    "Others",
    "ROMs",
    "Ringtones",
    "",
};

TEST(DeletionPolicy, theNumbersOfTheTypesAreFixed)
{
    EXPECT_EQ(SZADeleteTypeNone, 0);
    EXPECT_EQ(SZADeleteTypeRegular, 1);
    EXPECT_EQ(SZADeleteTypeApp, 2);
    EXPECT_EQ(SZADeleteTypeParent, 3);
    EXPECT_EQ(SZADeleteTypePackage, 4);
    EXPECT_EQ(SZADeleteTypeAsset, 5);
    EXPECT_EQ(sizeof(SZADeleteType), 4U);
}

TEST(DeletionPolicy, neitherTheRootNorACategoryCanBeDeleted)
{
    EXPECT_EQ(typeOf({}), SZADeleteTypeNone);
    for (const std::string_view category : kCategories) {
        EXPECT_EQ(typeOf({category}), SZADeleteTypeNone) << category;
    }
}

TEST(DeletionPolicy, whatLiesBelowTheCategoriesOfPlainFilesCanBeDeletedAtAnyDepth)
{
    for (const std::string_view category : {"ROMs", "Others", "Temporary Data", "Logs"}) {
        EXPECT_EQ(typeOf({category, "x"}), SZADeleteTypeRegular) << category;
        EXPECT_EQ(typeOf({category, "x", "y"}), SZADeleteTypeRegular) << category;
        EXPECT_EQ(typeOf({category, "x", "y", "z"}), SZADeleteTypeRegular) << category;
        EXPECT_EQ(typeOf({category, "x", "100APPLE", "z"}), SZADeleteTypeRegular) << category;
        EXPECT_EQ(typeOf({category, ""}), SZADeleteTypeRegular) << category;
        EXPECT_EQ(typeOf({category, "Previews"}), SZADeleteTypeRegular) << category;
    }
}

TEST(DeletionPolicy, ofFourCategoriesOnlyTheDirectChildrenCanBeDeletedEachInItsWay)
{
    EXPECT_EQ(typeOf({"Application Data", "x"}), SZADeleteTypeRegular);
    EXPECT_EQ(typeOf({"Applications", "x"}), SZADeleteTypeApp);
    EXPECT_EQ(typeOf({"Cydia Packages", "x"}), SZADeleteTypePackage);
    EXPECT_EQ(typeOf({"Message Attachments", "x"}), SZADeleteTypeParent);
    for (const std::string_view category :
         {"Application Data", "Applications", "Cydia Packages", "Message Attachments"}) {
        EXPECT_EQ(typeOf({category, "x", "y"}), SZADeleteTypeNone) << category;
        EXPECT_EQ(typeOf({category, "100APPLE", "y"}), SZADeleteTypeNone) << category;
        EXPECT_EQ(typeOf({category, "x", "y", "z"}), SZADeleteTypeNone) << category;
    }
}

TEST(DeletionPolicy, thePreviewsOfAttachmentsCanNotBeDeleted)
{
    EXPECT_EQ(typeOf({"Message Attachments", "Previews"}), SZADeleteTypeNone);
    EXPECT_EQ(typeOf({"Message Attachments", "Previews", "x"}), SZADeleteTypeNone);
    EXPECT_EQ(typeOf({"Message Attachments", "previews"}), SZADeleteTypeParent);
    EXPECT_EQ(typeOf({"Message Attachments", "Previews "}), SZADeleteTypeParent);
    EXPECT_EQ(typeOf({"Applications", "Previews"}), SZADeleteTypeApp);
}

TEST(DeletionPolicy, photosCanBeDeletedFromACamerasFoldersOnly)
{
    EXPECT_EQ(typeOf({"Photos", "DCIM", "100APPLE", "IMG_0001.JPG"}), SZADeleteTypeAsset);
    EXPECT_EQ(typeOf({"Photos", "100APPLE", "IMG_0001.JPG"}), SZADeleteTypeAsset);
    EXPECT_EQ(typeOf({"Photos", "a", "b", "c", "APPLE", "x"}), SZADeleteTypeAsset);
    EXPECT_EQ(typeOf({"Photos", "DCIM", "100CANON", "IMG_0001.JPG"}), SZADeleteTypeNone);
    EXPECT_EQ(typeOf({"Photos", "DCIM", "100apple", "IMG_0001.JPG"}), SZADeleteTypeNone);
    EXPECT_EQ(typeOf({"Photos", "DCIM", "100APPLES", "IMG_0001.JPG"}), SZADeleteTypeNone);
    EXPECT_EQ(typeOf({"Photos", "100APPLE"}), SZADeleteTypeNone);
    EXPECT_EQ(typeOf({"Photos", "DCIM", "100APPLE"}), SZADeleteTypeNone);
    EXPECT_EQ(typeOf({"Photos", "DCIM", "100APPLE", "sub", "IMG_0001.JPG"}), SZADeleteTypeNone);
    EXPECT_EQ(typeOf({"Photos", "x"}), SZADeleteTypeNone);
}

TEST(DeletionPolicy, noOtherCategoryIsEverDeletable)
{
    for (const std::string_view category :
         {"Operating System", "iTunes", "Messages", "Ringtones", "Package Data", ""}) {
        EXPECT_EQ(typeOf({category, "x"}), SZADeleteTypeNone) << category;
        EXPECT_EQ(typeOf({category, "x", "y"}), SZADeleteTypeNone) << category;
        EXPECT_EQ(typeOf({category, "DCIM", "100APPLE", "x"}), SZADeleteTypeNone) << category;
    }
}

TEST(DeletionPolicy, namesAreComparedExactly)
{
    for (const std::string_view category :
         {"others", "OTHERS", "Others ", " Others", "Other", "Othersx", "logs", "roms", "temporary data",
          "applications", "cydia packages"}) {
        EXPECT_EQ(typeOf({category, "x"}), SZADeleteTypeNone) << category;
    }
    EXPECT_EQ(typeOf({"photos", "DCIM", "100APPLE", "x"}), SZADeleteTypeNone);
}

TEST(DeletionPolicy, aCategorysNameFurtherDownMeansNothing)
{
    EXPECT_EQ(typeOf({"Operating System", "Others", "x"}), SZADeleteTypeNone);
    EXPECT_EQ(typeOf({"Operating System", "Photos", "100APPLE", "x"}), SZADeleteTypeNone);
}

TEST(DeletionPolicy, aChildWithoutANameTellsWhetherTheChildrenMayBeDeleted)
{
    EXPECT_FALSE(Path({}).hasDeletableChildren());
    EXPECT_TRUE(Path({"Others"}).hasDeletableChildren());
    EXPECT_TRUE(Path({"Others", "x", "y"}).hasDeletableChildren());
    EXPECT_TRUE(Path({"Applications"}).hasDeletableChildren());
    EXPECT_FALSE(Path({"Applications", "x"}).hasDeletableChildren());
    EXPECT_TRUE(Path({"Cydia Packages"}).hasDeletableChildren());
    EXPECT_TRUE(Path({"Message Attachments"}).hasDeletableChildren());
    EXPECT_FALSE(Path({"Message Attachments", "Previews"}).hasDeletableChildren());
    EXPECT_FALSE(Path({"Photos"}).hasDeletableChildren());
    EXPECT_FALSE(Path({"Photos", "DCIM"}).hasDeletableChildren());
    EXPECT_TRUE(Path({"Photos", "DCIM", "100APPLE"}).hasDeletableChildren());
    EXPECT_TRUE(Path({"Photos", "100APPLE"}).hasDeletableChildren());
    EXPECT_FALSE(Path({"Operating System", "x"}).hasDeletableChildren());
}

} // namespace
} // namespace slicewise
