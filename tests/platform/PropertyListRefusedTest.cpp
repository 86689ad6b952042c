// Lists that are damaged, or made to exhaust whoever reads them.
#include "platform/PropertyList.h"
#include "tests/support/PropertyListBytes.h"

#include <gtest/gtest.h>

#include <plist/plist.h>

#include <numeric>

namespace slicewise {
namespace {

bool isAccepted(const std::string &bytes)
{
    return PropertyList::parse(bytes).has_value();
}

bool isAccepted(const BinaryList &list)
{
    return isAccepted(list.bytes());
}

std::string repeated(std::string_view text, std::size_t times)
{
    std::string all;
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// Some of everything.
PlistNode smallList()
{
    PlistNode root(plist_new_dict());
    plist_t array = plist_new_array();
    plist_array_append_item(array, plist_new_uint(1'000'000));
    plist_array_append_item(array, plist_new_real(2.5));
    plist_array_append_item(array, plist_new_bool(1));
    plist_array_append_item(array, plist_new_date(86'400, 0));
    plist_array_append_item(array, plist_new_uid(3));
    plist_dict_set_item(root.get(), "Name", plist_new_string("größer than fifteen characters"));
    plist_dict_set_item(root.get(), "Ringtones", array);
    plist_dict_set_item(root.get(), "itemName", plist_new_data("\x01\x02", 2));
    return root;
}

// Reads what can be read of a list that may have been accepted, for the sanitizers to watch.
std::size_t textBytesIn(const std::string &bytes)
{
    const std::optional<PropertyList> list = PropertyList::parse(bytes);
    if (!list) {
        return 0;
    }
    std::size_t size = list->root().text().value_or("").size();
    for (const std::string_view key : {"Name", "Ringtones", "itemName"}) {
        if (list->root().isDictionary() && list->root().value(key)) {
            size += list->root().value(key)->text().value_or("").size();
        }
    }
    return size;
}

TEST(PropertyListRefused, whatIsNoPropertyList)
{
    for (const std::string_view text : {"",
                                        " ",
                                        "x",
                                        "{ a = b; }",
                                        "(a, b)",
                                        "\"text\"",
                                        "{\"a\": 1}",
                                        "[1]",
                                        "// !$*UTF8*$!\n{}",
                                        "bplist",
                                        "bplist00",
                                        "bplist01",
                                        "<",
                                        "<>",
                                        "</>",
                                        "<?xml version=\"1.0\"?>",
                                        "<!DOCTYPE plist>",
                                        "<html></html>",
                                        "<plist",
                                        "\xef\xbb\xbf",
                                        "\xef\xbb\xbf\xef\xbb\xbf<true/>",
                                        "\xfe\xff"}) {
        EXPECT_FALSE(isAccepted(std::string(text))) << text;
    }
    EXPECT_FALSE(PropertyList::parse(std::string_view()));
}

TEST(PropertyListRefused, eachBeginningOfAList)
{
    for (std::string bytes : {writtenAsBinary(smallList()), writtenAsXml(smallList())}) {
        ASSERT_TRUE(isAccepted(bytes));
        while (bytes.ends_with('\n')) {
            bytes.pop_back(); // a list without its last newline is whole
        }
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_FALSE(isAccepted(bytes.substr(0, size))) << size;
        }
    }
}

TEST(PropertyListRefused, orReadInsideItsBoundsWhicheverByteIsWrong)
{
    for (const std::string &bytes : {writtenAsBinary(smallList()), writtenAsXml(smallList())}) {
        for (std::size_t position = 0; position < bytes.size(); ++position) {
            for (unsigned flip = 1; flip < 256; ++flip) {
                std::string damaged = bytes;
                damaged[position] = static_cast<char>(static_cast<unsigned char>(damaged[position]) ^ flip);
                EXPECT_LE(textBytesIn(damaged), 3 * bytes.size()) << position << ' ' << flip;
            }
        }
    }
}

TEST(PropertyListRefused, binaryListsThatExpandWithoutEnd)
{
    constexpr std::size_t kLevels = 12;
    constexpr std::size_t kReferences = 20;
    std::vector<std::string> objects;
    for (std::size_t level = 1; level < kLevels; ++level) {
        objects.push_back(arrayObject(std::vector<std::uint64_t>(kReferences, level)));
    }
    objects.push_back(arrayObject({}));
    EXPECT_FALSE(isAccepted(BinaryList(objects)));

    objects.clear();
    for (std::size_t level = 1; level < kLevels; ++level) {
        objects.push_back(dictionaryObject(std::vector<std::uint64_t>(kReferences, kLevels - 1),
                                           std::vector<std::uint64_t>(kReferences, level)));
    }
    objects.push_back(asciiObject("a"));
    EXPECT_FALSE(isAccepted(BinaryList(objects)));
}

TEST(PropertyListRefused, binaryListsWithMoreObjectsThanTheLimitOnceExpanded)
{
    constexpr std::size_t kEach = 1'000;
    constexpr std::size_t kArrays = PropertyList::kMostObjects / (kEach + 1);
    constexpr std::size_t kRest = PropertyList::kMostObjects - kArrays * (kEach + 1) - 1;
    std::vector<std::uint64_t> members(kArrays, 1);
    members.insert(members.end(), kRest, 2);
    const std::string inner = arrayObject(std::vector<std::uint64_t>(kEach, 2));
    EXPECT_TRUE(isAccepted(BinaryList({arrayObject(members), inner, "\x09"})));
    members.push_back(2);
    EXPECT_FALSE(isAccepted(BinaryList({arrayObject(members), inner, "\x09"})));
}

TEST(PropertyListRefused, binaryDictionariesWithMoreEntriesThanTheLimitWhenKeysCountToo)
{
    constexpr std::size_t kMost = (PropertyList::kMostObjects - 1) / 2;
    const auto list = [](std::size_t entries) {
        return BinaryList(
            {dictionaryObject(std::vector<std::uint64_t>(entries, 1), std::vector<std::uint64_t>(entries, 2)),
             asciiObject("a"), "\x09"});
    };
    EXPECT_TRUE(isAccepted(list(kMost)));
    EXPECT_FALSE(isAccepted(list(kMost + 1)));
}

TEST(PropertyListRefused, binaryListsWithALongTextOrDataInManyPlaces)
{
    constexpr std::size_t kLong = 1'000'000;
    constexpr std::size_t kFit = PropertyList::kMostExpandedBytes / (kLong + 1);
    for (const std::string &object :
         {asciiObject(std::string(kLong, 'a')), dataObject(std::string(kLong, 'a')),
          utf16Object(std::u16string(kLong / 4, u'ä'))}) {
        EXPECT_TRUE(isAccepted(BinaryList({arrayObject(std::vector<std::uint64_t>(kFit, 1)), object})));
        EXPECT_FALSE(isAccepted(BinaryList({arrayObject(std::vector<std::uint64_t>(kFit + 1, 1)), object})));
    }
    const std::vector<std::uint64_t> keys(kFit + 1, 1);
    const std::vector<std::uint64_t> values(kFit + 1, 2);
    EXPECT_FALSE(isAccepted(
        BinaryList({dictionaryObject(keys, values), asciiObject(std::string(kLong, 'a')), "\x09"})));
}

TEST(PropertyListRefused, binaryListsWhoseObjectsShareTheirReferences)
{
    // Many arrays that are the same bytes: without a bound on what is looked at, each is gone through anew.
    const auto list = [](std::size_t arrays, std::size_t members) {
        std::vector<std::uint64_t> indexes(arrays);
        std::iota(indexes.begin(), indexes.end(), 1);
        BinaryList shared(
            {arrayObject(indexes), arrayObject(std::vector<std::uint64_t>(members, arrays + 1)), "\x09"});
        shared.offsets.insert(shared.offsets.begin() + 1, arrays - 1, shared.offsets[1]);
        shared.trailer.objects = shared.offsets.size();
        return shared;
    };
    EXPECT_TRUE(isAccepted(list(100, 100)));
    EXPECT_FALSE(isAccepted(list(100'000, 100'000)));
}

TEST(PropertyListRefused, binaryListsWithCycles)
{
    EXPECT_FALSE(isAccepted(BinaryList({arrayObject({0})})));
    EXPECT_FALSE(isAccepted(BinaryList({arrayObject({1}), arrayObject({0})})));
    EXPECT_FALSE(isAccepted(BinaryList({arrayObject({1}), arrayObject({2}), arrayObject({1})})));
    EXPECT_FALSE(isAccepted(BinaryList({dictionaryObject({1}, {0}), asciiObject("a")})));
    EXPECT_FALSE(isAccepted(BinaryList({dictionaryObject({0}, {1}), asciiObject("a")})));
    EXPECT_FALSE(isAccepted(BinaryList({arrayObject({1, 2}), asciiObject("a"), arrayObject({1, 0})})));
}

TEST(PropertyListRefused, listsDeeperThanTheLimit)
{
    const auto deepBinary = [](std::size_t depth) {
        std::vector<std::string> objects;
        for (std::size_t level = 1; level < depth; ++level) {
            objects.push_back(level % 2 == 0 ? arrayObject({level}) : dictionaryObject({depth}, {level}));
        }
        objects.push_back(arrayObject({}));
        objects.push_back(asciiObject("a"));
        return BinaryList(objects);
    };
    EXPECT_TRUE(isAccepted(deepBinary(PropertyList::kMostDepth)));
    EXPECT_FALSE(isAccepted(deepBinary(PropertyList::kMostDepth + 1)));
    EXPECT_FALSE(isAccepted(deepBinary(100'000)));

    const auto deepXml = [](std::size_t depth, std::string_view inmost) {
        const std::size_t around = depth - 1;
        return repeated("<array>", around) + std::string(inmost) + repeated("</array>", around);
    };
    for (const std::string_view inmost : {"<array></array>", "<array/>", "<dict/>"}) {
        EXPECT_TRUE(isAccepted(xmlList(deepXml(PropertyList::kMostDepth, inmost))));
        EXPECT_TRUE(isAccepted(deepXml(PropertyList::kMostDepth, inmost)));
        EXPECT_FALSE(isAccepted(xmlList(deepXml(PropertyList::kMostDepth + 1, inmost))));
        EXPECT_FALSE(isAccepted(deepXml(PropertyList::kMostDepth + 1, inmost)));
        EXPECT_FALSE(isAccepted(deepXml(100'000, inmost)));
    }
    EXPECT_FALSE(isAccepted(repeated("<plist>", 100'000) + "<true/>" + repeated("</plist>", 100'000)));
    EXPECT_FALSE(isAccepted(repeated("<array>", 200'000)));
}

TEST(PropertyListRefused, binaryListsThatAreDeeperOnOneWayThanOnAnother)
{
    // The object that is found first from close to the top hangs far down as well.
    const auto list = [](std::size_t above, std::size_t below) {
        std::vector<std::string> objects = {arrayObject({1 + above, 1})};
        for (std::size_t i = 1; i <= above + below; ++i) {
            objects.push_back(arrayObject({i + 1}));
        }
        objects.push_back(asciiObject("a"));
        return BinaryList(objects);
    };
    EXPECT_TRUE(isAccepted(list(PropertyList::kMostDepth - 11, 10)));
    EXPECT_FALSE(isAccepted(list(PropertyList::kMostDepth - 10, 10)));
}

TEST(PropertyListRefused, binaryListsWhoseKeyIsNoText)
{
    for (const std::string &key : {std::string("\x10\x01"), std::string("\x09"), arrayObject({}),
                                   dataObject("a"), dictionaryObject({}, {})}) {
        EXPECT_FALSE(isAccepted(BinaryList({dictionaryObject({1}, {2}), key, asciiObject("a")})));
    }
    EXPECT_TRUE(isAccepted(BinaryList({dictionaryObject({1}, {2}), asciiObject("k"), asciiObject("a")})));
}

TEST(PropertyListRefused, binaryListsWithAWrongTrailer)
{
    const BinaryList good({arrayObject({1}), asciiObject("a")});
    ASSERT_TRUE(isAccepted(good));
    const auto isAcceptedWith = [&good](std::uint64_t BinaryTrailer::*field, std::uint64_t value) {
        std::string bytes = good.bytes();
        BinaryList wrong = good;
        wrong.trailer.*field = value;
        // The table stays as it is; only the trailer, the last 32 bytes, says something else.
        const std::string trailer = wrong.bytes();
        bytes.replace(bytes.size() - 32, 32, trailer.substr(trailer.size() - 32));
        return isAccepted(bytes);
    };
    constexpr std::uint64_t kHuge = ~std::uint64_t{0};
    for (const std::uint64_t count : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{3},
                                      std::uint64_t{1} << 32U, std::uint64_t{1} << 62U, kHuge}) {
        EXPECT_FALSE(isAcceptedWith(&BinaryTrailer::objects, count)) << count;
    }
    for (const std::uint64_t top : {std::uint64_t{2}, std::uint64_t{1} << 32U, kHuge}) {
        EXPECT_FALSE(isAcceptedWith(&BinaryTrailer::top, top)) << top;
    }
    const std::uint64_t table = good.trailer.tableOffset;
    for (const std::uint64_t offset : {std::uint64_t{0}, std::uint64_t{7}, table + 1, table + 8, table + 40,
                                       std::uint64_t{1} << 32U, kHuge}) {
        EXPECT_FALSE(isAcceptedWith(&BinaryTrailer::tableOffset, offset)) << offset;
    }
    for (const std::uint64_t bytes : {0U, 5U, 8U, 9U, 16U, 255U}) {
        EXPECT_FALSE(isAcceptedWith(&BinaryTrailer::offsetBytes, bytes)) << bytes;
        EXPECT_FALSE(isAcceptedWith(&BinaryTrailer::referenceBytes, bytes)) << bytes;
    }
}

TEST(PropertyListRefused, binaryListsWithMoreObjectsThanTheLimitThatNobodyRefersTo)
{
    BinaryList list({"\x09"});
    list.offsets.resize(PropertyList::kMostObjects, list.offsets.front());
    list.trailer.objects = list.offsets.size();
    EXPECT_TRUE(isAccepted(list));
    list.offsets.push_back(list.offsets.front());
    list.trailer.objects = list.offsets.size();
    EXPECT_FALSE(isAccepted(list));
}

TEST(PropertyListRefused, binaryListsWhoseObjectsLieElsewhere)
{
    BinaryList list({asciiObject("a")});
    for (const std::uint64_t offset : {std::uint64_t{0}, std::uint64_t{7}, list.trailer.tableOffset,
                                       list.trailer.tableOffset + 10, std::uint64_t{0xffffffff}}) {
        list.offsets.front() = offset;
        EXPECT_FALSE(isAccepted(list)) << offset;
    }
    EXPECT_FALSE(isAccepted(BinaryList({arrayObject({1})})));
    EXPECT_FALSE(isAccepted(BinaryList({arrayObject({0xffffffff})})));
    EXPECT_FALSE(isAccepted(BinaryList({dictionaryObject({1}, {7}), asciiObject("a")})));
    EXPECT_FALSE(isAccepted(BinaryList({dictionaryObject({7}, {1}), asciiObject("a")})));
}

TEST(PropertyListRefused, binaryListsWhoseObjectsAreLongerThanTheList)
{
    for (const unsigned kind : {0x4U, 0x5U, 0x6U, 0xaU, 0xcU, 0xdU}) {
        for (const std::uint64_t length :
             {std::uint64_t{100}, std::uint64_t{1} << 31U, std::uint64_t{1} << 62U, std::uint64_t{1} << 63U,
              ~std::uint64_t{0}}) {
            const std::string head = bigEndian(kind << 4U | 0xfU, 1);
            EXPECT_FALSE(isAccepted(BinaryList({head + "\x13" + bigEndian(length, 8) + "abcd"})));
        }
        EXPECT_FALSE(isAccepted(BinaryList({bigEndian(kind << 4U | 0xeU, 1) + "a"})));
        // No length at all, one that is no integer, one that is cut off, one of sixteen bytes.
        for (const std::string &length :
             {std::string(), std::string(1, '\x51'), std::string("\x13\x00\x01", 3),
              "\x14" + bigEndian(1, 16) + std::string(64, '\0')}) {
            EXPECT_FALSE(isAccepted(BinaryList({bigEndian(kind << 4U | 0xfU, 1) + length})));
        }
    }
    for (const char *number : {"\x13\x01", "\x14", "\x15", "\x1f", "\x23\x01", "\x33\x01", "\x87", "\x8f"}) {
        EXPECT_FALSE(isAccepted(BinaryList({number})));
    }
}

TEST(PropertyListRefused, binaryObjectsOfUnknownKind)
{
    for (const unsigned marker :
         {0x00U, 0x01U, 0x0fU, 0x15U, 0x20U, 0x24U, 0x70U, 0x90U, 0xb0U, 0xe0U, 0xf0U}) {
        EXPECT_FALSE(isAccepted(BinaryList({bigEndian(marker, 1) + std::string(64, '\x01')}))) << marker;
    }
}

TEST(PropertyListRefused, listsLargerThanTheLimit)
{
    const std::size_t around = BinaryList({dataObject(std::string(1'000, 'a'))}).bytes().size() - 1'000;
    const std::string most(PropertyList::kMostBytes - around, 'a');
    EXPECT_TRUE(isAccepted(BinaryList({dataObject(most)})));
    EXPECT_FALSE(isAccepted(BinaryList({dataObject(most + "a")})));

    const std::string space(PropertyList::kMostXmlBytes - xmlList("<true/>").size(), ' ');
    EXPECT_TRUE(isAccepted(xmlList("<true/>" + space)));
    EXPECT_FALSE(isAccepted(xmlList("<true/>" + space + " ")));
}

TEST(PropertyListRefused, xmlListsWithMoreElementsThanTheLimit)
{
    const std::string most = repeated("<true/>", PropertyList::kMostObjects - 1);
    EXPECT_TRUE(isAccepted("<array>" + most + "</array>"));
    EXPECT_FALSE(isAccepted("<array>" + most + "<true/></array>"));
}

TEST(PropertyListRefused, xmlListsWithMoreKeysThanTheLimit)
{
    const auto list = [](std::size_t keys) {
        std::string members;
        for (std::size_t i = 0; i < keys; ++i) {
            members += "<key>" + std::to_string(i) + "</key><true/>";
        }
        return xmlList("<dict>" + members + "</dict>");
    };
    EXPECT_TRUE(isAccepted(list(PropertyList::kMostXmlKeys)));
    EXPECT_FALSE(isAccepted(list(PropertyList::kMostXmlKeys + 1)));
}

TEST(PropertyListRefused, xmlTextsWithSoManyReferencesThatReplacingThemTakesLong)
{
    EXPECT_TRUE(isAccepted(xmlList("<string>" + repeated("&lt;", 1'000) + "</string>")));
    EXPECT_TRUE(isAccepted(xmlList("<array>" + repeated("<string>&lt;</string>", 50'000) + "</array>")));
    EXPECT_FALSE(isAccepted(xmlList("<string>" + repeated("&lt;", 400'000) + "</string>")));
    EXPECT_FALSE(isAccepted(
        xmlList("<array>" + repeated("<string>" + repeated("&lt;", 20'000) + "</string>", 20) + "</array>")));
    EXPECT_FALSE(isAccepted(xmlList("<string>" + repeated("&lt;<!---->", 150'000) + "</string>")));
}

TEST(PropertyListRefused, xmlListsThatAreNotClosed)
{
    for (const std::string_view text : {"<plist><dict>",
                                        "<plist><true/>",
                                        "<array><true/>",
                                        "<string>",
                                        "<string>a",
                                        "<string>a</strin>",
                                        "<string>a</string",
                                        "<plist><dict></plist>",
                                        "<array></dict>",
                                        "</dict>",
                                        "</array><array>",
                                        "<plist></plist>",
                                        "<plist/>",
                                        "<true",
                                        "<dict/ >",
                                        "<!-- ",
                                        "<true/><!-- ",
                                        "<string><!-- </string>",
                                        "<string><![CDATA[ </string>",
                                        "<?xml",
                                        "<array><!--></array>",
                                        "<array><!-->--></array>",
                                        "<array><!---></array>"}) {
        EXPECT_FALSE(isAccepted(std::string(text))) << text;
    }
}

TEST(PropertyListRefused, xmlElementsWhereTheyDoNotBelong)
{
    for (const std::string_view element :
         {"<true/><true/>", "<foo/>", "<dict><true/></dict>", "<dict><key>a</key></dict>",
          "<dict><key>a</key><key>b</key></dict>", "<dict><key>a</key><true/><true/></dict>",
          "<dict><string>a</string><true/></dict>", "<key>a</key>", "<array><key>a</key></array>",
          "<plist><true/></plist>", "<array><plist><true/></plist></array>", "<array>text</array>", "text",
          "<string><true/></string>", "<string><?a?></string>", "<array><![CDATA[]]></array>",
          "<array><!ELEMENT a></array>", "<Dict/>", "<dict/x>"}) {
        EXPECT_FALSE(isAccepted(xmlList(element))) << element;
    }
    EXPECT_FALSE(isAccepted("<true/><false/>"));
    EXPECT_FALSE(isAccepted("<true/><plist><true/></plist>"));
    EXPECT_FALSE(isAccepted(xmlList("<true/>") + xmlList("<true/>")));
    EXPECT_FALSE(isAccepted(xmlList("<true/>") + "text"));
}

TEST(PropertyListRefused, xmlListsThatDefineEntities)
{
    const std::string list = "<plist><string>&a;</string></plist>";
    EXPECT_FALSE(isAccepted("<!DOCTYPE plist [<!ENTITY a \"b\">]>" + list));
    EXPECT_FALSE(isAccepted("<!DOCTYPE plist [ ]><plist><true/></plist>"));
    EXPECT_FALSE(isAccepted("<!DOCTYPE plist SYSTEM \"[\" ><plist><true/></plist>"));
    EXPECT_FALSE(isAccepted("<!ENTITY a \"b\">" + list));
    EXPECT_FALSE(isAccepted(list)); // none that is known
}

TEST(PropertyListRefused, xmlTagsThatTwoReadersMayEndInDifferentPlaces)
{
    for (const std::string_view element :
         {"<array a=\"<b>\"></array>", "<array a=\">\"></array>", "<array a=\"></array>", "<true \"/>",
          "<string a=\">b</string>\">c</string>", "<string>a</string b=\"\">", "<array></array/>"}) {
        EXPECT_FALSE(isAccepted(xmlList(element))) << element;
    }
    EXPECT_FALSE(isAccepted("<?xml a=\"?>\"?><true/>"));
    EXPECT_FALSE(isAccepted("<?xml \"?><true/>"));
    EXPECT_FALSE(isAccepted("<?xml <a> ?><true/>"));
    EXPECT_FALSE(isAccepted("<?><true/>"));
    EXPECT_FALSE(isAccepted("<!DOCTYPE plist \"><true/>"));
    EXPECT_FALSE(isAccepted("<!DOCTYPE plist \">\"><true/>"));
}

TEST(PropertyListRefused, xmlListsWithANullByte)
{
    const std::string null(1, '\0');
    EXPECT_FALSE(isAccepted("<array" + null + "x></array" + null + "x>"));
    EXPECT_FALSE(isAccepted(xmlList("<string>a" + null + "b</string>")));
    EXPECT_FALSE(isAccepted(xmlList("<true/>") + null));
    EXPECT_FALSE(isAccepted(null + xmlList("<true/>")));
}

} // namespace
} // namespace slicewise
