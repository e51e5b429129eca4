#ifndef ZEPH_VM_TAGLOOKUP_H
#define ZEPH_VM_TAGLOOKUP_H

// Turns the name of a tag, as an administrator writes it, into the tag's row in the
// error settings. Holds no state.
class TagLookup {
public:
    virtual ~TagLookup() {}

    // The row of a tag in any letter case, -1 for a name that is none. A `length` of
    // -1 means that the name ends at its NUL.
    int Lookup(const char* name, int length) const;
};

#endif
