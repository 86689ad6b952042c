// What is decided before there is an application object, from values alone, and what is told to the user on
// the terminal then.
#pragma once

#include "app/Options.h"
#include "platform/Privileges.h"
#include "ui/SZAViewController.h"

#include <QSize>

#include <string>
#include <string_view>

namespace slicewise {

/// One sentence on standard error, under the program's name.
void tell(std::string_view sentence);

[[nodiscard]] std::string whyNoSnapshot(const std::string &file, int error);

/// Nothing but deleting from the host's own "/" has a use for more than the user's rights.
[[nodiscard]] bool mayNeedRoot(const Options &options);

/// Whether anything may be deleted from a device: not with --read-only, and by root itself not from the
/// system that we run on unless it is allowed.
[[nodiscard]] bool mayDelete(const Options &options, const Privileges &privileges, bool ownSystem);

/// Whether there is something to show a window on, by the environment.
[[nodiscard]] bool hasDisplay();

/// For Qt, before its application object: nothing is kept on the disk, no plugin is loaded from elsewhere
/// than where Qt is installed, and a picture needs neither a display nor a graphics card.
void prepareQt(const Options &options);

/// By the smaller side of the screen in points.
[[nodiscard]] UserInterfaceIdiom idiomForScreen(QSize screen);
/// All of a phone's screen; on anything larger a window with the proportions of the idiom.
[[nodiscard]] QSize firstWindowSize(QSize screen, UserInterfaceIdiom idiom);

} // namespace slicewise
