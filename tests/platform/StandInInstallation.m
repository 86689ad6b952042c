// A stand-in for the older one of the two ways to uninstall an application.
#define _GNU_SOURCE
#include "StandIns.h"

#include <objc/runtime.h>

#include <dlfcn.h>
#include <stdio.h>

struct InstallationRecord installationRecord;

@interface Other
- (const char *)UTF8String;
@end

int MobileInstallationUninstall(id identifier, void *options, void *callback, void *context);

int MobileInstallationUninstall(id identifier, void *options, void *callback, void *context)
{
    const struct FoundationRecord *foundation = dlsym(RTLD_DEFAULT, "foundationRecord");
    ++installationRecord.calls;
    installationRecord.poolsOpen = foundation->poolsOpen;
    installationRecord.othersGiven = (options != NULL) + (callback != NULL) + (context != NULL);
    snprintf(installationRecord.identifier, sizeof installationRecord.identifier, "%s",
             [identifier UTF8String]);
    if (installationRecord.raises) {
        @throw identifier;
    }
    return installationRecord.answer;
}
