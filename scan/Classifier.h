// What sorts files into categories: an ordered chain of classifiers, the first that answers decides.
//
// A classifier is given the full path of a regular file and returns its category path, or absent for "not
// mine". It may raise any std::exception; the next one is then tried. Called by the walking thread alone.
//
// Most classifiers decide by the directory, and a directory holds many files. So a classifier may also be
// asked about a directory as a whole, and must then answer what asking for each file would give.
#pragma once

#include "platform/Log.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

/// A classifier's answer for all the files that lie directly in one directory.
struct DirectoryAnswer {
    enum class Kind : std::uint8_t {
        Declines,  ///< absent for each of them
        Takes,     ///< for each of them `category`, "/" and the file's name
        AskByFile, ///< they differ, or one of them might raise
    };
    Kind kind = Kind::AskByFile;
    std::string category;
};

struct Classifier {
    std::function<std::optional<std::string>(const std::string &path)> classify;
    /// Given the directory's full path without a "/" at the end, but for "/" itself. May be empty: each
    /// file is asked for.
    std::function<DirectoryAnswer(const std::string &directory)> classifyDirectory;
};

using ClassifierChain = std::vector<Classifier>;

/// The places of the classifiers in the chain of a scan; the numbers are those in log lines.
enum class ClassifierIndex : std::uint8_t {
    Package,
    ContainerApp,
    LegacyApp,
    Ringtone,
    MediaItem,
    MessageAttachment,
    Location,
    Other,
};
inline constexpr std::size_t kClassifierCount = 8;

/// Asks the chain about one file. Logs what a classifier raises, and where none answers "Failed to get node
/// for (null)!"; the result is then absent.
[[nodiscard]] std::optional<std::string> classifyFile(const ClassifierChain &chain, const std::string &path,
                                                      Log &log);

/// What is known of a directory's files before any of them is looked at.
struct DirectoryPlan {
    std::vector<std::size_t> askByFile; ///< indices of the classifiers to ask for each file, in order
    bool hasCategory = false;           ///< where none of them answers, `category` is it
    std::string category;               ///< for all files together, as DirectoryAnswer has it

    [[nodiscard]] bool decidedForAll() const { return askByFile.empty() && hasCategory; }
};

[[nodiscard]] DirectoryPlan planDirectory(const ClassifierChain &chain, const std::string &directory);

/// As classifyFile(), asking only those that the plan of the file's directory leaves open; `name` is the
/// file's name in it.
[[nodiscard]] std::optional<std::string> classifyFileByPlan(const ClassifierChain &chain,
                                                            const DirectoryPlan &plan,
                                                            const std::string &path, std::string_view name,
                                                            Log &log);

} // namespace slicewise
