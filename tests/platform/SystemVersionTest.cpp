#include "platform/SystemVersion.h"

#include "platform/HostDevice.h"
#include "tests/support/FailingDevice.h"
#include "tests/support/InChild.h"
#include "tests/support/PropertyListBytes.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <plist/plist.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <string>

namespace slicewise {
namespace {

constexpr std::string_view kList = "System/Library/CoreServices/SystemVersion.plist";

PlistNode listWith(plist_t version)
{
    PlistNode root(plist_new_dict());
    plist_dict_set_item(root.get(), "ProductName", plist_new_string("iPhone OS"));
    plist_dict_set_item(root.get(), "ProductBuildVersion", plist_new_string("11D257"));
    plist_dict_set_item(root.get(), "ProductVersion", version);
    return root;
}

float versionIn(const TemporaryDirectory &directory)
{
    const auto device = HostDevice::open(directory.path());
    return systemVersionOf(**device).number;
}

float versionOfBytes(std::string_view bytes)
{
    const TemporaryDirectory directory;
    directory.writeFile(kList, bytes);
    return versionIn(directory);
}

float versionOf(const char *text)
{
    const PlistNode list = listWith(plist_new_string(text));
    const float binary = versionOfBytes(writtenAsBinary(list));
    EXPECT_EQ(versionOfBytes(writtenAsXml(list)), binary);
    return binary;
}

constexpr float kNew = SystemVersion::kWithTextIdentifiers;

TEST(SystemVersion, isTheNumberThatTheProductVersionBeginsWith)
{
    EXPECT_EQ(versionOf("7.1.2"), 7.1F);
    EXPECT_EQ(versionOf("8.0.2"), 8.0F);
    EXPECT_EQ(versionOf("7.0"), 7.0F);
    EXPECT_EQ(versionOf("10"), 10.0F);
    EXPECT_EQ(versionOf("10.3.4"), 10.3F);
    EXPECT_EQ(versionOf("10.25"), 10.25F);
    EXPECT_EQ(versionOf("007"), 7.0F);
    EXPECT_EQ(versionOf("7.9.9"), 7.9F);
    EXPECT_EQ(versionOf("7."), 7.0F);
    EXPECT_EQ(versionOf("0"), 0.0F);
}

TEST(SystemVersion, isReadBehindWhiteSpaceAndUpToAnythingElse)
{
    EXPECT_EQ(versionOf(" 9.1"), 9.1F);
    EXPECT_EQ(versionOf("\n\t  6.1.3\n"), 6.1F);
    EXPECT_EQ(versionOf("+6.0"), 6.0F);
    EXPECT_EQ(versionOf(".5"), 0.5F);
    EXPECT_EQ(versionOf("7beta"), 7.0F);
    EXPECT_EQ(versionOf("7.1b2"), 7.1F);
    EXPECT_EQ(versionOf("7,9"), 7.0F);
    EXPECT_EQ(versionOf("7 9"), 7.0F);
    EXPECT_EQ(versionOf("7..9"), 7.0F);
}

TEST(SystemVersion, isReadFromANumberToo)
{
    EXPECT_EQ(versionOfBytes(writtenAsBinary(listWith(plist_new_real(7.1)))), 7.1F);
    EXPECT_EQ(versionOfBytes(writtenAsXml(listWith(plist_new_uint(6)))), 6.0F);
}

TEST(SystemVersion, isANewOneWhereItIsNoNumber)
{
    for (const char *text : {"", " ", "abc", "iOS 7", ".", "+", "++7", "-7", "-", "inf", "nan", "x7.1"}) {
        EXPECT_EQ(versionOf(text), kNew) << text;
    }
}

TEST(SystemVersion, isANewOneWhereTheNumberIsHuge)
{
    EXPECT_EQ(versionOf(std::string(39, '1').c_str()), 1.1111111e38F);
    EXPECT_EQ(versionOf(std::string(40, '9').c_str()), kNew);
    EXPECT_EQ(versionOf(std::string(1000, '9').c_str()), kNew);
    EXPECT_EQ(versionOf(("7." + std::string(1000, '1')).c_str()), kNew);
    EXPECT_EQ(versionOf(("7." + std::string(100, '1')).c_str()), 7.1111111F);
}

TEST(SystemVersion, isANewOneWhereTheListDoesNotSayIt)
{
    PlistNode without(plist_new_dict());
    plist_dict_set_item(without.get(), "ProductName", plist_new_string("7.1"));
    EXPECT_EQ(versionOfBytes(writtenAsXml(without)), kNew);
    EXPECT_EQ(versionOfBytes(writtenAsBinary(listWith(plist_new_array()))), kNew);
    EXPECT_EQ(versionOfBytes(writtenAsBinary(listWith(plist_new_data("7.1", 3)))), kNew);
    EXPECT_EQ(versionOfBytes(xmlList("<array><string>ProductVersion</string></array>")), kNew);
    EXPECT_EQ(versionOfBytes(xmlList("<string>7.1</string>")), kNew);
}

TEST(SystemVersion, isANewOneWhereTheListIsBrokenOrMissing)
{
    const std::string whole = writtenAsBinary(listWith(plist_new_string("7.1.2")));
    ASSERT_EQ(versionOfBytes(whole), 7.1F);
    EXPECT_EQ(versionOfBytes(std::string_view(whole).substr(0, whole.size() - 1)), kNew);
    EXPECT_EQ(versionOfBytes(""), kNew);
    EXPECT_EQ(versionOfBytes("ProductVersion = 7.1"), kNew);

    const TemporaryDirectory directory;
    EXPECT_EQ(versionIn(directory), kNew);
    directory.makeDirectory(kList);
    EXPECT_EQ(versionIn(directory), kNew);
}

TEST(SystemVersion, isANewOneWhereTheListCanNotBeRead)
{
    const TemporaryDirectory directory;
    directory.writeFile(kList, writtenAsXml(listWith(plist_new_string("7.1.2"))));
    const auto host = HostDevice::open(directory.path());
    const std::string path = "/" + std::string(kList);
    EXPECT_EQ(systemVersionOf(**host).number, 7.1F);
    FailingDevice unopened(**host);
    unopened.failOpenFile(path, EACCES);
    EXPECT_EQ(systemVersionOf(unopened), SystemVersion());
    FailingDevice unread(**host);
    unread.failReadAt(path, 0, EIO);
    EXPECT_EQ(systemVersionOf(unread), SystemVersion());
}

TEST(SystemVersion, isThatOfTheDeviceWhereTheListIsALink)
{
    // The link's target counts from the device's root.
    const TemporaryDirectory directory;
    directory.writeFile("private/Version.plist", writtenAsXml(listWith(plist_new_string("6.1"))));
    directory.makeLink(kList, "/private/Version.plist");
    EXPECT_EQ(versionIn(directory), 6.1F);
}

TEST(SystemVersion, doesNotDependOnTheDecimalPointOfTheLocale)
{
    const TemporaryDirectory directory;
    const ProgramResult made = runProgram(
        {.arguments = {"localedef", "-i", "de_DE", "-f", "UTF-8", directory.pathOf("de_DE.UTF-8")}});
    // In a child, because the locale and LOCPATH are everybody's.
    asOrdinaryUser([&] {
        ::setenv("LOCPATH", directory.path().c_str(), 1);
        ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr)
            << "a locale could not be made: " << made.standardError;
        EXPECT_EQ(std::strtod("1,5", nullptr), 1.5);
        EXPECT_EQ(versionOf("7.1.2"), 7.1F);
        EXPECT_EQ(versionOf("7,9"), 7.0F);
    });
}

TEST(SystemVersion, comparesAsANumber)
{
    EXPECT_LT(versionOf("7.9.9"), kNew);
    EXPECT_GE(versionOf("8.0"), kNew);
    EXPECT_GE(versionOf("10.0"), kNew);
    EXPECT_FALSE(SystemVersion{7.1F} == SystemVersion());
    EXPECT_TRUE(SystemVersion{8.0F} == SystemVersion());
}

TEST(SystemVersion, ofTheHostIsThatOfItsOwnRoot)
{
    const auto host = HostDevice::open("/");
    ASSERT_TRUE(host);
    EXPECT_EQ(systemVersionOfHost(), systemVersionOf(**host));
}

} // namespace
} // namespace slicewise
