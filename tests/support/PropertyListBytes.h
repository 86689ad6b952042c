// Property lists as bytes: written by libplist, or put together by hand to be as wrong as a test wants them.
//
// Pure functions but for PlistNode, which owns what libplist made. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

/// A plist_t with all that is in it.
struct PlistNodeFreer {
    void operator()(void *node) const;
};
using PlistNode = std::unique_ptr<void, PlistNodeFreer>;

/// As libplist writes it.
[[nodiscard]] std::string writtenAsBinary(const PlistNode &node);
[[nodiscard]] std::string writtenAsXml(const PlistNode &node);

/// An XML list whose root is the element.
[[nodiscard]] std::string xmlList(std::string_view element);

[[nodiscard]] std::string bigEndian(std::uint64_t number, std::size_t bytes);

/// Objects of a binary list. References are four bytes each.
[[nodiscard]] std::string objectHead(unsigned kind, std::size_t length);
[[nodiscard]] std::string asciiObject(std::string_view text);
[[nodiscard]] std::string utf16Object(std::u16string_view text);
[[nodiscard]] std::string dataObject(std::string_view bytes);
[[nodiscard]] std::string arrayObject(const std::vector<std::uint64_t> &members);
[[nodiscard]] std::string dictionaryObject(const std::vector<std::uint64_t> &keys,
                                           const std::vector<std::uint64_t> &values);

struct BinaryTrailer {
    std::uint64_t offsetBytes = 4;
    std::uint64_t referenceBytes = 4;
    std::uint64_t objects = 0;
    std::uint64_t top = 0;
    std::uint64_t tableOffset = 0;
};

/// The objects one after the other, where each begins, and the trailer that is right for them.
struct BinaryList {
    std::string objects; ///< with the signature before them
    std::vector<std::uint64_t> offsets;
    BinaryTrailer trailer;

    explicit BinaryList(const std::vector<std::string> &objects);

    [[nodiscard]] std::string bytes() const;
};

} // namespace slicewise
