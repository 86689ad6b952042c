#include "tests/platform/StandInModules.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace slicewise {

StandInModule::StandInModule(const char *name)
    : m_module(::dlopen((std::string(SLICEWISE_STAND_INS "/StandIn") + name + ".so").c_str(),
                        RTLD_NOW | RTLD_GLOBAL))
{
    if (m_module == nullptr) {
        throw std::runtime_error(::dlerror());
    }
}

void *StandInModule::symbol(const char *name) const
{
    void *address = ::dlsym(m_module, name);
    if (address == nullptr) {
        throw std::runtime_error(std::string("a stand-in has no ") + name);
    }
    return address;
}

const FoundationRecord &loadFoundation()
{
    return StandInModule("Foundation").record<FoundationRecord>("foundationRecord");
}

LibraryRecord &loadPhotoLibrary()
{
    return StandInModule("PhotoLibrary").record<LibraryRecord>("libraryRecord");
}

WorkspaceRecord &loadWorkspace()
{
    return StandInModule("Workspace").record<WorkspaceRecord>("workspaceRecord");
}

InstallationRecord &loadInstallation()
{
    return StandInModule("Installation").record<InstallationRecord>("installationRecord");
}

const SenderRecord &loadSender()
{
    return StandInModule("Sender").record<SenderRecord>("senderRecord");
}

const ExtensionItemRecord &loadExtensionItem()
{
    return StandInModule("ExtensionItem").record<ExtensionItemRecord>("extensionItemRecord");
}

void loadBareExtensionItem()
{
    const StandInModule module("BareExtensionItem");
}

} // namespace slicewise
