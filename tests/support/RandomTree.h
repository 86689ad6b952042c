// Makes trees of files on a real disk that hold whatever a tree may hold, the same for the same seed.
//
// Names with newlines, escape sequences, spaces, bytes that are no UTF-8 and of 255 bytes; links to files, to
// directories, into loops and to nowhere; hard links, fifos, sockets, empty directories, directories with
// many entries, deep chains; sizes from none to beyond 2^32 (sparse, so that they cost nothing) and often the
// same. And the places that a device keeps its data in, each with something inside, near misses beside them.
//
// Paths stay within PATH_MAX. What can't be made throws std::system_error.
#pragma once

#include <cstdint>
#include <string>

namespace slicewise {

struct RandomTreeShape {
    unsigned directories = 24;     ///< about as many, beside those of the device's places
    unsigned entriesEach = 6;      ///< at most, beside directories
    unsigned entriesOfLargest = 0; ///< files in one directory made larger than the others; 0: none is
    unsigned deepestChain = 12;    ///< directories below each other
    unsigned placesOfDevice = 6;   ///< how many of them are there
};

/// A shape of moderate size that differs from seed to seed: many or few entries, flat or deep.
[[nodiscard]] RandomTreeShape randomShape(std::uint64_t seed);

/// Fills an existing, empty directory.
void makeRandomTree(const std::string &hostDirectory, std::uint64_t seed, const RandomTreeShape &shape);

} // namespace slicewise
