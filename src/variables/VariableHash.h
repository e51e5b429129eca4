#ifndef ZEPH_VARIABLES_VARIABLEHASH_H
#define ZEPH_VARIABLES_VARIABLEHASH_H

#include "variables/HashChains.h"
#include "variables/NamePool.h"
#include "variables/StringClass.h"
#include "variables/Variable.h"

class TaggedFile;

// One slot of a VariableHash.
struct _VH_Entry {
    int dictionary_index;  // name of the slot in the NamePool; -1 for none
    int version;           // Version() of the hash when the variable was made
    Variable* variable;    // null until first use; the hash holds one count
};

// A table of named variables in one scope. Compiled code addresses a variable by
// its slot; names, which ignore letter case, are hashed for dynamic access only.
// A compiled file stores the table without values, and a variable is made when it
// is first touched.
//
// Slots are never reused and the buckets never change; arrays grow by 512 slots.
// A failed read leaves the table as it was, with the text in error(). The pool of
// names is borrowed and outlives the table.
class VariableHash {
public:
    // `block` is the first capacity in slots, taken at the first insertion.
    VariableHash(NamePool* names, int bucket_bits, int block);
    // A table of the same slots, names and chains, but no variables: how a call
    // gets fresh locals from its function's table.
    VariableHash(VariableHash& source);
    VariableHash& operator=(const VariableHash&) = delete;
    virtual ~VariableHash();

    // Put the variable, whose count passes to the table, or an empty entry into a
    // new slot, which is returned.
    virtual int Insert(Variable* variable);
    virtual int Insert(const char* name, int length);
    virtual int Insert(int dictionary_index);

    // Sets the variable of that name to a text, making it where needed.
    virtual int SetVariable(const char* name, int length, const char* text, int text_length);
    // Stores the variable under its own name, in place of the one that was there;
    // the caller's count passes to the table.
    virtual int SetVariable(Variable* variable);

    // The slot of a name, or -1. A null `name` is taken from the pool by index.
    // `out`, when not null, is set on success only.
    virtual int Seek(int dictionary_index, const char* name, int length, _VH_Entry** out);
    // The general form: a name with index -1 is added to the pool; without a name
    // it comes from the pool, and an index that has none stays unlinked.
    virtual int Insert(int dictionary_index, const char* name, int length, Variable* variable);
    virtual int Version() { return 0; }
    // Makes the variable of that name NULL; 1 if it was there, else 0.
    virtual int ClearVariable(const char* name, int length);
    // 0 when the name has no slot, `out` then being untouched; otherwise 1 and the
    // slot's variable, made if it is missing and `create` is set, else maybe null.
    virtual int Find(Variable** out, const char* name, int length, int create);
    // The variable of a slot, made if missing and `create` is set; null for a slot
    // out of range.
    virtual Variable* Index(int slot, int create);
    virtual int Entries() { return m_count; }

    // The table's record in a compiled file: in a section of its own, or inline
    // at the present place of an open section. False on failure.
    virtual bool Read(TaggedFile* file, int tag);
    virtual bool Write(TaggedFile* file, int tag);
    virtual bool Read(TaggedFile* file);
    virtual bool Write(TaggedFile* file);
    virtual const String& error() { return m_error; }
    virtual void Error(const String& text) { m_error = text; }

    // Releases all variables and keeps the slots.
    void Dump();

    // The name of a slot, counted; null for none.
    const char* Name(int slot, int* length);

private:
    void Grow();

    NamePool* m_names;  // borrowed
    HashChains m_chains;
    _VH_Entry* m_entries = nullptr;  // owned
    int m_capacity = 0;
    int m_count = 0;
    int m_block;
    String m_error;
};

// The variables that the system sets and scripts read.
class SystemVariableHash : public VariableHash {
public:
    using VariableHash::VariableHash;
};

#endif
