// The rights of the process where it is installed set-user-id root: the user's own, but for single moments.
//
// At entry the effective user becomes the real one; the saved set-user-id stays 0, so that root's rights can
// be taken for one removal and given back after it. On Linux only the thread that removes has them (raw
// system calls: the C library's would change every thread, by signals); elsewhere the whole process. A
// process without the set-user-id bit goes through the same motions: taking the rights fails, the removal
// then has the user's rights and reports what it may not remove.
//
// Rights that can't be given back end the process at once, whatever it was doing.
#pragma once

#include "platform/UserIdCalls.h"

#include <string_view>
#include <vector>

namespace slicewise {

class Privileges {
public:
    /// The first act of main(), before any other thread: seteuid(getuid()). Where the process was started
    /// set-user-id it also rids itself of what its caller has put up around it: of the environment but for
    /// keptVariables(), of descriptors beyond the standard streams, of the umask; PATH becomes kPath.
    /// Ends the process where the ids do not change. The calls are borrowed; null means the real ones.
    static Privileges dropAtEntry(const UserIdCalls *calls = nullptr);

    /// Of a process whose entry has done that already; for what is made later.
    static Privileges afterEntry(const UserIdCalls *calls = nullptr);

    /// Whether the process was started with another effective user than its real one.
    [[nodiscard]] bool isSetUserId() const { return m_setUserId; }
    /// Whether the real user is root, who has all rights all the time.
    [[nodiscard]] bool isRealRoot() const { return m_realUser == 0; }

    /// Gives up the saved id as well: real, effective and saved become the real user's, on all threads, and
    /// nothing brings root's rights back. For everything but the host's own "/". Ends the process where it
    /// does not succeed.
    void giveUpForGood();

    /// Root's rights for as long as it lives, on the thread that makes it; it must not leave that thread.
    /// Keep it around the one call that removes.
    class AsRoot {
    public:
        explicit AsRoot(const Privileges &privileges);
        ~AsRoot();
        AsRoot(const AsRoot &) = delete;
        AsRoot &operator=(const AsRoot &) = delete;

    private:
        const Privileges &m_privileges;
    };

    /// What a set-user-id process keeps of its caller's environment, where the value holds no "/" and no
    /// control character: how to write, nothing about where anything lies.
    [[nodiscard]] static const std::vector<std::string_view> &keptVariables();
    static constexpr std::string_view kPath = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

private:
    explicit Privileges(const UserIdCalls &calls);

    const UserIdCalls *m_calls;
    ::uid_t m_realUser = 0;
    bool m_setUserId = false;
};

} // namespace slicewise
