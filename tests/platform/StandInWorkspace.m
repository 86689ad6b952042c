// A stand-in for the newer one of the two ways to uninstall an application.
#define _GNU_SOURCE
#include "StandIns.h"

#include <objc/runtime.h>

#include <dlfcn.h>
#include <stdio.h>

struct WorkspaceRecord workspaceRecord;

@interface Other
- (const char *)UTF8String;
@end

@interface LSApplicationWorkspace {
    Class isa;
}
+ (id)defaultWorkspace;
- (BOOL)uninstallApplication:(id)identifier withOptions:(id)options;
@end

static int isInitialized;

@implementation LSApplicationWorkspace
+ (void)initialize
{
    isInitialized = 1;
}
+ (id)defaultWorkspace
{
    static id workspace;
    workspaceRecord.earlyMessages += !isInitialized;
    if (workspace == nil) {
        workspace = class_createInstance(self, 0);
    }
    return workspaceRecord.hasNoInstance ? nil : workspace;
}
- (BOOL)uninstallApplication:(id)identifier withOptions:(id)options
{
    const struct FoundationRecord *foundation = dlsym(RTLD_DEFAULT, "foundationRecord");
    ++workspaceRecord.calls;
    workspaceRecord.poolsOpen = foundation->poolsOpen;
    workspaceRecord.hadOptions = options != nil;
    snprintf(workspaceRecord.identifier, sizeof workspaceRecord.identifier, "%s", [identifier UTF8String]);
    if (workspaceRecord.raises) {
        @throw (id)self;
    }
    return workspaceRecord.answer;
}
@end
