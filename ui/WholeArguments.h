// Arguments in brackets on a command line: the library that parses them would take "[a,b]" apart as a list of
// several, and such names are files' as good as others.
#pragma once

#include <string>
#include <vector>

namespace slicewise {

/// All arguments, those in brackets with a mark in front that keeps the parser off: in the order in which it
/// takes a list of them, the last one first, and without the program's name.
[[nodiscard]] std::vector<std::string> keptWhole(int argc, const char *const *argv);
/// Takes the mark away again, if there is one: of what the parser has given back.
void asTyped(std::string &argument);
void asTyped(std::vector<std::string> &arguments);
/// Of a sentence that has arguments in it.
void asTypedWithin(std::string &sentence);

} // namespace slicewise
