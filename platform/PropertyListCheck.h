// Whether libplist may be given a property list: it is in order and within the limits of PropertyList.
//
// libplist 2.2 expands what an object of a binary list refers to wherever it is referred to, and takes a list
// apart with a recursion as deep as the list. So 226 bytes can take gigabytes, and deep lists overflow the
// stack, the XML ones not before they are freed. These functions find that out in a time that is linear in
// the bytes given, and are strict: nothing may pass that libplist would understand in another way than they
// do.
#pragma once

#include <string_view>

namespace slicewise {

/// The bytes begin with "bplist00".
[[nodiscard]] bool isSafeBinaryPropertyList(std::string_view bytes);

/// Anything else, without a byte-order mark.
[[nodiscard]] bool isSafeXmlPropertyList(std::string_view text);

} // namespace slicewise
