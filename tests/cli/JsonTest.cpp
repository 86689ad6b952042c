#include "scan/Utf8.h"
#include "tests/cli/CliFixture.h"
#include "ui/NameText.h"

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <string>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;

class Json : public CliFixture {
protected:
    [[nodiscard]] static rapidjson::Document parsed(const std::string &text)
    {
        EXPECT_TRUE(isUtf8(text));
        EXPECT_TRUE(text.ends_with("}\n"));
        rapidjson::Document document;
        document.Parse<rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag>(text);
        EXPECT_FALSE(document.HasParseError()) << text.substr(0, 2000);
        return document;
    }

    [[nodiscard]] rapidjson::Document of(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), "--json");
        return parsed(outputOf(std::move(arguments)));
    }

    // The names of an object's members, in order.
    [[nodiscard]] static std::vector<std::string> members(const rapidjson::Value &object)
    {
        std::vector<std::string> names;
        for (const auto &member : object.GetObject()) {
            names.emplace_back(member.name.GetString());
        }
        return names;
    }

    [[nodiscard]] static std::vector<std::string> childNames(const rapidjson::Value &node)
    {
        std::vector<std::string> names;
        for (const auto &child : node["children"].GetArray()) {
            names.emplace_back(child["name"].GetString());
        }
        return names;
    }
};

TEST_F(Json, isOneObjectWithTheScansNumbersAndTheTree)
{
    folder().makeFile("usr/a", 10);
    folder().makeFile("home/b", 30);
    const rapidjson::Document json = of({});
    EXPECT_THAT(members(json), ElementsAre("format", "version", "root", "diskSize", "files", "directories",
                                           "unreadable", "tree"));
    EXPECT_STREQ(json["format"].GetString(), "slicewise-tree");
    EXPECT_EQ(json["version"].GetInt(), 1);
    EXPECT_EQ(json["root"].GetString(), folder().path());
    EXPECT_GT(json["diskSize"].GetUint64(), 0U);
    EXPECT_EQ(json["files"].GetUint64(), 2U);
    EXPECT_EQ(json["directories"].GetUint64(), 3U);
    EXPECT_EQ(json["unreadable"].GetUint64(), 0U);
    EXPECT_STREQ(json["tree"]["name"].GetString(), "Disk");
    EXPECT_EQ(json["tree"]["size"].GetUint64(), 40U);
}

TEST_F(Json, aNodeHasAFilenameOnlyWhereAFileEndedAndChildrenOnlyWhereThereAreAny)
{
    folder().makeFile("home/b", 30);
    const rapidjson::Document json = of({});
    const rapidjson::Value &others = json["tree"]["children"][0];
    EXPECT_THAT(members(others), ElementsAre("name", "size", "index", "deleteType", "children"));
    const rapidjson::Value &file = others["children"][0]["children"][0];
    EXPECT_THAT(members(file), ElementsAre("name", "size", "index", "deleteType", "filename"));
    EXPECT_STREQ(file["filename"].GetString(), "/home/b");
}

TEST_F(Json, childrenStandLargestFirstAndEqualOnesInTheOrderInWhichTheyWereMet)
{
    for (int i = 0; i < 40; ++i) {
        folder().makeFile("home/f" + std::to_string(i), i % 2 == 0 ? 5 : 9);
    }
    const rapidjson::Document json = of({"--path", "Others/home"});
    const auto &children = json["tree"]["children"].GetArray();
    ASSERT_EQ(children.Size(), 40U);
    for (rapidjson::SizeType i = 1; i < children.Size(); ++i) {
        const auto size = [&](rapidjson::SizeType k) { return children[k]["size"].GetUint64(); };
        const auto index = [&](rapidjson::SizeType k) { return children[k]["index"].GetUint64(); };
        EXPECT_TRUE(size(i - 1) > size(i) || (size(i - 1) == size(i) && index(i - 1) < index(i))) << i;
    }
}

