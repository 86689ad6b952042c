#include "platform/ObjectiveC.h"

#include "platform/ApplicationInstaller.h"
#include "platform/CompletionBlock.h"
#include "platform/PhotoLibrary.h"
#include "tests/platform/StandInModules.h"
#include "tests/support/InChild.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

// What all tests of this program rest on: only what a child loads is there.
TEST(ObjectiveC, isNotThereUnlessItIsLoaded)
{
    EXPECT_EQ(symbolInProcess("objc_getClass"), nullptr);
    EXPECT_FALSE(ObjectiveC::find());
    EXPECT_EQ(ObjectiveC::obstacle({}), "there is no Objective-C runtime");
    inChild([] {
        loadFoundation();
        EXPECT_TRUE(ObjectiveC::find());
        EXPECT_EQ(ObjectiveC::obstacle({}), std::nullopt);
    });
}

TEST(ObjectiveC, findsClassesByName)
{
    inChild([] {
        loadFoundation();
        const ObjectiveC runtime = ObjectiveC::find().value();
        EXPECT_NE(runtime.classNamed("NSString"), nullptr);
        EXPECT_EQ(runtime.classNamed("NSStrin"), nullptr);
        EXPECT_EQ(ObjectiveC::obstacle({"NSString", "NSURL"}), std::nullopt);
        EXPECT_EQ(ObjectiveC::obstacle({"NSString", "NSData", "NSDate"}), "there is no class NSData");
    });
}

TEST(ObjectiveC, carriesTextsToObjectsAndBack)
{
    inChild([] {
        const FoundationRecord &foundation = loadFoundation();
        const ObjectiveC runtime = ObjectiveC::find().value();
        std::vector<std::string> back;
        ASSERT_TRUE(runtime.guarded([&] {
            for (const char *text : {"", "plain", "Übergröße 日本語 😀"}) {
                back.push_back(runtime.description(runtime.text(text)));
            }
            EXPECT_EQ(runtime.text("\xff"), nullptr);
            EXPECT_EQ(runtime.text(std::string("a\0b", 3)), nullptr);
            EXPECT_EQ(runtime.description(nullptr), "(null)");
            EXPECT_EQ(foundation.objectsAlive, 3);
        }));
        EXPECT_EQ(back, (std::vector<std::string>{"", "plain", "Übergröße 日本語 😀"}));
        EXPECT_EQ(foundation.objectsAlive, 0);
        EXPECT_EQ(foundation.earlyMessages, 0);
    });
}

TEST(ObjectiveC, givesBackThePoolsOfGuardedCodeInsideEachOther)
{
    inChild([] {
        const FoundationRecord &foundation = loadFoundation();
        const ObjectiveC runtime = ObjectiveC::find().value();
        bool inner = true;
        EXPECT_TRUE(runtime.guarded([&] {
            EXPECT_NE(runtime.text("outer"), nullptr);
            inner = runtime.guarded([&] {
                EXPECT_NE(runtime.text("inner"), nullptr);
                EXPECT_EQ(foundation.poolsOpen, 2);
                throw std::runtime_error("raised");
            });
            EXPECT_EQ(foundation.objectsAlive, 1);
        }));
        EXPECT_FALSE(inner);
        EXPECT_EQ(foundation.poolsMade, 2);
        EXPECT_EQ(foundation.poolsOpen, 0);
        EXPECT_EQ(foundation.objectsAlive, 0);
    });
}

TEST(ObjectiveC, sendsThroughWhicheverDispatchThereIs)
{
    if (sizeof(void *) != 8) {
        GTEST_SKIP() << "The stand-in for the sending dispatch is written for processors of 64 bits";
    }
    inChild([] {
        loadFoundation();
        LibraryRecord &library = loadPhotoLibrary();
        WorkspaceRecord &workspace = loadWorkspace();
        const SenderRecord &sender = loadSender();
        library.success = 0x80;
        library.error = ErrorWithText;
        library.errorText = "sent";
        workspace.answer = 0x80;
        Log log([](std::string_view) {});
        std::vector<std::pair<bool, std::string>> answers;
        systemPhotoLibrary(log)->deleteAssetWithURLHandler(
            "assets-library://asset/?id=1",
            [&](bool success, const std::string &error) { answers.emplace_back(success, error); });
        EXPECT_EQ(answers, (std::vector<std::pair<bool, std::string>>{{true, "sent"}}));
        EXPECT_STREQ(library.url, "assets-library://asset/?id=1");
        EXPECT_EQ(library.earlyMessages, 0);
        // alloc, init, sharedInstance, stringWithUTF8String:, URLWithString:, deleteAssetWithURL:handler:,
        // drain; and for the error alloc, init, description, UTF8String, drain
        EXPECT_EQ(sender.messages, 12);
        const auto installer = systemApplicationInstaller(log);
        EXPECT_TRUE(installer->applicationWorkspace()("net.example.app"));
        EXPECT_STREQ(workspace.identifier, "net.example.app");
        // alloc, init, stringWithUTF8String:, defaultWorkspace, uninstallApplication:withOptions:, drain
        EXPECT_EQ(sender.messages, 18);
    });
}

