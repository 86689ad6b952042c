// Hash tables whose keys are texts, asked with any view of one.
//
// Abseil's own tables do so only where its string_view is the standard library's, which it is not everywhere.
#pragma once

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <absl/hash/hash.h>
#include <absl/strings/string_view.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace slicewise {

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const
    {
        // Abseil's own view: the standard's would be hashed by the standard library, byte by byte.
        return absl::Hash<absl::string_view>()(absl::string_view(text.data(), text.size()));
    }
};

template <typename Value> using TextMap = absl::flat_hash_map<std::string, Value, TextHash, std::equal_to<>>;
/// Whose keys lie elsewhere.
template <typename Value>
using TextViewMap = absl::flat_hash_map<std::string_view, Value, TextHash, std::equal_to<>>;
using TextSet = absl::flat_hash_set<std::string, TextHash, std::equal_to<>>;

} // namespace slicewise
