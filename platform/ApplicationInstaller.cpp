#include "platform/ApplicationInstaller.h"

#include "platform/ObjectiveC.h"

#include <optional>

namespace slicewise {

namespace {

constexpr const char *kWorkspaceClass = "LSApplicationWorkspace";
/// Beside the answers of the function itself, which are 0 and what its system makes of a failure.
constexpr int kNotAsked = -1;

/// The three arguments behind the identifier are options, a callback and what that is given.
using UninstallFunction = int (*)(ObjcId bundleIdentifier, void *, void *, void *);

void sayThatThereIsNone(Log &log, const std::string &reason)
{
    log.line("Applications can't be uninstalled: " + reason + ".");
}

class SystemApplicationInstaller final : public ApplicationInstaller {
public:
    explicit SystemApplicationInstaller(Log &log) : m_log(log) {}

    Uninstall mobileInstallationUninstall() override
    {
        const auto function =
            reinterpret_cast<UninstallFunction>(symbolInProcess("MobileInstallationUninstall"));
        if (function == nullptr) {
            return {};
        }
        return [this, function](const std::string &bundleIdentifier) {
            int answer = kNotAsked;
            withText(bundleIdentifier, [&](const ObjectiveC &, ObjcId text) {
                answer = function(text, nullptr, nullptr, nullptr);
            });
            return answer;
        };
    }

    WorkspaceUninstall applicationWorkspace() override
    {
        if (const auto obstacle = ObjectiveC::obstacle({kWorkspaceClass})) {
            sayThatThereIsNone(m_log, *obstacle);
            return {};
        }
        return [this](const std::string &bundleIdentifier) {
            bool success = false;
            withText(bundleIdentifier, [&](const ObjectiveC &runtime, ObjcId text) {
                success = uninstallFromWorkspace(runtime, text);
            });
            return success;
        };
    }

private:
    using Body = std::function<void(const ObjectiveC &runtime, ObjcId text)>;

    /// Runs the body with the identifier as an NSString; says in the log why where it can't, or where it
    /// raised something.
    void withText(const std::string &bundleIdentifier, const Body &body) const
    {
        if (const auto obstacle = ObjectiveC::obstacle({"NSString", "NSAutoreleasePool"})) {
            sayThatThereIsNone(m_log, *obstacle);
            return;
        }
        const ObjectiveC runtime = ObjectiveC::find().value();
        const bool ended = runtime.guarded([&] {
            const ObjcId text = runtime.text(bundleIdentifier);
            if (text != nullptr) {
                body(runtime, text);
            } else {
                sayThatThereIsNone(m_log, "\"" + bundleIdentifier + "\" is no text");
            }
        });
        if (!ended) {
            sayThatThereIsNone(m_log, "the installer raised an exception");
        }
    }

    [[nodiscard]] bool uninstallFromWorkspace(const ObjectiveC &runtime, ObjcId bundleIdentifier) const
    {
        const ObjcId workspace = runtime.send(runtime.classNamed(kWorkspaceClass), "defaultWorkspace");
        if (workspace == nullptr) {
            sayThatThereIsNone(m_log, "there is no default workspace");
            return false;
        }
        const ObjcId noOptions = nullptr;
        return runtime.send<ObjcBool>(workspace, "uninstallApplication:withOptions:", bundleIdentifier,
                                      noOptions) != 0;
    }

    Log &m_log;
};

class RefusingApplicationInstaller final : public ApplicationInstaller {
public:
    explicit RefusingApplicationInstaller(Log &log) : m_log(log) {}

    Uninstall mobileInstallationUninstall() override { return {}; }

    WorkspaceUninstall applicationWorkspace() override
    {
        sayThatThereIsNone(m_log, "the device is not the system that runs here");
        return {};
    }

private:
    Log &m_log;
};

} // namespace

std::unique_ptr<ApplicationInstaller> systemApplicationInstaller(Log &log)
{
    return std::make_unique<SystemApplicationInstaller>(log);
}

std::unique_ptr<ApplicationInstaller> refusingApplicationInstaller(Log &log)
{
    return std::make_unique<RefusingApplicationInstaller>(log);
}

} // namespace slicewise
