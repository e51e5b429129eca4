#ifndef ZEPH_VARIABLES_NAMEPOOL_H
#define ZEPH_VARIABLES_NAMEPOOL_H

// Texts known by index: what a table of named variables needs of the program's
// dictionary, and all that this floor knows of it.
//
// Texts are counted, not terminated. Adding texts moves none of them; what a pool
// does beyond this interface may.
class NamePool {
public:
    virtual ~NamePool() {}

    // The first byte of text `index` and, through a non-null `size`, its length
    // in bytes; null and 0 for an index that has no text.
    virtual const char* Entry(int index, int* size) = 0;

    // Adds a text, copied, and returns its index. A `length` of -1 means that
    // `text` ends at its NUL. Texts are not made unique.
    virtual int Entry_Add(const char* text, int length) = 0;

    // Whether its texts outlive every variable of the process.
    virtual bool IsPermanent() { return false; }

    // A pool with the same texts under the same indices that shares nothing with this
    // one. The caller's.
    virtual NamePool* Clone() = 0;
};

#endif
