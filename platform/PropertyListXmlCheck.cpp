// The XML form. libplist has a reader of its own with ways of its own, so the check takes only what there are
// no two opinions about: the elements of property lists, each where it belongs and closed; outside of texts
// only white space, comments, processing instructions and a document type; no angle bracket inside a tag.
#include "platform/PropertyList.h"
#include "platform/PropertyListCheck.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace slicewise {

namespace {

constexpr std::string_view kSpace = " \t\r\n";
constexpr std::string_view kList = "plist";
constexpr std::string_view kArray = "array";
constexpr std::string_view kDictionary = "dict";
constexpr std::string_view kKey = "key";
constexpr std::array<std::string_view, 8> kWithText = {kKey,   "string", "integer", "real",
                                                       "true", "false",  "data",    "date"};

// Whether what stands between a bracket and the first closing one is all of it, for those who let quotation
// marks protect brackets and for those who don't.
bool isPlain(std::string_view tag)
{
    return tag.find_first_of("<>") == std::string_view::npos && std::ranges::count(tag, '"') % 2 == 0;
}

class XmlCheck {
public:
    explicit XmlCheck(std::string_view text) : m_rest(text) {}

    [[nodiscard]] bool passes()
    {
        // A name that ends in a null byte for some is longer for others.
        if (m_rest.size() > PropertyList::kMostXmlBytes || m_rest.find('\0') != std::string_view::npos) {
            return false;
        }
        for (skipSpace(); !m_rest.empty(); skipSpace()) {
            if (!takeMarkup()) {
                return false;
            }
        }
        return m_hasRoot && m_open.empty();
    }

private:
    struct Open {
        std::string_view name;
        std::size_t members = 0; ///< so far; keys too
    };

    void skipSpace() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kSpace), m_rest.size())); }

    bool takeIf(std::string_view beginning)
    {
        const bool takes = m_rest.starts_with(beginning);
        m_rest.remove_prefix(takes ? beginning.size() : 0);
        return takes;
    }

    std::optional<std::string_view> takeUntil(std::string_view end)
    {
        const std::size_t found = m_rest.find(end);
        if (found == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view taken = m_rest.substr(0, found);
        m_rest.remove_prefix(found + end.size());
        return taken;
    }

    bool takeMarkup()
    {
        if (takeIf("<?")) {
            const std::optional<std::string_view> instruction = takeUntil("?>");
            return instruction && isPlain(*instruction);
        }
        if (takeIf("<!--")) {
            return takeRestOfComment();
        }
        if (takeIf("<!DOCTYPE")) {
            const std::optional<std::string_view> type = takeUntil(">");
            return type && isPlain(*type) && type->find('[') == std::string_view::npos;
        }
        return takeIf("<") && takeTag();
    }

    bool takeRestOfComment()
    {
        const bool mayHaveEnded = m_rest.starts_with(">") || m_rest.starts_with("->");
        return !mayHaveEnded && takeUntil("-->").has_value();
    }

    bool takeTag()
    {
        const std::optional<std::string_view> tag = takeUntil(">");
        if (!tag || !isPlain(*tag)) {
            return false;
        }
        if (tag->starts_with('/')) {
            return !m_open.empty() && isEndOf(m_open.back().name, *tag) && close();
        }
        const std::size_t nameEnd = tag->find_first_of(kSpace);
        std::string_view name = tag->substr(0, nameEnd);
        const bool isEmpty = tag->ends_with('/');
        if (isEmpty && nameEnd == std::string_view::npos) {
            name.remove_suffix(1);
        }
        return begin(name, isEmpty);
    }

    // The tag without its brackets.
    static bool isEndOf(std::string_view name, std::string_view tag)
    {
        return tag.starts_with('/') && tag.substr(1).starts_with(name) &&
               tag.substr(1 + name.size()).find_first_not_of(kSpace) == std::string_view::npos;
    }

    bool close()
    {
        const Open closed = m_open.back();
        m_open.pop_back();
        return closed.name == kList ? closed.members == 1
                                    : closed.name != kDictionary || closed.members % 2 == 0;
    }

    bool begin(std::string_view name, bool isEmpty)
    {
        if (name == kList) {
            const bool isFirst = m_open.empty() && !m_hasRoot && !isEmpty;
            m_open.push_back({kList});
            return isFirst;
        }
        if (!mayStandHere(name) || ++m_objects > PropertyList::kMostObjects) {
            return false;
        }
        if (name == kArray || name == kDictionary) {
            const std::size_t depth = m_open.size() - (isInList() ? 1 : 0);
            if (!isEmpty) {
                m_open.push_back({name});
            }
            return depth < PropertyList::kMostDepth;
        }
        if (name == kKey && ++m_keys > PropertyList::kMostXmlKeys) {
            return false;
        }
        return std::ranges::find(kWithText, name) != kWithText.end() && (isEmpty || takeText(name));
    }

    [[nodiscard]] bool isInList() const { return !m_open.empty() && m_open.front().name == kList; }

    bool mayStandHere(std::string_view name)
    {
        const bool isKey = name == kKey;
        if (m_open.empty() || m_open.back().name == kList) {
            const bool isFirst = !m_hasRoot;
            m_hasRoot = true;
            if (!m_open.empty()) {
                ++m_open.back().members;
            }
            return isFirst && !isKey;
        }
        Open &parent = m_open.back();
        const bool needsKey = parent.name == kDictionary && parent.members % 2 == 0;
        ++parent.members;
        return isKey == needsKey;
    }

    // Up to the end of the element that has just begun.
    bool takeText(std::string_view name)
    {
        const std::string_view from = m_rest;
        while (const std::optional<std::string_view> part = takeUntil("<")) {
            if (takeIf("!--")) {
                if (!takeRestOfComment()) {
                    return false;
                }
            } else if (takeIf("![CDATA[")) {
                if (!takeUntil("]]>")) {
                    return false;
                }
            } else {
                const std::string_view text = from.substr(0, from.size() - m_rest.size());
                m_bytesMoved += static_cast<std::size_t>(std::ranges::count(text, '&')) * text.size();
                const std::optional<std::string_view> tag = takeUntil(">");
                return tag && isEndOf(name, *tag) && m_bytesMoved <= PropertyList::kMostXmlBytesMoved;
            }
        }
        return false;
    }

    std::string_view m_rest;
    std::vector<Open> m_open;
    bool m_hasRoot = false;
    std::size_t m_objects = 0;
    std::size_t m_keys = 0;
    std::size_t m_bytesMoved = 0;
};

} // namespace

bool isSafeXmlPropertyList(std::string_view text)
{
    return XmlCheck(text).passes();
}

} // namespace slicewise
