// The service of a device that uninstalls applications.
//
// There are two mechanisms, of which a system has one: a C function of older systems and a class of newer
// ones. Which of them is asked, and in which order, is the caller's matter.
#pragma once

#include "platform/Log.h"

#include <functional>
#include <memory>
#include <string>

namespace slicewise {

class ApplicationInstaller {
public:
    ApplicationInstaller() = default;
    ApplicationInstaller(const ApplicationInstaller &) = delete;
    ApplicationInstaller &operator=(const ApplicationInstaller &) = delete;
    virtual ~ApplicationInstaller() = default;

    /// Uninstalls an application by its bundle identifier and blocks until that is done; 0 for success.
    using Uninstall = std::function<int(const std::string &bundleIdentifier)>;
    /// The function "MobileInstallationUninstall", looked up in the process's default symbol scope at each
    /// call; empty where there is none. It stays valid as long as the installer.
    [[nodiscard]] virtual Uninstall mobileInstallationUninstall() = 0;

    /// Uninstalls an application by its bundle identifier; true for success.
    using WorkspaceUninstall = std::function<bool(const std::string &bundleIdentifier)>;
    /// What sends "uninstallApplication:withOptions:" to the default workspace of the class
    /// "LSApplicationWorkspace", looked up by name at each call; empty where there is no such class. It stays
    /// valid as long as the installer.
    [[nodiscard]] virtual WorkspaceUninstall applicationWorkspace() = 0;
};

/// The installer of the system that we run on, found at run time. Where there is none, it says so in the log
/// (borrowed) when it is asked for its second mechanism.
[[nodiscard]] std::unique_ptr<ApplicationInstaller> systemApplicationInstaller(Log &log);

/// Has no mechanism and says so in the log (borrowed): for a device that is not the system we run on.
[[nodiscard]] std::unique_ptr<ApplicationInstaller> refusingApplicationInstaller(Log &log);

} // namespace slicewise
