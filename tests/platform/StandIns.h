// What the stand-ins for a device's own libraries do and what was done to them; C, for both sides.
//
// Each stand-in is a module of its own (StandIn*.m), compiled as Objective-C, that a test loads into a child
// process or does not. A test sets what is above the line in a record before it calls, and reads what is
// below after it. Records are read and written by one thread at a time.
#pragma once

// NOLINTBEGIN(modernize-redundant-void-arg): this is C
#ifdef __cplusplus
extern "C" {
#endif

enum { StandInTextBytes = 512 };

/// StandInFoundation.m, "foundationRecord": NSString, NSURL, NSAutoreleasePool.
struct FoundationRecord {
    int poolsMade;
    int poolsOpen;
    int objectsAlive;       ///< texts and URLs
    int objectsWithoutPool; ///< made where no pool was there to give them back
    int earlyMessages;      ///< to classes that had not been initialized
};

enum LibraryAnswer {
    AnswerAtOnce,
    AnswerLaterByCopy,         ///< of the block's bytes, as many as it says
    AnswerLaterByRuntimesCopy, ///< made by _Block_copy
    AnswerLaterByOriginal,
    AnswerNever,
    AnswerTwice,
    RaiseInstead,
    AnswerAndRaise,
    RaiseAndAnswerLater
};

enum LibraryError {
    NoErrorObject,
    ErrorWithText,
    ErrorWithoutDescription,
    ErrorWhoseTextHasNoBytes,
    ErrorThatRaises
};

/// StandInPhotoLibrary.m, "libraryRecord": PLGatekeeperClient.
struct LibraryRecord {
    enum LibraryAnswer answer;
    enum LibraryError error;
    const char *errorText;
    unsigned char success;
    int hasNoInstance;
    // ----
    int earlyMessages;
    int calls;
    int poolsOpen; ///< during the call
    char url[StandInTextBytes];
    const void *blockKind;
    int blockFlags;
    char blockSignature[StandInTextBytes];
    void (*answerLater)(void); ///< gives the answer that was kept; any thread
};

/// StandInWorkspace.m, "workspaceRecord": LSApplicationWorkspace.
struct WorkspaceRecord {
    unsigned char answer;
    int raises;
    int hasNoInstance;
    // ----
    int earlyMessages;
    int calls;
    int poolsOpen;
    char identifier[StandInTextBytes];
    int hadOptions;
};

/// StandInInstallation.m, "installationRecord": MobileInstallationUninstall.
struct InstallationRecord {
    int answer;
    int raises;
    // ----
    int calls;
    int poolsOpen;
    char identifier[StandInTextBytes];
    int othersGiven; ///< how many of the other arguments were not null
};

/// StandInExtensionItem.m, "extensionItemRecord": NSExtensionItem, NSDictionary. StandInBareExtensionItem.m
/// is an NSExtensionItem without its method.
struct ExtensionItemRecord {
    int originalCalls; ///< of the method as the system has it, which answers nil
    int dictionariesMade;
};

/// StandInSender.m, "senderRecord": objc_msgSend, for a runtime that has only functions to look up.
struct SenderRecord {
    int messages;
};

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-redundant-void-arg)
