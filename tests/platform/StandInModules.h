// Loads the stand-ins for a device's own libraries. What is loaded stays: so only in a child process.
#pragma once

#include "tests/platform/StandIns.h"

namespace slicewise {

/// The module "StandIn<name>", all its symbols for everybody. A module that can't be loaded throws
/// std::runtime_error.
class StandInModule {
public:
    explicit StandInModule(const char *name);

    /// The record of that name in the module, which lives as long as the process.
    template <typename Record> [[nodiscard]] Record &record(const char *name) const
    {
        return *static_cast<Record *>(symbol(name));
    }

private:
    [[nodiscard]] void *symbol(const char *name) const;

    void *m_module;
};

/// NSString, NSURL, NSAutoreleasePool.
const FoundationRecord &loadFoundation();
LibraryRecord &loadPhotoLibrary();
WorkspaceRecord &loadWorkspace();
InstallationRecord &loadInstallation();
const SenderRecord &loadSender();
const ExtensionItemRecord &loadExtensionItem();
void loadBareExtensionItem();

} // namespace slicewise
