#include "delete/NodeDeletion.h"
#include "tests/delete/DeletionFixture.h"
#include "tests/support/PropertyListBytes.h"

#include <gmock/gmock.h>

#include <string>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *kBundle = "/private/var/mobile/Applications/0815/Game.app/";

class AppDelete : public DeletionFixture {
protected:
    /// The application's node, whose bundle has such an Info.plist.
    SZANode &makeApplication(const std::string &info)
    {
        folder().writeFile(std::string(kBundle).substr(1) + "Info.plist", info);
        addFile("Applications/Game/Game.app/Game", std::string(kBundle) + "Game");
        addFile("Applications/Game/Game.app/Info.plist", std::string(kBundle) + "Info.plist");
        addFile("Applications/Game/iTunesArtwork", "/private/var/mobile/Applications/0815/iTunesArtwork");
        return nodeAt("Applications/Game");
    }

    SZANode &makeApplication() { return makeApplication(infoWith("com.example.game")); }

    static std::string infoWith(const std::string &identifier)
    {
        return xmlList("<dict><key>CFBundleIdentifier</key><string>" + identifier + "</string></dict>");
    }
};

TEST_F(AppDelete, theFunctionOfOlderSystemsIsAskedFirstAndZeroMeansSuccess)
{
    installer().functionAnswers = 0;
    installer().workspaceAnswers = true;
    EXPECT_TRUE(appDelete(makeApplication(), deletion()));
    EXPECT_THAT(installer().asked, ElementsAre("find function", "call function com.example.game"));
    EXPECT_THAT(logged(),
                ElementsAre("Deleting app", "Found node", "Found info node", "Found name: com.example.game",
                            "Searching iOS7 Method", "Found iOS7 Method"));
}

TEST_F(AppDelete, anythingButZeroFromTheFunctionIsAFailureAndTheClassIsNotTried)
{
    installer().workspaceAnswers = true;
    for (const int answer : {1, -1, 256}) {
        installer().functionAnswers = answer;
        EXPECT_FALSE(appDelete(makeApplication(), deletion())) << answer;
        EXPECT_EQ(installer().asked.back(), "call function com.example.game");
    }
}

TEST_F(AppDelete, theFunctionIsLookedUpOnceAndSaidToBeFoundEachTime)
{
    installer().functionAnswers = 0;
    EXPECT_TRUE(appDelete(makeApplication(), deletion()));
    const std::size_t before = logged().size();
    EXPECT_TRUE(appDelete(nodeAt("Applications/Game"), deletion()));
    EXPECT_THAT(installer().asked, ElementsAre("find function", "call function com.example.game",
                                               "call function com.example.game"));
    EXPECT_THAT(
        std::vector<std::string>(logged().begin() + static_cast<std::ptrdiff_t>(before), logged().end()),
        ElementsAre("Deleting app", "Found node", "Found info node", "Found name: com.example.game",
                    "Found iOS7 Method"));
}

TEST_F(AppDelete, withoutTheFunctionTheClassOfNewerSystemsIsAsked)
{
    installer().workspaceAnswers = true;
    EXPECT_TRUE(appDelete(makeApplication(), deletion()));
    EXPECT_THAT(installer().asked, ElementsAre("find function", "find class", "call class com.example.game"));
    EXPECT_THAT(logged(),
                ElementsAre("Deleting app", "Found node", "Found info node", "Found name: com.example.game",
                            "Searching iOS7 Method", "Searching iOS8 Class", "Found iOS8 Class"));
    installer().workspaceAnswers = false;
    EXPECT_FALSE(appDelete(nodeAt("Applications/Game"), deletion()));
}

TEST_F(AppDelete, whereTheFunctionIsMissingItIsLookedForAtEachCall)
{
    installer().workspaceAnswers = true;
    EXPECT_TRUE(appDelete(makeApplication(), deletion()));
    installer().asked.clear();
    EXPECT_TRUE(appDelete(nodeAt("Applications/Game"), deletion()));
    EXPECT_THAT(installer().asked, ElementsAre("find function", "find class", "call class com.example.game"));
}

