// Cuts paths as texts; nothing on a disk is looked at. Any thread.
#pragma once

#include <string_view>
#include <vector>

namespace slicewise {

/// What stands behind the last "/", slashes at the end left out: "b" of "/a/b" and of "/a/b/", "/" of "/".
[[nodiscard]] std::string_view lastPathComponent(std::string_view path);

/// What stands before the last component: "/a" of "/a/b", "/" of "/a", nothing of "a".
[[nodiscard]] std::string_view withoutLastPathComponent(std::string_view path);

/// What stands behind the last "." of the last component, unless that begins with it or it stands last: "app"
/// of "/a/Maps.app".
[[nodiscard]] std::string_view pathExtension(std::string_view path);

/// The pieces between the "/": one more than there are "/", some of them empty.
[[nodiscard]] std::vector<std::string_view> splitAtSlashes(std::string_view path);

} // namespace slicewise
