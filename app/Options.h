// The command line of slicewise, read and checked before anything of the window is there.
#pragma once

#include "scan/MountPolicy.h"
#include "ui/SZAViewController.h"

#include <QSize>

#include <optional>
#include <string>
#include <variant>

namespace slicewise {

enum class AppearanceWish : unsigned char { AsSystem, Dark, Light };

struct Options {
    std::string root = "/";
    FileSystemScope scope = FileSystemScope::AllLocal;
    bool readOnly = false;
    bool allowDelete = false;
    bool quiet = false;
    std::optional<UserInterfaceIdiom> idiom; ///< absent: by the size of the screen
    AppearanceWish appearance = AppearanceWish::AsSystem;
    std::optional<std::string> snapshot; ///< the file to draw the window to
    QSize snapshotSize = kSnapshotSize;  ///< in points

    static constexpr QSize kSnapshotSize = QSize(1024, 720);
};

/// What there is to say instead of starting.
struct OptionsAnswer {
    std::string text;
    int status = 0; ///< 0: for standard output; else for standard error
};

[[nodiscard]] std::variant<Options, OptionsAnswer> readOptions(int argc, const char *const *argv);

} // namespace slicewise