TEST_F(Json, everyNodeTellsHowItMayBeDeletedAlsoWhereThePathBeginsFurtherDown)
{
    folder().makeFile("home/b", 30);
    folder().makeFile("private/var/mobile/Media/DCIM/100APPLE/c", 20);
    const rapidjson::Document json = of({});
    const rapidjson::Value &tree = json["tree"];
    const rapidjson::Value &others = tree["children"][0];
    const rapidjson::Value &photos = tree["children"][1];
    EXPECT_EQ(tree["deleteType"].GetInt(), 0);
    EXPECT_EQ(others["deleteType"].GetInt(), 0);
    EXPECT_EQ(others["children"][0]["deleteType"].GetInt(), 1);
    EXPECT_EQ(others["children"][0]["children"][0]["deleteType"].GetInt(), 1);
    ASSERT_STREQ(photos["name"].GetString(), "Photos");

    EXPECT_EQ(of({"--path", "Others/home/b"})["tree"]["deleteType"].GetInt(), 1);
    const rapidjson::Document folderOfCamera = of({"--path", "Photos/100APPLE"});
    EXPECT_EQ(folderOfCamera["tree"]["deleteType"].GetInt(), 0);
    EXPECT_EQ(folderOfCamera["tree"]["children"][0]["deleteType"].GetInt(), 5);
}

TEST_F(Json, depthCutsTheTreeBelowThePath)
{
    folder().makeFile("home/a/b/c", 1);
    const rapidjson::Document none = of({"--depth", "0"});
    EXPECT_THAT(members(none["tree"]), ElementsAre("name", "size", "index", "deleteType"));
    const rapidjson::Document one = of({"--path", "Others/home", "--depth", "1"});
    EXPECT_STREQ(one["tree"]["name"].GetString(), "home");
    EXPECT_THAT(childNames(one["tree"]), ElementsAre("a"));
    EXPECT_FALSE(one["tree"]["children"][0].HasMember("children"));
}

TEST_F(Json, anEmptyFolderIsATreeWithoutChildren)
{
    const rapidjson::Document json = of({});
    EXPECT_THAT(members(json["tree"]), ElementsAre("name", "size", "index", "deleteType"));
    EXPECT_EQ(json["tree"]["size"].GetUint64(), 0U);
}

TEST_F(Json, aNameThatIsNotUtf8HasItsSpellingBesideIt)
{
    folder().makeFile("n/a\xff\nb", 1);
    const rapidjson::Document json = of({"--path", "Others/n"});
    const rapidjson::Value &file = json["tree"]["children"][0];
    EXPECT_THAT(members(file), ElementsAre("name", "nameEscaped", "size", "index", "deleteType", "filename",
                                           "filenameEscaped"));
    EXPECT_STREQ(file["name"].GetString(), "a\uFFFD\nb");
    EXPECT_STREQ(file["nameEscaped"].GetString(), "a\\xFF\\x0Ab");
    EXPECT_STREQ(file["filename"].GetString(), "/n/a\uFFFD\nb");
    EXPECT_STREQ(file["filenameEscaped"].GetString(), "/n/a\\xFF\\x0Ab");
}

TEST_F(Json, isValidWhateverBytesAreInTheNames)
{
    std::string name;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '/') {
            name.push_back(static_cast<char>(byte));
        }
    }
    const std::size_t ascii = name.find('\x80');
    folder().makeFile("n/" + name.substr(0, ascii), 2);
    folder().makeFile("n/" + name.substr(ascii), 1);
    const rapidjson::Document json = of({"--path", "Others/n"});
    EXPECT_EQ(json["tree"]["children"][0]["name"].GetString(), name.substr(0, ascii));
    EXPECT_EQ(bytesOfTyped(json["tree"]["children"][1]["nameEscaped"].GetString()), name.substr(ascii));
}

TEST_F(Json, aTreeDeeperThanACallStackIsWritten)
{
    folder().makeFile(TemporaryDirectory::chain(3000, "d") + "/f", 1);
    const rapidjson::Document json = of({});
    const rapidjson::Value *node = &json["tree"];
    std::size_t depth = 0;
    while (node->HasMember("children")) {
        node = &(*node)["children"][0];
        ++depth;
    }
    EXPECT_EQ(depth, 3002U);
    EXPECT_EQ(std::string((*node)["filename"].GetString()).size(), 3000U * 2 + 2);
}

TEST_F(Json, errorsAreListedWhereTheyAreAskedFor)
{
    folder().makeFile("home/secret/a", 10);
    folder().setMode("home/secret", 0);
    ProgramRun ordinary = onFolder({"--json", "--errors"});
    asOrdinaryUser(ordinary);
    const rapidjson::Document json = parsed(runProgram(ordinary).standardOutput);
    EXPECT_EQ(json["unreadable"].GetUint64(), 1U);
    ASSERT_EQ(json["errors"].Size(), 1U);
    EXPECT_STREQ(json["errors"][0]["path"].GetString(), "/home/secret");
    EXPECT_STREQ(json["errors"][0]["kind"].GetString(), "directory");
    EXPECT_STREQ(json["errors"][0]["reason"].GetString(), "Permission denied");
}

} // namespace
} // namespace slicewise