TEST_F(AppDelete, aSystemWithNeitherMechanismCanNotUninstall)
{
    EXPECT_FALSE(appDelete(makeApplication(), deletion()));
    EXPECT_THAT(installer().asked, ElementsAre("find function", "find class"));
    EXPECT_EQ(logged().back(), "Searching iOS8 Class");
}

TEST_F(AppDelete, noFileGoesAndNoRightsAreTaken)
{
    installer().functionAnswers = 0;
    EXPECT_TRUE(appDelete(makeApplication(), deletion()));
    EXPECT_TRUE(exists(std::string(kBundle).substr(1) + "Game"));
    EXPECT_EQ(ids().timesRaised(), 0U);
    EXPECT_EQ(calls().count(FailingSystemCalls::Function::UnlinkAt), 0U);
}

TEST_F(AppDelete, anApplicationWithoutABundleIsNotUninstalled)
{
    addFile("Applications/Game/Documents/save", "/private/var/mobile/Applications/0815/Documents/save");
    addFile("Applications/Game/Game.APP/Info.plist",
            "/private/var/mobile/Applications/0815/Game.APP/Info.plist");
    EXPECT_FALSE(appDelete(nodeAt("Applications/Game"), deletion()));
    EXPECT_THAT(logged(), ElementsAre("Deleting app"));
    EXPECT_THAT(installer().asked, IsEmpty());
}

TEST_F(AppDelete, aBundleWithoutAPropertyListIsNotUninstalled)
{
    addFile("Applications/Game/Game.app/Game", std::string(kBundle) + "Game");
    EXPECT_FALSE(appDelete(nodeAt("Applications/Game"), deletion()));
    EXPECT_THAT(logged(), ElementsAre("Deleting app", "Found node"));
}

TEST_F(AppDelete, aPropertyListThatCanNotBeReadOrHasNoIdentifierEndsIt)
{
    for (const std::string &info :
         {std::string("rubbish"), std::string(), xmlList("<array/>"), xmlList("<dict/>"),
          xmlList("<dict><key>CFBundleIdentifier</key><dict/></dict>")}) {
        EXPECT_FALSE(appDelete(makeApplication(info), deletion())) << info;
        EXPECT_EQ(logged().back(), "Found info node");
    }
    SZANode &application = makeApplication();
    folder().remove(std::string(kBundle).substr(1) + "Info.plist");
    EXPECT_FALSE(appDelete(application, deletion()));
    EXPECT_EQ(logged().back(), "Found info node");
    EXPECT_THAT(installer().asked, IsEmpty());
}

TEST_F(AppDelete, anInfoNodeWithoutAFileEndsIt)
{
    addFile("Applications/Game/Game.app/Info.plist/odd", "/odd");
    EXPECT_FALSE(appDelete(nodeAt("Applications/Game"), deletion()));
    EXPECT_THAT(logged(), ElementsAre("Deleting app", "Found node", "Found info node"));
}

TEST_F(AppDelete, binaryPropertyListsAreReadAsWell)
{
    installer().functionAnswers = 0;
    const BinaryList list(
        {dictionaryObject({1}, {2}), asciiObject("CFBundleIdentifier"), asciiObject("com.example.binary")});
    EXPECT_TRUE(appDelete(makeApplication(list.bytes()), deletion()));
    EXPECT_EQ(installer().asked.back(), "call function com.example.binary");
}

TEST_F(AppDelete, ofTwoBundlesTheFirstInTheListIsUsed)
{
    installer().functionAnswers = 0;
    for (const std::string name : {"A", "B"}) {
        const std::string bundle = "/Applications/0815/" + name + ".app/Info.plist";
        folder().writeFile(bundle.substr(1),
                           infoWith("com.example." + name) + std::string(name == "B" ? 100 : 0, ' '));
        addFile("Applications/Game/" + name + ".app/Info.plist", bundle);
    }
    EXPECT_EQ(nodeAt("Applications/Game").getNodes().front()->name(), "B.app");
    EXPECT_TRUE(appDelete(nodeAt("Applications/Game"), deletion()));
    EXPECT_EQ(installer().asked.back(), "call function com.example.B");
}

} // namespace
} // namespace slicewise
