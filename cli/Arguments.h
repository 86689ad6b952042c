// The command line of slicewise-cli, read and checked.
#pragma once

#include "scan/MountPolicy.h"

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace slicewise {

struct ScanArguments {
    std::string root = "/";
    FileSystemScope scope = FileSystemScope::AllLocal;
    std::string path;                 ///< category path of the level to show, as typed; empty: the root
    std::optional<std::size_t> depth; ///< levels below it; absent: one in the report, all in JSON
    std::optional<std::size_t> top;   ///< rows a level; absent: all
    bool json = false;
    bool errors = false;
    bool noProgress = false;
    bool quiet = false;
};

struct ClassifyArguments {
    std::string root = "/";
    std::vector<std::string> paths;
};

struct DeleteArguments {
    /// Which device, how far the scan goes, and what it shows meanwhile.
    ScanArguments scan;
    std::vector<std::string> categories; ///< category paths, as typed
    bool dryRun = false;
    bool yes = false;
    bool readOnly = false;
    bool allowDelete = false;
};

/// What to print instead of doing anything, and with which exit status: help and version with 0 on standard
/// output, a usage error with 2 on standard error.
struct ArgumentsAnswer {
    std::string text;
    int status = 0;
};

using Arguments = std::variant<ScanArguments, ClassifyArguments, DeleteArguments, ArgumentsAnswer>;

[[nodiscard]] Arguments readArguments(int argc, const char *const *argv);

} // namespace slicewise
