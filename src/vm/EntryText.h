#ifndef ZEPH_VM_ENTRYTEXT_H
#define ZEPH_VM_ENTRYTEXT_H

#include "variables/LinkBuffer.h"
#include "vm/ZephVM_Stack.h"

// Where the text of a string or of a link buffer stands; borrowed from the entry.
struct EntryText {
    const char* data;
    int length;
    int capacity;  // of the array, in bytes
};

// Of an entry that is one of the two. A link buffer is made flat, and its text ends in a NUL.
inline EntryText TextInPlace(const Stack_Entry& entry)
{
    if (entry.kind == Stack_Entry::kString)
        return {entry.string, entry.length, entry.capacity};
    EntryText text;
    text.data = entry.buffer->data(&text.length, &text.capacity);
    return text;
}

#endif
