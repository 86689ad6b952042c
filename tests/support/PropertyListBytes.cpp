#include "tests/support/PropertyListBytes.h"

#include <plist/plist.h>

namespace slicewise {

namespace {

using Writer = void (*)(plist_t, char **, std::uint32_t *);
using Freer = void (*)(char *);

std::string written(const PlistNode &node, Writer write, Freer freeWritten)
{
    char *bytes = nullptr;
    std::uint32_t size = 0;
    write(node.get(), &bytes, &size);
    const std::unique_ptr<char, Freer> owner(bytes, freeWritten);
    return {bytes, size};
}

std::string references(const std::vector<std::uint64_t> &indexes)
{
    std::string bytes;
    for (const std::uint64_t index : indexes) {
        bytes += bigEndian(index, 4);
    }
    return bytes;
}

} // namespace

void PlistNodeFreer::operator()(void *node) const
{
    plist_free(node);
}

std::string writtenAsBinary(const PlistNode &node)
{
    return written(node, plist_to_bin, plist_to_bin_free);
}

std::string writtenAsXml(const PlistNode &node)
{
    return written(node, plist_to_xml, plist_to_xml_free);
}

std::string xmlList(std::string_view element)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + std::string(element) +
           "</plist>\n";
}

std::string bigEndian(std::uint64_t number, std::size_t bytes)
{
    std::string written(bytes, '\0');
    for (std::size_t i = bytes; i > 0 && number != 0; --i) {
        written[i - 1] = static_cast<char>(number & 0xffU);
        number >>= 8U;
    }
    return written;
}

std::string objectHead(unsigned kind, std::size_t length)
{
    if (length < 0xf) {
        return bigEndian(kind << 4U | length, 1);
    }
    return bigEndian(kind << 4U | 0xfU, 1) + "\x12" + bigEndian(length, 4);
}

std::string asciiObject(std::string_view text)
{
    return objectHead(0x5, text.size()) + std::string(text);
}

std::string utf16Object(std::u16string_view text)
{
    std::string object = objectHead(0x6, text.size());
    for (const char16_t unit : text) {
        object += bigEndian(unit, 2);
    }
    return object;
}

std::string dataObject(std::string_view bytes)
{
    return objectHead(0x4, bytes.size()) + std::string(bytes);
}

std::string arrayObject(const std::vector<std::uint64_t> &members)
{
    return objectHead(0xa, members.size()) + references(members);
}

std::string dictionaryObject(const std::vector<std::uint64_t> &keys, const std::vector<std::uint64_t> &values)
{
    return objectHead(0xd, keys.size()) + references(keys) + references(values);
}

BinaryList::BinaryList(const std::vector<std::string> &objectsInOrder) : objects("bplist00")
{
    for (const std::string &object : objectsInOrder) {
        offsets.push_back(objects.size());
        objects += object;
    }
    trailer.objects = offsets.size();
    trailer.tableOffset = objects.size();
}

std::string BinaryList::bytes() const
{
    std::string all = objects;
    for (const std::uint64_t offset : offsets) {
        all += bigEndian(offset, trailer.offsetBytes);
    }
    all += std::string(6, '\0');
    all += bigEndian(trailer.offsetBytes, 1) + bigEndian(trailer.referenceBytes, 1);
    all += bigEndian(trailer.objects, 8) + bigEndian(trailer.top, 8) + bigEndian(trailer.tableOffset, 8);
    return all;
}

} // namespace slicewise
