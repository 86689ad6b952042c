// A stand-in for the dispatch of runtimes that send, on top of one that looks up.
#include "StandIns.h"

#include <objc/message.h>
#include <objc/objc.h>

struct SenderRecord senderRecord;

// Arguments and results of the messages that are sent here are whole numbers and pointers, which processors of 64
// bits pass in registers, asked for or not.
typedef unsigned long Word;

Word objc_msgSend(id receiver, SEL selector, Word first, Word second);

Word objc_msgSend(id receiver, SEL selector, Word first, Word second)
{
    ++senderRecord.messages;
    void (*found)(void) = (void (*)(void))objc_msg_lookup(receiver, selector);
    Word (*method)(id, SEL, Word, Word) = (Word(*)(id, SEL, Word, Word))found;
    return method(receiver, selector, first, second);
}
