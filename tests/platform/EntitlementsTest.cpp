// The rights that a program for a device is signed with: without each of them one of its services refuses.
#include "platform/HostDevice.h"
#include "platform/PropertyList.h"
#include "tests/support/PropertyListBytes.h"

#include <gtest/gtest.h>

#include <plist/plist.h>

#include <cstdint>
#include <string>

namespace slicewise {
namespace {

std::string entitlements()
{
    const auto folder = HostDevice::open(SLICEWISE_PACKAGING);
    const Result<std::string> bytes =
        readFile(**folder, "/ios/slicewise.entitlements", PropertyList::kMostBytes);
    return bytes ? *bytes : "";
}

std::string textOf(plist_t node)
{
    const char *text = plist_get_string_ptr(node, nullptr);
    return text != nullptr ? text : "no text";
}

TEST(Entitlements, areAListThatWeReadOurselves)
{
    const auto list = PropertyList::parse(entitlements());
    ASSERT_TRUE(list);
    ASSERT_TRUE(list->root().isDictionary());
    const auto assets = list->root().value("com.apple.private.assetslibrary.delete-assets");
    ASSERT_TRUE(assets);
    EXPECT_EQ(assets->text(), "1");
    EXPECT_TRUE(list->root().value("com.apple.private.mobileinstall.allowedSPI"));
}

TEST(Entitlements, allowToDeleteAssetsAndToUninstallAndNothingElse)
{
    const std::string bytes = entitlements();
    plist_t parsed = nullptr;
    plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &parsed);
    const PlistNode root(parsed);
    ASSERT_TRUE(root);
    EXPECT_EQ(plist_dict_get_size(root.get()), 2U);
    const plist_t assets = plist_dict_get_item(root.get(), "com.apple.private.assetslibrary.delete-assets");
    ASSERT_EQ(plist_get_node_type(assets), PLIST_BOOLEAN); // the text "1" would give no right
    std::uint8_t mayDelete = 0;
    plist_get_bool_val(assets, &mayDelete);
    EXPECT_EQ(mayDelete, 1);
    const plist_t calls = plist_dict_get_item(root.get(), "com.apple.private.mobileinstall.allowedSPI");
    ASSERT_EQ(plist_get_node_type(calls), PLIST_ARRAY);
    ASSERT_EQ(plist_array_get_size(calls), 2U);
    EXPECT_EQ(textOf(plist_array_get_item(calls, 0)), "Uninstall");
    EXPECT_EQ(textOf(plist_array_get_item(calls, 1)), "UninstallForLaunchServices");
}

} // namespace
} // namespace slicewise
