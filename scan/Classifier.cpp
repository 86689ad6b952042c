#include "scan/Classifier.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

namespace slicewise {

namespace {

std::optional<std::string> ask(const ClassifierChain &chain, std::size_t index, const std::string &path,
                               Log &log)
{
    try {
        return chain[index].classify(path);
    } catch (const std::exception &exception) {
        log.line(
            fmt::format("{} raised for file {} while using classifier {}", exception.what(), path, index));
        return std::nullopt;
    }
}

void logNobodyAnswered(Log &log)
{
    // Which file it was the line does not say: it always read so, and whoever greps for it relies on it.
    log.line("Failed to get node for (null)!");
}

} // namespace

std::optional<std::string> classifyFile(const ClassifierChain &chain, const std::string &path, Log &log)
{
    for (std::size_t index = 0; index < chain.size(); ++index) {
        if (std::optional<std::string> category = ask(chain, index, path, log)) {
            return category;
        }
    }
    logNobodyAnswered(log);
    return std::nullopt;
}

DirectoryPlan planDirectory(const ClassifierChain &chain, const std::string &directory)
{
    DirectoryPlan plan;
    for (std::size_t index = 0; index < chain.size(); ++index) {
        const Classifier &classifier = chain[index];
        DirectoryAnswer answer;
        try {
            answer =
                classifier.classifyDirectory ? classifier.classifyDirectory(directory) : DirectoryAnswer();
        } catch (const std::exception &) {
            // What it raises is told file by file, as for one that knows no directories.
            answer = DirectoryAnswer();
        }
        switch (answer.kind) {
        case DirectoryAnswer::Kind::Declines:
            break;
        case DirectoryAnswer::Kind::Takes:
            plan.hasCategory = true;
            plan.category = std::move(answer.category);
            return plan;
        case DirectoryAnswer::Kind::AskByFile:
            plan.askByFile.push_back(index);
            break;
        }
    }
    return plan;
}

std::optional<std::string> classifyFileByPlan(const ClassifierChain &chain, const DirectoryPlan &plan,
                                              const std::string &path, std::string_view name, Log &log)
{
    for (const std::size_t index : plan.askByFile) {
        if (std::optional<std::string> category = ask(chain, index, path, log)) {
            return category;
        }
    }
    if (plan.hasCategory) {
        return fmt::format("{}/{}", plan.category, name);
    }
    logNobodyAnswered(log);
    return std::nullopt;
}

} // namespace slicewise
