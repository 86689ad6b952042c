// Chains of classifiers that answer at random, and always the same for the same seed.
//
// Many files get one category path, leaves are also inner nodes, some categories have empty names; some
// directories are answered for as a whole, some file by file, and some files make a classifier raise.
#pragma once

#include "scan/Classifier.h"

#include <cstdint>

namespace slicewise {

enum class DirectoryAnswers : std::uint8_t {
    Given, ///< by most of the classifiers
    None,  ///< every classifier has to be asked for each file
};

/// Eight classifiers. Whether directories are answered for or not, the answers for files are the same.
[[nodiscard]] ClassifierChain makeRandomChain(std::uint64_t seed, DirectoryAnswers directories);

} // namespace slicewise
