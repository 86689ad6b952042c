// What the desktop around us, where there is one, can be asked to do with a file.
//
// Programs are looked for in the system's own folders, never on the caller's PATH. What is started has our
// environment, and no more rights than the real user. Any thread, as long as nobody changes the environment.
#pragma once

#include <optional>
#include <string>

namespace slicewise {

/// The program that hands a file to whatever application the user has chosen for its type; absent where there
/// is none, or no session that an application could show itself in (neither Wayland nor X11).
[[nodiscard]] std::optional<std::string> desktopOpener();

/// Starts the opener on an absolute path of the host and does not wait. False where it could not be started.
[[nodiscard]] bool openOnDesktop(const std::string &opener, const std::string &hostPath);

/// Where the program of this process lies: the directory, without links. Absent where the system does not
/// tell.
[[nodiscard]] std::optional<std::string> directoryOfOurProgram();

/// Whether there is a file that may be executed.
[[nodiscard]] bool isProgram(const std::string &hostPath);

} // namespace slicewise
