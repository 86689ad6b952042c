// Names the files of installed applications, for both layouts in which a device keeps them: one directory for
// each application, and separate containers for what was installed and for what the application wrote.
//
// Used by the walking thread alone. What is read is read through the device.
#pragma once

#include "platform/Device.h"
#include "platform/TextMap.h"
#include "scan/Classifier.h"

#include <optional>
#include <string>
#include <string_view>

namespace slicewise {

/// Display names by identifier, the name of an application's directory.
class ApplicationNames {
public:
    /// The device is borrowed.
    explicit ApplicationNames(const Device &device) : m_device(device) {}

    /// The name that the application goes by on its owner's screen: that of its bundle, else that in the
    /// store, else the identifier. Never absent, and neither checked nor trimmed: one with "/" in it makes
    /// levels.
    ///
    /// Names from bundles are kept in appNameCache. Others are not, but a walk takes the directories of an
    /// application one after the other, and until another identifier is asked for the name stays.
    [[nodiscard]] std::string appDisplayNameForIdentifier(std::string_view identifier);

    [[nodiscard]] const TextMap<std::string> &appNameCache() const { return m_appNameCache; }

private:
    [[nodiscard]] std::string bundleName(std::string_view identifier);
    [[nodiscard]] std::string storeName(std::string_view identifier) const;

    const Device &m_device;
    TextMap<std::string> m_appNameCache;
    std::optional<std::string> m_lastIdentifier; ///< that had to be named by its store's data
    std::string m_lastName;
};

/// Files below "/private/var/mobile/Containers/". Raises std::out_of_range for a path with fewer than four
/// components below it.
[[nodiscard]] std::optional<std::string> classifyContainerApp(ApplicationNames &names,
                                                              const std::string &path);
/// Files below "/private/var/mobile/Applications/". Raises std::out_of_range for one that lies directly in
/// it.
[[nodiscard]] std::optional<std::string> classifyLegacyApp(ApplicationNames &names, const std::string &path);

[[nodiscard]] DirectoryAnswer classifyContainerAppOfDirectory(ApplicationNames &names,
                                                              const std::string &directory);
[[nodiscard]] DirectoryAnswer classifyLegacyAppOfDirectory(ApplicationNames &names,
                                                           const std::string &directory);

} // namespace slicewise
