// The binary form: eight bytes of signature, the objects, a table of where each of them begins, and a trailer
// that says where the table is. An object begins with a byte whose upper half is its kind; the lower half is
// the length or its logarithm, or says that the length follows as an object. Numbers are big-endian.
#include "platform/PropertyList.h"
#include "platform/PropertyListCheck.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace slicewise {

namespace {

constexpr std::size_t kSignatureBytes = 8;
constexpr std::size_t kTrailerBytes = 32;
constexpr std::size_t kMostNumberBytes = 8;

enum Kind : unsigned {
    Simple = 0x0,
    Integer = 0x1,
    Real = 0x2,
    Date = 0x3,
    Data = 0x4,
    Ascii = 0x5,
    Utf16 = 0x6,
    Uid = 0x8,
    Array = 0xa,
    Set = 0xc,
    Dictionary = 0xd
};

struct Object {
    unsigned kind = 0;
    std::uint64_t length = 0; ///< characters, bytes or members; else the marker's lower half
    std::size_t content = 0;  ///< where it begins
};

// What an object becomes once all that it refers to is copied into it.
struct Cost {
    std::uint64_t objects = 0;
    std::uint64_t bytes = 0;
    std::size_t depth = 0;
};

class BinaryCheck {
public:
    explicit BinaryCheck(std::string_view bytes) : m_bytes(bytes) {}

    [[nodiscard]] bool passes()
    {
        if (m_bytes.size() < kSignatureBytes + kTrailerBytes || m_bytes.size() > PropertyList::kMostBytes) {
            return false;
        }
        const std::size_t trailer = m_bytes.size() - kTrailerBytes;
        m_offsetBytes = numberAt(trailer + 6, 1);
        m_referenceBytes = numberAt(trailer + 7, 1);
        const std::uint64_t count = numberAt(trailer + 8, 8);
        const std::uint64_t top = numberAt(trailer + 16, 8);
        const std::uint64_t table = numberAt(trailer + 24, 8);
        if (m_offsetBytes < 1 || m_offsetBytes > kMostNumberBytes || m_referenceBytes < 1 ||
            m_referenceBytes > kMostNumberBytes || count > PropertyList::kMostObjects || top >= count ||
            table < kSignatureBytes || table > trailer || count * m_offsetBytes > trailer - table) {
            return false;
        }
        m_table = table;
        m_known.resize(count);
        return costOf(top, 0).has_value();
    }

private:
    struct Known {
        enum class State { Unseen, BeingVisited, Visited };
        State state = State::Unseen;
        Cost cost;
    };

    // The caller knows that the bytes are there.
    [[nodiscard]] std::uint64_t numberAt(std::size_t position, std::size_t size) const
    {
        std::uint64_t number = 0;
        for (const char byte : m_bytes.substr(position, size)) {
            number = number << 8U | static_cast<unsigned char>(byte);
        }
        return number;
    }

    // Objects lie before the table.
    [[nodiscard]] bool hasRoom(std::size_t position, std::uint64_t count, std::uint64_t unit = 1) const
    {
        return count <= (m_table - position) / unit;
    }

    // The object's head, where its content lies within the bounds and libplist can read it.
    [[nodiscard]] std::optional<Object> objectAt(std::uint64_t index) const
    {
        const std::uint64_t offset = numberAt(m_table + index * m_offsetBytes, m_offsetBytes);
        if (offset < kSignatureBytes || offset >= m_table) {
            return std::nullopt;
        }
        const std::uint64_t marker = numberAt(offset, 1);
        Object object{static_cast<unsigned>(marker >> 4U), marker & 0xfU, offset + 1};
        const bool hasLength = object.kind >= Data && object.kind != Uid;
        if (hasLength && object.length == 0xf && !readLength(object)) {
            return std::nullopt;
        }
        return isContentSound(object) ? std::optional(object) : std::nullopt;
    }

    [[nodiscard]] bool readLength(Object &object) const
    {
        if (!hasRoom(object.content, 1)) {
            return false;
        }
        const std::uint64_t marker = numberAt(object.content, 1);
        const std::uint64_t logarithm = marker & 0xfU;
        if (marker >> 4U != Integer || logarithm > 3 ||
            !hasRoom(object.content + 1, std::uint64_t{1} << logarithm)) {
            return false;
        }
        object.length = numberAt(object.content + 1, std::size_t{1} << logarithm);
        object.content += 1 + (std::size_t{1} << logarithm);
        return true;
    }

