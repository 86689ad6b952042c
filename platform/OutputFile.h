// A file that the user wants a result in: asked for before the work begins, written when it is done.
//
// Nothing of a device is ever written this way. One thread.
#pragma once

#include "platform/Result.h"
#include "platform/UniqueFd.h"

#include <string>
#include <string_view>

namespace slicewise {

class OutputFile {
public:
    /// Opens the file, or makes an empty one. What is in it stays until replaceContent(). The errno of
    /// open(2) otherwise.
    [[nodiscard]] static Result<OutputFile> open(const std::string &path);

    /// Writes all of it in the place of what was there; 0, or the errno that it ended with.
    [[nodiscard]] int replaceContent(std::string_view bytes);

private:
    explicit OutputFile(UniqueFd file);

    UniqueFd m_file;
};

} // namespace slicewise
