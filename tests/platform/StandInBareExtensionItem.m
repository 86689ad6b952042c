// A stand-in for an extension item of a system where it has not the method that is looked for.
#include <objc/runtime.h>

@interface NSExtensionItem {
    Class isa;
}
+ (id)item;
@end

@implementation NSExtensionItem
+ (id)item
{
    return class_createInstance(self, 0);
}
@end