    [[nodiscard]] bool isContentSound(const Object &object) const
    {
        const auto hasRoomFor = [&](std::uint64_t unit) {
            return hasRoom(object.content, object.length, unit);
        };
        switch (object.kind) {
        case Simple:
            return object.length == 0x8 || object.length == 0x9; // false and true
        case Integer:
            return object.length <= 4 && hasRoom(object.content, std::uint64_t{1} << object.length);
        case Real:
            return (object.length == 2 || object.length == 3) &&
                   hasRoom(object.content, std::uint64_t{1} << object.length);
        case Date:
            return object.length == 3 && hasRoom(object.content, 8);
        case Uid:
            return object.length < kMostNumberBytes && hasRoom(object.content, object.length + 1);
        case Data:
        case Ascii:
            return hasRoomFor(1);
        case Utf16:
            return hasRoomFor(2);
        case Array:
        case Set:
            return hasRoomFor(m_referenceBytes);
        case Dictionary:
            return hasRoomFor(2 * m_referenceBytes);
        default:
            return false;
        }
    }

    // Absent where the limits are exceeded or something below the object is wrong. Its recursion is no deeper
    // than the list may be. Each object is visited once; that the references in it are few enough is its
    // caller's count.
    [[nodiscard]] std::optional<Cost> costOf(std::uint64_t index, std::size_t depthAbove)
    {
        if (index >= m_known.size() || m_known[index].state == Known::State::BeingVisited) {
            return std::nullopt;
        }
        if (m_known[index].state == Known::State::Visited) {
            return m_known[index].cost;
        }
        const std::optional<Object> object = objectAt(index);
        if (!object) {
            return std::nullopt;
        }
        m_known[index].state = Known::State::BeingVisited;
        const std::optional<Cost> cost = costOfObject(*object, depthAbove);
        if (cost) {
            m_known[index] = {Known::State::Visited, *cost};
        }
        return cost;
    }

    [[nodiscard]] std::optional<Cost> costOfObject(const Object &object, std::size_t depthAbove)
    {
        Cost cost{.objects = 1};
        switch (object.kind) {
        case Data:
        case Ascii:
            cost.bytes = object.length + 1;
            break;
        case Utf16:
            cost.bytes = 4 * object.length + 1; // what libplist sets aside
            break;
        case Array:
        case Set:
            return costOfMembers(object, object.length, depthAbove);
        case Dictionary: {
            const std::optional<Cost> members = costOfMembers(object, 2 * object.length, depthAbove);
            return members && areKeysTexts(object) ? members : std::nullopt;
        }
        default:
            break;
        }
        return isWithinLimits(cost) ? std::optional(cost) : std::nullopt;
    }

    [[nodiscard]] std::optional<Cost> costOfMembers(const Object &object, std::uint64_t count,
                                                    std::size_t depthAbove)
    {
        // Objects may overlap, and so share their references: all references that are looked at count, each
        // being an object of the expanded list.
        m_references += count;
        if (depthAbove >= PropertyList::kMostDepth || m_references > PropertyList::kMostObjects) {
            return std::nullopt;
        }
        Cost cost{.objects = 1, .depth = 1};
        for (std::uint64_t member = 0; member < count; ++member) {
            const std::optional<Cost> added = costOf(referenceIn(object, member), depthAbove + 1);
            if (!added) {
                return std::nullopt;
            }
            cost.objects += added->objects;
            cost.bytes += added->bytes;
            cost.depth = std::max(cost.depth, added->depth + 1);
            if (!isWithinLimits(cost)) {
                return std::nullopt;
            }
        }
        return cost;
    }

    // Of a dictionary whose members are known.
    [[nodiscard]] bool areKeysTexts(const Object &dictionary) const
    {
        for (std::uint64_t member = 0; member < dictionary.length; ++member) {
            const std::optional<Object> key = objectAt(referenceIn(dictionary, member));
            if (!key || (key->kind != Ascii && key->kind != Utf16)) {
                return false;
            }
        }
        return true;
    }

    [[nodiscard]] std::uint64_t referenceIn(const Object &object, std::uint64_t member) const
    {
        return numberAt(object.content + member * m_referenceBytes, m_referenceBytes);
    }

    [[nodiscard]] static bool isWithinLimits(const Cost &cost)
    {
        return cost.objects <= PropertyList::kMostObjects && cost.bytes <= PropertyList::kMostExpandedBytes &&
               cost.depth <= PropertyList::kMostDepth;
    }

    std::string_view m_bytes;
    std::size_t m_offsetBytes = 0;
    std::size_t m_referenceBytes = 0;
    std::size_t m_table = 0;
    std::uint64_t m_references = 0;
    std::vector<Known> m_known;
};

} // namespace

bool isSafeBinaryPropertyList(std::string_view bytes)
{
    return BinaryCheck(bytes).passes();
}

} // namespace slicewise
