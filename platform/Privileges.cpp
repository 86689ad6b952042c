#include "platform/Privileges.h"

#include "platform/OpenFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

extern "C" char **environ; // NOLINT(readability-redundant-declaration): not every platform's header has it

namespace slicewise {

namespace {

/// Nothing of ours runs any more: rights that nobody should have are still held.
[[noreturn]] void endAtOnce(std::string_view sentence)
{
    static_cast<void>(!::write(STDERR_FILENO, sentence.data(), sentence.size()));
    std::abort();
}

bool isHarmless(std::string_view value)
{
    return std::none_of(value.begin(), value.end(),
                        [](char c) { return c == '/' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

void keepOnlyHarmlessVariables()
{
    std::vector<std::pair<std::string, std::string>> kept;
    for (const std::string_view name : Privileges::keptVariables()) {
        std::string text(name);
        const char *value = ::getenv(text.c_str()); // NOLINT(concurrency-mt-unsafe): there is one thread yet
        if (value != nullptr && isHarmless(value)) {
            kept.emplace_back(std::move(text), value);
        }
    }
    // Not variable by variable: what a caller has put there need not have the form of one, nor be there once.
    static char *nothing = nullptr;
    environ = &nothing;
    kept.emplace_back("PATH", Privileges::kPath);
    for (const auto &[name, value] : kept) {
        ::setenv(name.c_str(), value.c_str(), 1); // NOLINT(concurrency-mt-unsafe): as above
    }
}

} // namespace

Privileges::Privileges(const UserIdCalls &calls) : m_calls(&calls)
{
    const UserIdSet ids = calls.ids();
    m_realUser = ids.real;
    m_setUserId = ids.effective != ids.real || ids.saved != ids.real;
}

Privileges Privileges::afterEntry(const UserIdCalls *calls)
{
    static const UserIdCalls real;
    return Privileges(calls != nullptr ? *calls : real);
}

Privileges Privileges::dropAtEntry(const UserIdCalls *calls)
{
    Privileges privileges = afterEntry(calls);
    static_cast<void>(privileges.m_calls->setEffective(privileges.m_realUser));
    if (privileges.m_calls->ids().effective != privileges.m_realUser) {
        endAtOnce("The rights of root could not be given back.\n");
    }
    if (privileges.m_setUserId) {
        closeAllButStandardStreams();
        ::umask(S_IWGRP | S_IWOTH);
        keepOnlyHarmlessVariables();
    }
    return privileges;
}

void Privileges::giveUpForGood()
{
    const UserIdSet wanted = {.real = m_realUser, .effective = m_realUser, .saved = m_realUser};
    if (m_calls->setAll(m_realUser) != 0 || m_calls->ids() != wanted) {
        endAtOnce("The rights of root could not be given up.\n");
    }
    m_setUserId = false;
}

Privileges::AsRoot::AsRoot(const Privileges &privileges) : m_privileges(privileges)
{
    // Where it fails, what follows has the user's rights and tells what it may not do.
    static_cast<void>(m_privileges.m_calls->setEffectiveOfThread(0));
}

Privileges::AsRoot::~AsRoot()
{
    const ::uid_t user = m_privileges.m_realUser;
    if (m_privileges.m_calls->setEffectiveOfThread(user) != 0 ||
        m_privileges.m_calls->ids().effective != user) {
        endAtOnce("The rights of root could not be given back.\n");
    }
}

const std::vector<std::string_view> &Privileges::keptVariables()
{
    static const std::vector<std::string_view> names = {
        "TERM",     "COLUMNS",    "LINES",   "NO_COLOR",   "LANG",        "LANGUAGE",    "LC_ALL",
        "LC_CTYPE", "LC_NUMERIC", "LC_TIME", "LC_COLLATE", "LC_MONETARY", "LC_MESSAGES",
    };
    return names;
}

} // namespace slicewise