ObjcId answersItself(ObjcId receiver, ObjcSelector * /*selector*/)
{
    return receiver;
}

TEST(ObjectiveC, addsAClassOnceAndExchangesWhatItsMethodDoes)
{
    inChild([] {
        const ExtensionItemRecord &record = loadExtensionItem();
        const ObjectiveC runtime = ObjectiveC::find().value();
        constexpr const char *kMethod = "_matchingDictionaryRepresentation";
        EXPECT_TRUE(runtime.hasInstanceMethod("NSExtensionItem", kMethod));
        EXPECT_FALSE(runtime.hasInstanceMethod("NSExtensionItem", "somethingElse"));
        EXPECT_FALSE(runtime.hasInstanceMethod("NoSuchClass", kMethod));
        EXPECT_FALSE(runtime.exchangeInstanceMethods("NSExtensionItem", "Ours", kMethod))
            << "there is no Ours yet";

        EXPECT_TRUE(runtime.addClass("Ours", kMethod, answersItself));
        EXPECT_FALSE(runtime.addClass("Ours", kMethod, answersItself));
        EXPECT_TRUE(runtime.hasInstanceMethod("Ours", kMethod));

        const ObjcId item = runtime.send(runtime.classNamed("NSExtensionItem"), "item");
        EXPECT_FALSE(runtime.exchangeInstanceMethods("NSExtensionItem", "Ours", "somethingElse"));
        EXPECT_EQ(runtime.send(item, kMethod), nullptr);
        EXPECT_TRUE(runtime.exchangeInstanceMethods("NSExtensionItem", "Ours", kMethod));
        EXPECT_EQ(runtime.send(item, kMethod), item);
        EXPECT_EQ(record.originalCalls, 1);
        EXPECT_TRUE(runtime.exchangeInstanceMethods("Ours", "NSExtensionItem", kMethod)) << "as before";
        EXPECT_EQ(runtime.send(item, kMethod), nullptr);
        EXPECT_EQ(record.originalCalls, 2);
    });
}

// ---- blocks, without any runtime

/// The head of a block, as every caller of one knows it.
struct Block {
    void *kind;
    int flags;
    int reserved;
    void (*invoke)(Block *, ObjcBool, ObjcId);
    const unsigned long *descriptor; // reserved, size
};

void call(ObjcId block, ObjcBool success)
{
    auto *head = reinterpret_cast<Block *>(block);
    head->invoke(head, success, nullptr);
}

TEST(CompletionBlock, runsItsFunctionAtTheFirstCallOnly)
{
    std::vector<bool> calls;
    CompletionBlock block([&calls](bool success, ObjcId) { calls.push_back(success); });
    EXPECT_EQ(calls.size(), 0U);
    call(block.object(), 2);
    call(block.object(), 0);
    EXPECT_EQ(calls, std::vector<bool>{true});
    EXPECT_FALSE(block.withdraw());
}

TEST(CompletionBlock, doesNothingOnceItIsWithdrawn)
{
    int calls = 0;
    CompletionBlock block([&calls](bool, ObjcId) { ++calls; });
    EXPECT_TRUE(block.withdraw());
    EXPECT_FALSE(block.withdraw());
    call(block.object(), 1);
    EXPECT_EQ(calls, 0);
}

TEST(CompletionBlock, givesItsFunctionUpWhenItHasRun)
{
    const auto held = std::make_shared<int>(0);
    {
        const CompletionBlock block([held](bool, ObjcId) { ++*held; });
        EXPECT_EQ(held.use_count(), 2);
        call(block.object(), 1);
    }
    EXPECT_EQ(*held, 1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(CompletionBlock, isCalledThroughACopyOfAsManyBytesAsItSays)
{
    int calls = 0;
    std::vector<char> copy;
    {
        const CompletionBlock block([&calls](bool, ObjcId) { ++calls; });
        const auto *head = reinterpret_cast<const Block *>(block.object());
        EXPECT_EQ(head->descriptor[0], 0U);
        const auto *bytes = reinterpret_cast<const char *>(head);
        copy.assign(bytes, bytes + head->descriptor[1]);
    }
    call(reinterpret_cast<ObjcId>(copy.data()), 1);
    call(reinterpret_cast<ObjcId>(copy.data()), 1);
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace slicewise
