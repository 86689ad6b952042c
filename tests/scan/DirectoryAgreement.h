// Whether a classifier says the same of a directory as of the files in it.
#pragma once

#include "scan/Classifier.h"

#include <functional>
#include <stdexcept>
#include <string>

namespace slicewise {

/// What asking comes to, as a text: a category, declining, or what kind of thing is raised.
inline std::string outcomeOf(const std::function<std::optional<std::string>()> &ask)
{
    try {
        const std::optional<std::string> category = ask();
        return category ? "takes it as \"" + *category + "\"" : "declines";
    } catch (const std::out_of_range &) {
        return "raises std::out_of_range";
    } catch (const std::exception &) {
        return "raises";
    }
}

/// What the directory's answer means for a file in it, asked as a scan asks.
inline std::string outcomeByDirectory(const Classifier &classifier, const std::string &directory,
                                      const std::string &name)
{
    const std::string path = (directory == "/" ? "" : directory) + "/" + name;
    return outcomeOf([&]() -> std::optional<std::string> {
        const DirectoryAnswer answer = classifier.classifyDirectory(directory);
        switch (answer.kind) {
        case DirectoryAnswer::Kind::Declines:
            return std::nullopt;
        case DirectoryAnswer::Kind::Takes:
            return answer.category + "/" + name;
        case DirectoryAnswer::Kind::AskByFile:
            break;
        }
        return classifier.classify(path);
    });
}

inline std::string outcomeByFile(const Classifier &classifier, const std::string &directory,
                                 const std::string &name)
{
    const std::string path = (directory == "/" ? "" : directory) + "/" + name;
    return outcomeOf([&] { return classifier.classify(path); });
}

} // namespace slicewise
