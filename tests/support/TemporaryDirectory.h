// A directory of a test's own, removed at the end whatever is in it.
//
// It lies in $SLICEWISE_TEST_DIR, or in the system's directory for temporary files. Everything is reached by
// descriptor, one name at a time: paths may be longer than PATH_MAX, names any bytes. Paths are relative to
// the directory, "a/b/c"; what is missing above the last name is made. Links above the last name are followed
// by nobody. Failures throw std::system_error, which ends the test. Any thread; the directory is removed by
// the process that made it, never by a child of it.
#pragma once

#include "platform/UniqueFd.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace slicewise {

class TemporaryDirectory {
public:
    /// OnDisk: in /var/tmp, which is what is kept over a restart, for tests to which main memory is no disk.
    enum class Lies : bool { Anywhere, OnDisk };

    /// Everybody may look into it, so that a test can do so as another user.
    explicit TemporaryDirectory(Lies where = Lies::Anywhere);
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    ~TemporaryDirectory();

    /// On the host, without links.
    [[nodiscard]] const std::string &path() const { return m_path; }
    [[nodiscard]] std::string pathOf(std::string_view relative) const;

    /// A sparse file of that size; one that is there is emptied first.
    void makeFile(std::string_view relative, std::uint64_t sizeBytes = 0) const;
    void writeFile(std::string_view relative, std::string_view content) const;
    void makeDirectory(std::string_view relative) const;
    void makeLink(std::string_view relative, const std::string &target) const;
    /// A second name for a file that is there.
    void makeHardLink(std::string_view relative, std::string_view existing) const;
    void makeFifo(std::string_view relative) const;
    void makeSocket(std::string_view relative) const;

    void setMode(std::string_view relative, ::mode_t mode) const;
    void rename(std::string_view from, std::string_view to) const;
    /// Removes one file, or one directory with all that is in it.
    void remove(std::string_view relative) const;

    /// `depth` directories of that name in one another, as a relative path.
    [[nodiscard]] static std::string chain(std::size_t depth, std::string_view name);

private:
    struct Place {
        UniqueFd parent;
        std::string name;
    };
    [[nodiscard]] Place placeOf(std::string_view relative) const;
    static void removeDirectory(int parent, const std::string &name);

    std::string m_path;
    ::pid_t m_owner;
};

} // namespace slicewise
