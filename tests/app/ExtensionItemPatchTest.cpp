#include "app/ExtensionItemPatch.h"

#include "platform/ObjectiveC.h"
#include "tests/platform/StandInModules.h"
#include "tests/support/InChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *kMethod = "_matchingDictionaryRepresentation";

class ExtensionItemPatch : public ::testing::Test {
protected:
    std::vector<std::string> lines;
    Log log{[this](std::string_view line) { lines.emplace_back(line); }};
};

ObjcId newItem(const ObjectiveC &runtime)
{
    return runtime.send(runtime.classNamed("NSExtensionItem"), "item");
}

TEST_F(ExtensionItemPatch, extensionItemsAnswerANewEmptyDictionaryAndLogIt)
{
    inChild([this] {
        const ExtensionItemRecord &record = loadExtensionItem();
        EXPECT_TRUE(patchExtensionItems(log));
        EXPECT_THAT(lines, IsEmpty());
        const ObjectiveC runtime = ObjectiveC::find().value();
        const ObjcId item = newItem(runtime);
        const ObjcId first = runtime.send(item, kMethod);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(runtime.send<unsigned long>(first, "count"), 0U);
        EXPECT_NE(runtime.send(item, kMethod), first);
        EXPECT_EQ(record.dictionariesMade, 2);
        EXPECT_EQ(record.originalCalls, 0);
        EXPECT_THAT(lines, ElementsAre("Did I crash?", "Did I crash?"));
    });
}

TEST_F(ExtensionItemPatch, isDoneOnceAndNeverTakenBack)
{
    inChild([this] {
        const ExtensionItemRecord &record = loadExtensionItem();
        EXPECT_TRUE(patchExtensionItems(log));
        EXPECT_FALSE(patchExtensionItems(log));
        const ObjectiveC runtime = ObjectiveC::find().value();
        EXPECT_NE(runtime.send(newItem(runtime), kMethod), nullptr);
        EXPECT_EQ(record.originalCalls, 0);
    });
}

TEST_F(ExtensionItemPatch, theSystemsMethodIsThenThatOfOurClass)
{
    inChild([this] {
        loadExtensionItem();
        ASSERT_TRUE(patchExtensionItems(log));
        const ObjectiveC runtime = ObjectiveC::find().value();
        EXPECT_NE(runtime.classNamed("SZAAppDelegate"), nullptr);
        EXPECT_TRUE(runtime.hasInstanceMethod("SZAAppDelegate", kMethod));
    });
}

TEST_F(ExtensionItemPatch, changesNothingWithoutARuntime)
{
    ASSERT_FALSE(ObjectiveC::find());
    EXPECT_FALSE(patchExtensionItems(log));
}

TEST_F(ExtensionItemPatch, changesNothingWithoutTheClass)
{
    inChild([this] {
        loadFoundation();
        EXPECT_FALSE(patchExtensionItems(log));
        EXPECT_EQ(ObjectiveC::find().value().classNamed("SZAAppDelegate"), nullptr);
        EXPECT_THAT(lines, IsEmpty());
    });
}

TEST_F(ExtensionItemPatch, changesNothingWithoutTheMethod)
{
    inChild([this] {
        loadBareExtensionItem();
        EXPECT_FALSE(patchExtensionItems(log));
        const ObjectiveC runtime = ObjectiveC::find().value();
        EXPECT_FALSE(runtime.hasInstanceMethod("NSExtensionItem", kMethod));
        EXPECT_THAT(lines, IsEmpty());
    });
}

} // namespace
} // namespace slicewise
