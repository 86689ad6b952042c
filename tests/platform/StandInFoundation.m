// Stand-ins for the classes that everything else is made of.
#include "StandIns.h"

#include <objc/runtime.h>

#include <stdlib.h>
#include <string.h>

struct FoundationRecord foundationRecord;

@interface StandInObject {
    Class isa;
}
+ (id)alloc;
- (id)init;
- (void)dealloc;
@end

@implementation StandInObject
+ (id)alloc
{
    return class_createInstance(self, 0);
}
- (id)init
{
    return self;
}
- (void)dealloc
{
    object_dispose((id)self);
}
@end

enum { MostObjects = 100 };

@interface NSAutoreleasePool : StandInObject {
@public
    NSAutoreleasePool *outer;
    StandInObject *objects[MostObjects];
    int count;
}
- (void)drain;
@end

static __thread NSAutoreleasePool *innermost;

@implementation NSAutoreleasePool
- (id)init
{
    outer = innermost;
    innermost = self;
    ++foundationRecord.poolsMade;
    ++foundationRecord.poolsOpen;
    return self;
}
- (void)drain
{
    for (int i = 0; i < count; ++i) {
        [objects[i] dealloc];
    }
    innermost = outer;
    --foundationRecord.poolsOpen;
    [self dealloc];
}
@end

static id givenBackByThePool(StandInObject *object)
{
    ++foundationRecord.objectsAlive;
    if (innermost == NULL || innermost->count == MostObjects) {
        ++foundationRecord.objectsWithoutPool;
    } else {
        innermost->objects[innermost->count++] = object;
    }
    return (id)object;
}

@interface NSString : StandInObject {
@public
    char *bytes;
}
+ (id)stringWithUTF8String:(const char *)utf8;
- (const char *)UTF8String;
- (id)description;
@end

static int stringIsInitialized;

@implementation NSString
+ (void)initialize
{
    stringIsInitialized = 1;
}
+ (id)stringWithUTF8String:(const char *)utf8
{
    foundationRecord.earlyMessages += !stringIsInitialized;
    // These bytes are in no UTF-8.
    if (strpbrk(utf8, "\xc0\xc1\xf5\xf6\xf7\xf8\xf9\xfa\xfb\xfc\xfd\xfe\xff") != NULL) {
        return nil;
    }
    NSString *string = [[self alloc] init];
    string->bytes = strdup(utf8);
    return givenBackByThePool(string);
}
- (const char *)UTF8String
{
    return bytes;
}
- (id)description
{
    return (id)self;
}
- (void)dealloc
{
    memset(bytes, '?', strlen(bytes)); // so that whoever reads them now notices
    free(bytes);
    --foundationRecord.objectsAlive;
    [super dealloc];
}
@end

@interface NSURL : StandInObject {
@public
    char *bytes;
}
+ (id)URLWithString:(NSString *)string;
- (id)absoluteString;
@end

static int urlIsInitialized;

@implementation NSURL
+ (void)initialize
{
    urlIsInitialized = 1;
}
+ (id)URLWithString:(NSString *)string
{
    foundationRecord.earlyMessages += !urlIsInitialized;
    if (strchr([string UTF8String], ' ') != NULL) {
        return nil;
    }
    NSURL *url = [[self alloc] init];
    url->bytes = strdup([string UTF8String]);
    return givenBackByThePool(url);
}
- (id)absoluteString
{
    return [NSString stringWithUTF8String:bytes];
}
- (void)dealloc
{
    memset(bytes, '?', strlen(bytes));
    free(bytes);
    --foundationRecord.objectsAlive;
    [super dealloc];
}
@end
