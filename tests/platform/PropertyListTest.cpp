#include "platform/PropertyList.h"

#include "tests/support/InChild.h"
#include "tests/support/PropertyListBytes.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <plist/plist.h>

#include <array>
#include <clocale>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <utility>

namespace slicewise {
namespace {

using OptionalText = std::optional<std::string>;

// The text under a key of a list that is a dictionary.
OptionalText textUnder(std::string_view key, const std::string &bytes)
{
    const std::optional<PropertyList> list = PropertyList::parse(bytes);
    if (!list || !list->root().isDictionary()) {
        return "no dictionary";
    }
    const std::optional<PropertyList::Value> value = list->root().value(key);
    return value ? value->text() : "no value";
}

OptionalText textOfRoot(const std::string &bytes)
{
    const std::optional<PropertyList> list = PropertyList::parse(bytes);
    return list ? list->root().text() : "no list";
}

OptionalText textOfObject(const std::string &object)
{
    return textOfRoot(BinaryList({object}).bytes());
}

OptionalText textOfElement(std::string_view element)
{
    return textOfRoot(xmlList(element));
}

// Both forms of what libplist writes for a value read the same.
OptionalText textInBothForms(plist_t value)
{
    const PlistNode root(plist_new_dict());
    plist_dict_set_item(root.get(), "Key", value);
    const OptionalText binary = textUnder("Key", writtenAsBinary(root));
    const OptionalText xml = textUnder("Key", writtenAsXml(root));
    EXPECT_EQ(binary, xml);
    return xml;
}

TEST(PropertyList, readsTheSameValuesInBothForms)
{
    EXPECT_EQ(textInBothForms(plist_new_string("Ringtone <1> & \"2\"")), "Ringtone <1> & \"2\"");
    EXPECT_EQ(textInBothForms(plist_new_string("")), "");
    EXPECT_EQ(textInBothForms(plist_new_uint(0)), "0");
    EXPECT_EQ(textInBothForms(plist_new_uint(300)), "300");
    EXPECT_EQ(textInBothForms(plist_new_uint(70'000)), "70000");
    EXPECT_EQ(textInBothForms(plist_new_uint(5'000'000'000)), "5000000000");
    EXPECT_EQ(textInBothForms(plist_new_real(1.5)), "1.5");
    EXPECT_EQ(textInBothForms(plist_new_bool(1)), "1");
    EXPECT_EQ(textInBothForms(plist_new_bool(0)), "0");
}

TEST(PropertyList, readsTextsBeyondAsciiInBothForms)
{
    for (const char *text : {"Übergröße", "日本語", "😀 party", "e\xcc\x81"}) {
        EXPECT_EQ(textInBothForms(plist_new_string(text)), text);
    }
}

TEST(PropertyList, hasNoTextForDatesDataArraysAndDictionaries)
{
    EXPECT_EQ(textInBothForms(plist_new_date(1'000, 0)), std::nullopt);
    EXPECT_EQ(textInBothForms(plist_new_data("abc", 3)), std::nullopt);
    EXPECT_EQ(textInBothForms(plist_new_array()), std::nullopt);
    EXPECT_EQ(textInBothForms(plist_new_dict()), std::nullopt);
    EXPECT_EQ(textOfObject("\x80\x05"), std::nullopt); // a reference of an archive
}

TEST(PropertyList, findsValuesOfDictionariesInDictionaries)
{
    const PlistNode root(plist_new_dict());
    plist_t tones = plist_new_dict();
    plist_t tone = plist_new_dict();
    plist_dict_set_item(tone, "Name", plist_new_string("Bells"));
    plist_dict_set_item(tones, "bells.m4r", tone);
    plist_dict_set_item(root.get(), "Ringtones", tones);
    for (const std::string &bytes : {writtenAsBinary(root), writtenAsXml(root)}) {
        const std::optional<PropertyList> list = PropertyList::parse(bytes);
        ASSERT_TRUE(list);
        const PropertyList::Value found = list->root().value("Ringtones").value().value("bells.m4r").value();
        EXPECT_TRUE(found.isDictionary());
        EXPECT_EQ(found.value("Name").value().text(), "Bells");
    }
}

TEST(PropertyList, findsEachOfManyKeys)
{
    constexpr int kKeys = 3'000;
    const PlistNode root(plist_new_dict());
    for (int i = 0; i < kKeys; ++i) {
        plist_dict_set_item(root.get(), std::to_string(i).c_str(),
                            plist_new_uint(static_cast<std::uint64_t>(i)));
    }
    for (const std::string &bytes : {writtenAsBinary(root), writtenAsXml(root)}) {
        const std::optional<PropertyList> list = PropertyList::parse(bytes);
        ASSERT_TRUE(list);
        for (int i = 0; i < kKeys; ++i) {
            ASSERT_EQ(list->root().value(std::to_string(i)).value().text(), std::to_string(i));
        }
    }
}

TEST(PropertyList, hasNoValueForAKeyThatIsMissing)
{
    const PlistNode root(plist_new_dict());
    plist_dict_set_item(root.get(), "Name", plist_new_string("x"));
    for (const std::string &bytes : {writtenAsBinary(root), writtenAsXml(root)}) {
        for (const std::string_view key : {"", "name", "Nam", "Name ", "x"}) {
            EXPECT_EQ(textUnder(key, bytes), "no value") << key;
        }
        EXPECT_EQ(textUnder(std::string_view("Name\0", 5), bytes), "no value");
    }
}

TEST(PropertyList, readsAnEmptyDictionary)
{
    const PlistNode root(plist_new_dict());
    for (const std::string &bytes : {writtenAsBinary(root), writtenAsXml(root), xmlList("<dict></dict>")}) {
        EXPECT_EQ(textUnder("Name", bytes), "no value");
    }
}

TEST(PropertyList, raisesWhereWhatIsNoDictionaryIsAskedForAValue)
{
    for (const std::string_view element : {"<array/>", "<string>Name</string>", "<true/>", "<data/>"}) {
        const std::optional<PropertyList> list = PropertyList::parse(xmlList(element));
        ASSERT_TRUE(list) << element;
        EXPECT_FALSE(list->root().isDictionary());
        EXPECT_THROW((void)list->root().value("Name"), std::logic_error);
    }
}

TEST(PropertyList, staysValidWhenItIsMoved)
{
    std::optional<PropertyList> parsed =
        PropertyList::parse(xmlList("<dict><key>Name</key><string>Bells</string></dict>"));
    ASSERT_TRUE(parsed);
    const PropertyList::Value before = parsed->root().value("Name").value();
    PropertyList moved = std::move(*parsed);
    parsed.reset();
    EXPECT_EQ(before.text(), "Bells");
    EXPECT_EQ(moved.root().value("Name").value().text(), "Bells");
    std::optional<PropertyList> other = PropertyList::parse(xmlList("<true/>"));
    ASSERT_TRUE(other);
    moved = std::move(*other);
    EXPECT_EQ(moved.root().text(), "1");
}

TEST(PropertyList, needsItsBytesNoLongerOnceItIsParsed)
{
    std::string bytes = BinaryList({asciiObject("a text that is too long for a small string")}).bytes();
    const std::optional<PropertyList> list = PropertyList::parse(bytes);
    bytes.assign(bytes.size(), 'x');
    ASSERT_TRUE(list);
    EXPECT_EQ(list->root().text(), "a text that is too long for a small string");
}

TEST(PropertyList, readsWholeNumbersOfEachSizeAndSign)
{
    EXPECT_EQ(textOfObject("\x10\xff"), "255");
    EXPECT_EQ(textOfObject("\x11\xff\xff"), "65535");
    EXPECT_EQ(textOfObject("\x12\xff\xff\xff\xff"), "4294967295");
    EXPECT_EQ(textOfObject("\x13" + std::string(8, '\xff')), "-1");
    EXPECT_EQ(textOfObject("\x13\x80" + std::string(7, '\0')), "-9223372036854775808");
    EXPECT_EQ(textOfObject("\x13\x7f" + std::string(7, '\xff')), "9223372036854775807");
    EXPECT_EQ(textOfObject("\x14" + std::string(8, '\0') + std::string(8, '\xff')), "18446744073709551615");
    EXPECT_EQ(textOfElement("<integer>-5</integer>"), "-5");
    EXPECT_EQ(textOfElement("<integer>-9223372036854775808</integer>"), "-9223372036854775808");
    EXPECT_EQ(textOfElement("<integer>9223372036854775808</integer>"), "9223372036854775808");
    EXPECT_EQ(textOfElement("<integer>18446744073709551615</integer>"), "18446744073709551615");
    EXPECT_EQ(textOfElement("<integer>0</integer>"), "0");
}

TEST(PropertyList, readsNegativeNumbersInsideADictionary)
{
    EXPECT_EQ(textUnder("a", xmlList("<dict><key>a</key><integer>-7</integer><key>b</key>"
                                     "<integer>18446744073709551615</integer></dict>")),
              "-7");
    EXPECT_EQ(textUnder("b", xmlList("<dict><key>a</key><integer>-7</integer><key>b</key>"
                                     "<integer>18446744073709551615</integer></dict>")),
              "18446744073709551615");
}

TEST(PropertyList, writesRealsWithAsFewDigitsAsGiveThemAgain)
{
    const std::array<std::pair<double, std::string>, 10> numbers = {{
        {1.5, "1.5"},
        {2.0, "2"},
        {-2.25, "-2.25"},
        {0.1, "0.1"},
        {1.0 / 3, "0.3333333333333333"},
        {100'000'000.0, "100000000"},
        {1e22, "10000000000000000000000"},
        {0.000'001, "0.000001"},
        {0.0, "0"},
        {123'456.789, "123456.789"},
    }};
    for (const auto &[number, text] : numbers) {
        const PlistNode node(plist_new_real(number));
        EXPECT_EQ(textOfRoot(writtenAsBinary(node)), text);
    }
    EXPECT_EQ(textOfObject(std::string("\x22\x3f\xc0\x00\x00", 5)), "1.5");
    EXPECT_EQ(textOfElement("<real>2.50</real>"), "2.5");
    EXPECT_EQ(textOfElement("<real>1e3</real>"), "1000");
}

TEST(PropertyList, writesTheSmallestAndTheLargestRealSoThatTheyReadBack)
{
    using Limits = std::numeric_limits<double>;
    for (const double number : {Limits::max(), Limits::lowest(), Limits::min(), Limits::denorm_min()}) {
        const PlistNode node(plist_new_real(number));
        const OptionalText text = textOfRoot(writtenAsBinary(node));
        ASSERT_TRUE(text);
        EXPECT_EQ(std::strtod(text->c_str(), nullptr), number);
        EXPECT_EQ(text->find('e'), std::string::npos);
    }
}

TEST(PropertyList, hasNoTextForRealsThatAreNoNumber)
{
    using Limits = std::numeric_limits<double>;
    for (const double number : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()}) {
        const PlistNode node(plist_new_real(number));
        EXPECT_EQ(textOfRoot(writtenAsBinary(node)), std::nullopt);
    }
    EXPECT_EQ(textOfElement("<real>nan</real>"), std::nullopt);
}

TEST(PropertyList, readsRealsWithAPointWhateverTheLocale)
{
    const TemporaryDirectory directory;
    const ProgramResult made = runProgram(
        {.arguments = {"localedef", "-i", "de_DE", "-f", "UTF-8", directory.pathOf("de_DE.UTF-8")}});
    // In a child, because LOCPATH is everybody's, and because the C library never frees what it makes of it.
    asOrdinaryUser([&] {
        ::setenv("LOCPATH", directory.path().c_str(), 1);
        const locale_t german = ::newlocale(LC_ALL_MASK, "de_DE.UTF-8", nullptr);
        ASSERT_NE(german, nullptr) << "a locale could not be made: " << made.standardError;
        ::uselocale(german);
        EXPECT_EQ(std::strtod("1,5", nullptr), 1.5);
        EXPECT_EQ(textOfElement("<real>1.5</real>"), "1.5");
        const PlistNode node(plist_new_real(1.5));
        EXPECT_EQ(textOfRoot(writtenAsBinary(node)), "1.5");
        EXPECT_EQ(::uselocale(nullptr), german);
    });
}

TEST(PropertyList, keepsBytesThatAreNotUtf8)
{
    EXPECT_EQ(textOfElement("<string>a\xff\xfe\xc3</string>"), "a\xff\xfe\xc3");
    EXPECT_EQ(textOfObject(asciiObject("a\xff\xfe\xc3")), "a\xff\xfe\xc3");
}

TEST(PropertyList, leavesOutHalvesOfSurrogatePairs)
{
    EXPECT_EQ(textOfObject(utf16Object(u"a\xd83d\xde00")), "a😀");
    EXPECT_EQ(textOfObject(utf16Object({u"\xd800"
                                        u"b"})),
              "b");
    EXPECT_EQ(textOfObject(utf16Object({u"\xdc00"
                                        u"b"})),
              "b");
    EXPECT_EQ(textOfObject(utf16Object(u"\xd800")), "");
    EXPECT_EQ(textOfObject(utf16Object(u"\xd800\xd800")), "");
}

TEST(PropertyList, endsATextAtItsFirstNullByte)
{
    EXPECT_EQ(textOfObject(asciiObject(std::string_view("a\0b", 3))), "a");
    EXPECT_EQ(textOfObject(utf16Object(std::u16string_view(u"a\0b", 3))), "a");
}

TEST(PropertyList, readsReferencesToCharactersAndUnchangedSections)
{
    EXPECT_EQ(textOfElement("<string>&lt;&gt;&amp;&quot;&apos;&#65;&#x1F600;</string>"), "<>&\"'A😀");
    EXPECT_EQ(textOfElement("<string>a<![CDATA[<b>&lt;]]>c<!-- d -->e</string>"), "a<b>&lt;ce");
}

TEST(PropertyList, readsXmlWhateverStandsBesideTheValues)
{
    EXPECT_EQ(textOfRoot("<plist><true/></plist>"), "1");
    EXPECT_EQ(textOfRoot("<true/>"), "1");
    EXPECT_EQ(textOfRoot(" \r\n\t<plist><true/></plist> \n"), "1");
    EXPECT_EQ(textOfRoot("\xef\xbb\xbf" + xmlList("<true/>")), "1");
    EXPECT_EQ(textOfRoot("<?xml version=\"1.0\"?><!DOCTYPE plist SYSTEM \"list.dtd\"><!-- <dict> -->"
                         "<plist version='1.0'><!-- </plist> --><true></true ></plist><!-- <array> -->"),
              "1");
    EXPECT_EQ(textUnder("a b",
                        xmlList("<dict >\n <key>a b</key> <!-- <key>c</key> --> <string x=\"y\" >z</string>\n"
                                "</dict>")),
              "z");
}

TEST(PropertyList, readsOffsetsAndReferencesOfEachWidth)
{
    for (std::size_t width = 1; width <= 8; ++width) {
        BinaryList list({"\xa2" + bigEndian(1, width) + bigEndian(2, width), "\x09",
                         "\xd1" + bigEndian(3, width) + bigEndian(1, width), asciiObject("a")});
        list.trailer.offsetBytes = width;
        list.trailer.referenceBytes = width;
        list.trailer.top = 2;
        EXPECT_EQ(textUnder("a", list.bytes()), "1") << width;
        list.trailer.top = 0;
        EXPECT_EQ(textOfRoot(list.bytes()), std::nullopt) << width;
    }
}

TEST(PropertyList, readsAnObjectThatStandsInManyPlaces)
{
    EXPECT_EQ(textUnder("a", BinaryList({dictionaryObject({1, 2}, {3, 3}), asciiObject("a"), asciiObject("b"),
                                         asciiObject("c")})
                                 .bytes()),
              "c");
    EXPECT_EQ(textUnder("a", BinaryList({dictionaryObject({1}, {1}), asciiObject("a")}).bytes()), "a");
}

} // namespace
} // namespace slicewise
