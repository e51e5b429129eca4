#ifndef ZEPH_VARIABLES_VARIABLEHASH_H
#define ZEPH_VARIABLES_VARIABLEHASH_H

#include "variables/DirectValue.h"
#include "variables/HashChains.h"
#include "variables/NamePool.h"
#include "variables/StringClass.h"
#include "variables/Variable.h"

class TaggedFile;
class ZephApplication;

// One slot of a VariableHash.
struct _VH_Entry {
    int dictionary_index;  // name of the slot in the NamePool; -1 for none
    // Version() of the hash when the variable was made; in a view of another table
    // the slot there, -1 while it is not known.
    int version;
    Variable* variable;  // null until first use; the hash holds one count
};

// A table of named variables in one scope. Compiled code addresses a variable by
// its slot; names, which ignore letter case, are hashed for dynamic access only.
// A compiled file stores the table without values, and a variable is made when it
// is first touched.
//
// Slots are never reused and the buckets never change; arrays grow by 512 slots.
// A failed operation returns 0 with the text in error(); a failed read leaves the
// table as it was. The pool of names is borrowed and outlives the table.
class VariableHash {
public:
    // What Scope tells of a name. The numbers are known outside.
    enum ScopeKind {
        kLocalScope = 0,
        kGlobalScope = 1,
        kSystemScope = 2,
        kDatabaseScope = 3,
        kNoScope = 5
    };

    // The text for a number between brackets that no element can have.
    static constexpr const char* kArrayIndexFault = "Array index must be positive integer";

    // `block` is the first capacity in slots, taken at the first insertion.
    VariableHash(NamePool* names, int bucket_bits, int block);
    // A table of the same slots, names and chains, but no variables: how a call
    // gets fresh locals from its function's table.
    VariableHash(VariableHash& source);
    // The same with a clone of each variable, for another application. An index has
    // the same name in `names` as in the pool of the source.
    VariableHash(ZephApplication* application, NamePool* names, VariableHash& source);
    VariableHash& operator=(const VariableHash&) = delete;

    // The order of these is binary interface.

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
    // Makes the slot a reference to `target`, unless it holds that very variable.
    // 0 for a slot out of range.
    virtual int SetVariable_Reference(int slot, Variable* target);
    // Sets what LookupVariable_Fancy finds or makes. With `append` a value that is
    // there already becomes the first element of an array, and the new one the element
    // behind the number of elements in use, which need not be the last one. 0 for a bad
    // name.
    virtual int SetVariable_Fancy(const char* name, int length, const char* text, int text_length,
                                  int append);
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
    // A name with element selectors, "name[2]:member[3]". 1 and the variable, null if
    // some part of it is missing and `create` is 0; 0 and null for a bad selector,
    // unless a part in front of it was missing.
    //
    // Between brackets stand digits with white space around them. What follows the
    // first run of digits is not read, and no digits are 0. A number that an index
    // cannot be is refused as a negative one is.
    virtual int LookupVariable_Fancy(Variable** out, const char* text, int length, int create);
    // The variable of a slot, made if missing and `create` is set; null for a slot
    // out of range.
    virtual Variable* Index(int slot, int create);
    virtual int Entries() { return m_count; }
    // Adds the variables that have been made to the tail of the list, in slot order.
    virtual void AllocatedVars(VariableList* list);
    // The table's record in a compiled file: in a section of its own, or inline
    // at the present place of an open section. False on failure.
    virtual bool Read(TaggedFile* file, int tag);
    virtual bool Write(TaggedFile* file, int tag);
    virtual bool Read(TaggedFile* file);
    virtual bool Write(TaggedFile* file);
    virtual const String& error() { return m_error; }
    virtual void Error(const String& text) { m_error = text; }
    // Start a level of changes, and take the changes of the level back; 0 if there is
    // none. Only the system's table has levels.
    virtual void Push() {}
    virtual int Pop() { return 0; }
    // The table that holds the variables.
    virtual VariableHash* RealIdentity() { return this; }

    // Parses the scope in front of a name and gives its ScopeKind. `rest` is the name
    // without it. `alias`, of length 0 where there is none, names a database. Both lie
    // in `name`.
    //
    //   l.x local.x    g.x global.x    s.x system.x    d.x database.x
    //   alias.d.x      alias.database.x
    //
    // The first letter alone decides in `g.d.x`, which is the global `d.x`.
    static int Scope(const char* name, int length, const char** rest, int* rest_length,
                     const char** alias, int* alias_length);

    // Releases all variables and keeps the slots.
    void Dump();
    // Releases the variables, but in the slots below `kept` leaves those that are plain
    // scalars and nobody else's, made NULL, for a caller that sets them anew.
    void Recycle(int kept)
    {
        _VH_Entry* behind = m_entries + m_count;
        for (_VH_Entry* entry = m_entries; entry < behind; ++entry, --kept) {
            if (!entry->variable)
                continue;
            if (kept > 0 && DirectValue::IsReusable(entry->variable))
                entry->variable->Forget();
            else
                Renew(entry, kept > 0);
        }
    }
    // The variable of a slot, if this very table holds one; inline for the machine's loop.
    Variable* Made(int slot) const
    {
        return unsigned(slot) < unsigned(m_count) ? m_entries[slot].variable : nullptr;
    }

    // The same, made if it is missing; null for a slot out of range.
    Variable* Get(int slot)
    {
        Variable* variable = Made(slot);
        return variable ? variable : Index(slot, 1);
    }
    int slots() const { return m_count; }
    // What Made looks at, until the next insertion.
    const _VH_Entry* entries() const { return m_entries; }

    // The name of a slot, counted; null for none.
    const char* Name(int slot, int* length);
    // The pool of names, borrowed.
    NamePool* names() { return m_names; }
    // Whether it is of the class SystemVariableHash.
    bool is_system() const { return m_is_system; }

protected:
    // For a table that derives its variables otherwise: the slots of `source`, with
    // their versions and without variables.
    VariableHash(NamePool* names, VariableHash& source);
    void CloneVariables(ZephApplication* application, VariableHash& source);
    // Null out of range; void after the next insertion.
    _VH_Entry* EntryAt(int slot)
    {
        return slot >= 0 && slot < m_count ? &m_entries[slot] : nullptr;
    }
    // A new reference under the name of the slot, which is in range.
    Variable* NewReference(int slot, Variable* target);

    bool m_is_system = false;

private:
    static void Renew(_VH_Entry* entry, bool is_kept);
    void CopySlots(const VariableHash& source, bool keeps_versions);
    void Grow();

    NamePool* m_names;               // borrowed
    HashChains* m_chains;            // one use; those of a copy are shared until it changes them
    _VH_Entry* m_entries = nullptr;  // owned
    int m_capacity = 0;
    int m_count = 0;
    int m_block;
    String m_error;
};

#endif
