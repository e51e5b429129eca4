#ifndef ZEPH_VARIABLES_VARIABLEHASHVIEW_H
#define ZEPH_VARIABLES_VARIABLEHASHVIEW_H

#include "variables/VariableHash.h"

// A table with slots of its own, whose variables live in another table, the target.
// What goes by slot through Index and SetVariable_Reference goes by the slots of the
// view, each of which finds its slot in the target by name, once; so does Find. All
// other operations are those of the target, also the slot numbers which they take and
// give.
//
// A target that is the view itself makes it a table like any other. Another one is
// borrowed here and outlives the view. A forwarded operation that fails leaves the
// target's text in error().
class VariableHashView : public VariableHash {
public:
    int Insert(Variable* variable) override;
    int Insert(const char* name, int length) override;
    int Insert(int dictionary_index) override;
    int SetVariable(const char* name, int length, const char* text, int text_length) override;
    int SetVariable(Variable* variable) override;
    int SetVariable_Reference(int slot, Variable* target) override;
    int SetVariable_Fancy(const char* name, int length, const char* text, int text_length,
                          int append) override;
    int Seek(int dictionary_index, const char* name, int length, _VH_Entry** out) override;
    int Insert(int dictionary_index, const char* name, int length, Variable* variable) override;
    int Version() override;
    int ClearVariable(const char* name, int length) override;
    int Find(Variable** out, const char* name, int length, int create) override;
    int LookupVariable_Fancy(Variable** out, const char* text, int length, int create) override;
    Variable* Index(int slot, int create) override;
    int Entries() override;
    void AllocatedVars(VariableList* list) override;
    bool Read(TaggedFile* file, int tag) override;
    bool Write(TaggedFile* file, int tag) override;
    bool Read(TaggedFile* file) override;
    bool Write(TaggedFile* file) override;
    void Push() override;
    int Pop() override;
    VariableHash* RealIdentity() override { return m_target; }

protected:
    // An empty table in front of a target.
    VariableHashView(NamePool* names, int bucket_bits, int block, VariableHash* target);
    // The slots of another table, in front of itself until SetTarget.
    VariableHashView(NamePool* names, VariableHash& source);

    void SetTarget(VariableHash* target) { m_target = target; }
    // Every slot is to look for its name.
    void ForgetSlots();
    // Every slot has the same number in the target.
    void KeepSlots();

private:
    bool is_own() const { return m_target == this; }
    // The slot in the target, -1 if there is none.
    int TargetSlot(int slot, _VH_Entry* entry);
    // Takes the error of a forwarded operation over.
    bool Checked(bool is_done);

    VariableHash* m_target;
};

#endif
