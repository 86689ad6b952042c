// A program as it is installed on a device: a copy that belongs to root and carries the set-user-id bit.
//
// Needs root, and a place whose file system honours the bit; where there is none, why() says so and the test
// is to skip.
#pragma once

#include "tests/support/TemporaryDirectory.h"

#include <memory>
#include <string>

namespace slicewise {

class SetUserIdCopy {
public:
    explicit SetUserIdCopy(const std::string &program);

    /// Puts the libraries that it needs beside it, so that it runs where its folder is the whole system:
    /// after chroot(8) to directory(), as "/program". A scan of "/" is quick there, and whatever is deleted
    /// from it is the test's.
    void bringLibraries() const;
    [[nodiscard]] const TemporaryDirectory &directory() const { return *m_directory; }

    /// Empty where there is a copy.
    [[nodiscard]] const std::string &why() const { return m_why; }
    [[nodiscard]] const std::string &path() const { return m_path; }

private:
    void copy(const std::string &program, const TemporaryDirectory &directory);

    std::unique_ptr<TemporaryDirectory> m_directory;
    std::string m_path;
    std::string m_why;
};

} // namespace slicewise
