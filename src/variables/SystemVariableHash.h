#ifndef ZEPH_VARIABLES_SYSTEMVARIABLEHASH_H
#define ZEPH_VARIABLES_SYSTEMVARIABLEHASH_H

#include "variables/List.h"
#include "variables/Stack.h"
#include "variables/VariableHash.h"

// What a slot held before it was changed. The variable, which may be null, is held by
// one count until it is put back.
struct _SVH_Entry {
    _SVH_Entry(int number, int former_version, Variable* former)
        : slot(number), version(former_version), variable(former)
    {
    }
    _SVH_Entry(const _SVH_Entry&) = delete;
    _SVH_Entry& operator=(const _SVH_Entry&) = delete;
    ~_SVH_Entry()
    {
        if (variable)
            variable->DecRefCount();
    }

    int slot;
    int version;
    Variable* variable;
};

// The variables that the system sets and scripts read, with levels of changes: what is
// put into a slot above level 0 leaves a record of the variable that was there, and the
// end of the level puts it back.
//
// Recorded are insertions, replaced variables, references, and variables that Find
// makes. Setting the value of a variable that is there is no change of its slot and
// stays, as do variables made by Index.
class SystemVariableHash : public VariableHash {
public:
    SystemVariableHash(NamePool* names, int bucket_bits, int block);
    // At level 0 and without records, at whatever level the source is.
    SystemVariableHash(ZephApplication* application, NamePool* names, VariableHash& source);

    using VariableHash::Insert;
    using VariableHash::SetVariable;

    int SetVariable(Variable* variable) override;
    int SetVariable_Reference(int slot, Variable* target) override;
    // Does not append: a field of a form cannot add to what the system has set.
    int SetVariable_Fancy(const char* name, int length, const char* text, int text_length,
                          int append) override;
    // Above level 0 a name that has a slot keeps it.
    int Insert(int dictionary_index, const char* name, int length, Variable* variable) override;
    int Version() override { return m_depth; }
    int Find(Variable** out, const char* name, int length, int create) override;
    void Push() override;
    // Puts back from the oldest record to the newest: a slot that was changed twice
    // ends with what the first change put there. Deliberate.
    int Pop() override;

private:
    void Record(int slot, int version, Variable* variable);
    void Replace(int slot, Variable* variable);
    void PutBack(_SVH_Entry* record);

    int m_depth = 0;
    Stack<List<_SVH_Entry>> m_levels{1};  // owned
    List<_SVH_Entry>* m_level = nullptr;  // the top one; null at level 0
};

#endif
