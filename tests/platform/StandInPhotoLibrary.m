// A stand-in for the photo library. Loaded after StandInFoundation, where that is loaded at all.
#define _GNU_SOURCE
#include "StandIns.h"

#include <objc/runtime.h>

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct LibraryRecord libraryRecord;

// Of objects of other modules.
@interface Other
+ (id)stringWithUTF8String:(const char *)utf8;
- (const char *)UTF8String;
- (id)absoluteString;
@end

struct Block {
    void *kind;
    int flags;
    int reserved;
    void (*invoke)(struct Block *, BOOL, id);
    struct {
        unsigned long reserved;
        unsigned long bytes;
        const char *signature;
    } *descriptor;
};

static const struct FoundationRecord *foundation(void)
{
    return dlsym(RTLD_DEFAULT, "foundationRecord");
}

@interface StandInText {
    Class isa;
}
- (const char *)UTF8String;
@end

@implementation StandInText
- (const char *)UTF8String
{
    return NULL;
}
@end

@interface StandInError {
    Class isa;
}
- (id)description;
@end

static id theErrorItself(void);
static id theTextWithoutBytes(void);

@implementation StandInError
- (id)description
{
    switch (libraryRecord.error) {
    case ErrorWithText:
        return [(Class)objc_getClass("NSString") stringWithUTF8String:libraryRecord.errorText];
    case ErrorWhoseTextHasNoBytes:
        return theTextWithoutBytes();
    case ErrorThatRaises:
        @throw theErrorItself();
    default:
        return nil;
    }
}
@end

// Made once and for all; nobody counts them.
static id theErrorItself(void)
{
    static id error;
    if (error == nil) {
        error = class_createInstance(objc_getClass("StandInError"), 0);
    }
    return error;
}

static id theTextWithoutBytes(void)
{
    static id text;
    if (text == nil) {
        text = class_createInstance(objc_getClass("StandInText"), 0);
    }
    return text;
}

static struct Block *kept;
static void (*forget)(const void *);

static void call(struct Block *block)
{
    block->invoke(block, libraryRecord.success,
                  libraryRecord.error == NoErrorObject ? nil : theErrorItself());
}

static void answerLater(void)
{
    call(kept);
    if (forget != NULL) {
        forget(kept);
    }
}

static void freeCopy(const void *copy)
{
    memset((void *)copy, 0x55, ((const struct Block *)copy)->descriptor->bytes);
    free((void *)copy);
}

static void keepCopy(struct Block *block)
{
    kept = malloc(block->descriptor->bytes);
    memmove(kept, block, block->descriptor->bytes);
    forget = freeCopy;
}

static void keepRuntimesCopy(struct Block *block)
{
    void *(*copy)(const void *) = dlsym(RTLD_DEFAULT, "_Block_copy");
    kept = copy(block);
    forget = dlsym(RTLD_DEFAULT, "_Block_release");
}

static void record(id url, struct Block *block)
{
    ++libraryRecord.calls;
    libraryRecord.poolsOpen = foundation()->poolsOpen;
    snprintf(libraryRecord.url, sizeof libraryRecord.url, "%s", [[url absoluteString] UTF8String]);
    libraryRecord.blockKind = block->kind;
    libraryRecord.blockFlags = block->flags;
    snprintf(libraryRecord.blockSignature, sizeof libraryRecord.blockSignature, "%s",
             block->descriptor->signature);
    libraryRecord.answerLater = answerLater;
}

@interface PLGatekeeperClient {
    Class isa;
}
+ (id)sharedInstance;
- (void)deleteAssetWithURL:(id)url handler:(struct Block *)block;
@end

static int isInitialized;

@implementation PLGatekeeperClient
+ (void)initialize
{
    isInitialized = 1;
}
+ (id)sharedInstance
{
    static id instance;
    libraryRecord.earlyMessages += !isInitialized;
    if (instance == nil) {
        instance = class_createInstance(self, 0);
    }
    return libraryRecord.hasNoInstance ? nil : instance;
}
- (void)deleteAssetWithURL:(id)url handler:(struct Block *)block
{
    record(url, block);
    switch (libraryRecord.answer) {
    case AnswerAtOnce:
        call(block);
        break;
    case AnswerLaterByCopy:
        keepCopy(block);
        break;
    case AnswerLaterByRuntimesCopy:
        keepRuntimesCopy(block);
        break;
    case AnswerLaterByOriginal:
        kept = block;
        break;
    case AnswerNever:
        break;
    case AnswerTwice:
        call(block);
        call(block);
        break;
    case RaiseInstead:
        @throw theErrorItself();
    case AnswerAndRaise:
        call(block);
        @throw theErrorItself();
    case RaiseAndAnswerLater:
        keepCopy(block);
        @throw theErrorItself();
    }
}
@end
