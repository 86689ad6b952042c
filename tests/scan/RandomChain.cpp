#include "tests/scan/RandomChain.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace slicewise {

namespace {

// FNV-1a: small, and the same on every machine and in every process.
std::uint64_t scattered(std::uint64_t seed, std::size_t classifier, std::string_view text)
{
    std::uint64_t hash = 0xcbf29ce484222325ULL ^ (seed * 0x9e3779b97f4a7c15ULL) ^ (classifier << 32U);
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3ULL;
    }
    return (hash ^ (hash >> 29U)) * 0xbf58476d1ce4e5b9ULL >> 16U;
}

std::string_view directoryOf(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    return path.substr(0, slash == 0 ? 1 : slash);
}

struct Answerer {
    std::uint64_t seed;
    std::size_t classifier;

    [[nodiscard]] DirectoryAnswer forDirectory(std::string_view directory) const
    {
        static const std::array<std::string, 7> kCategories = {"A", "A/B", "A/B/C", "A//B",
                                                               "",  "/A",  "Others"};
        const std::uint64_t number = scattered(seed, classifier, directory);
        // The last one takes most of what the others leave, but not all.
        const std::uint64_t mode = classifier + 1 == kClassifierCount ? 9 - number % 6 : number % 10;
        if (mode < 4) {
            return {.kind = DirectoryAnswer::Kind::Declines, .category = {}};
        }
        if (mode < 6) {
            return {.kind = DirectoryAnswer::Kind::AskByFile, .category = {}};
        }
        std::string category = kCategories.at(number / 16 % kCategories.size());
        if (mode == 9 && directory != "/") {
            category.append(directory);
        }
        return {.kind = DirectoryAnswer::Kind::Takes, .category = std::move(category)};
    }

    [[nodiscard]] std::optional<std::string> forFile(const std::string &path) const
    {
        static const std::array<std::string, 11> kCategories = {"A",  "A/B",  "A/B/C", "A/", "",     "/",
                                                                "//", "B//C", "/A",    "B",  "A/B//"};
        const std::string_view name = std::string_view(path).substr(path.rfind('/') + 1);
        const DirectoryAnswer ofAll = forDirectory(directoryOf(path));
        switch (ofAll.kind) {
        case DirectoryAnswer::Kind::Declines:
            return std::nullopt;
        case DirectoryAnswer::Kind::Takes:
            return fmt::format("{}/{}", ofAll.category, name);
        case DirectoryAnswer::Kind::AskByFile:
            break;
        }
        const std::uint64_t number = scattered(seed, classifier, path);
        const std::string &category = kCategories.at(number / 8 % kCategories.size());
        switch (number % 8) {
        case 0:
            throw std::runtime_error(fmt::format("Seed {} would have it so", seed));
        case 1:
        case 2:
            return category;
        case 3:
        case 4:
            return fmt::format("{}/{}", category, name);
        default:
            return std::nullopt;
        }
    }
};

} // namespace

ClassifierChain makeRandomChain(std::uint64_t seed, DirectoryAnswers directories)
{
    ClassifierChain chain;
    for (std::size_t i = 0; i < kClassifierCount; ++i) {
        const Answerer answerer{.seed = seed, .classifier = i};
        Classifier classifier;
        classifier.classify = [answerer](const std::string &path) { return answerer.forFile(path); };
        if (directories == DirectoryAnswers::Given && (seed + i) % 5 != 0) {
            classifier.classifyDirectory = [answerer](const std::string &directory) {
                return answerer.forDirectory(directory);
            };
        }
        chain.push_back(std::move(classifier));
    }
    return chain;
}

} // namespace slicewise
