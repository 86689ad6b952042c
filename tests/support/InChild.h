// Runs a part of a test in a child process: on its own, as another user, or with mounts of its own.
//
// The body uses the assertions of GoogleTest as always; its failures, and a skip, become those of the calling
// test, at their own places in the source. A body that crashes is a failure too. What the body changes in
// memory stays in the child.
#pragma once

#include <sys/types.h>

#include <functional>

namespace slicewise {

using ChildBody = std::function<void()>;

/// As who we are: for what can't be undone, such as loading a library.
void inChild(const ChildBody &body);

/// A user whom nothing belongs to and who may do nothing in particular.
inline constexpr ::uid_t kOrdinaryUser = 65534;

/// For what depends on permissions, which mean nothing to root: as kOrdinaryUser where we are root, else as
/// who we are.
void asOrdinaryUser(const ChildBody &body);

/// With a private copy of all mounts, in which the body may mount what it likes; it goes with the child.
/// Where we are not root, as root of a user namespace. Skips the test, with the reason, where the kernel
/// allows neither.
void withOwnMounts(const ChildBody &body);

} // namespace slicewise
