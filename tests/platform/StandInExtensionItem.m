// A stand-in for what the system makes of an application's extensions. Its method is a crash waiting to happen.
#include "StandIns.h"

#include <objc/runtime.h>

#include <stddef.h>

struct ExtensionItemRecord extensionItemRecord;

@interface NSDictionary {
    Class isa;
}
+ (id)dictionary;
- (unsigned long)count;
@end

@implementation NSDictionary
+ (id)dictionary
{
    ++extensionItemRecord.dictionariesMade;
    return class_createInstance(self, 0);
}
- (unsigned long)count
{
    return 0;
}
@end

@interface NSExtensionItem {
    Class isa;
}
+ (id)item;
- (id)_matchingDictionaryRepresentation;
@end

@implementation NSExtensionItem
+ (id)item
{
    return class_createInstance(self, 0);
}
- (id)_matchingDictionaryRepresentation
{
    ++extensionItemRecord.originalCalls;
    return nil;
}
@end
