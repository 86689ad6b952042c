// A stand-in for the runtime of blocks, as far as copying goes.
#include <stdlib.h>
#include <string.h>

struct Block {
    void *kind;
    int flags;
    int reserved;
    void (*invoke)(void);
    struct {
        unsigned long reserved;
        unsigned long bytes;
    } *descriptor;
};

enum { NeedsFreeing = 1 << 24, HasHelpers = 1 << 25 };

void *_NSConcreteStackBlock[32];
void *_NSConcreteMallocBlock[32];
void *_Block_copy(const void *original);
void _Block_release(const void *block);

void *_Block_copy(const void *original)
{
    const struct Block *block = original;
    // These are all that it is handed here; it would take others for something else.
    if (block->kind != _NSConcreteStackBlock || (block->flags & (NeedsFreeing | HasHelpers)) != 0) {
        abort();
    }
    struct Block *copy = malloc(block->descriptor->bytes);
    memmove(copy, block, block->descriptor->bytes);
    copy->kind = _NSConcreteMallocBlock;
    copy->flags |= NeedsFreeing | 2;
    return copy;
}

void _Block_release(const void *block)
{
    if (((const struct Block *)block)->kind != _NSConcreteMallocBlock) {
        abort();
    }
    free((void *)block);
}
