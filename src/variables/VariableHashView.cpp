#include "variables/VariableHashView.h"

VariableHashView::VariableHashView(NamePool* names, int bucket_bits, int block,
                                   VariableHash* target)
    : VariableHash(names, bucket_bits, block), m_target(target)
{
}

VariableHashView::VariableHashView(NamePool* names, VariableHash& source)
    : VariableHash(names, source), m_target(this)
{
}

void VariableHashView::ForgetSlots()
{
    int slot = 0;
    while (_VH_Entry* entry = EntryAt(slot++))
        entry->version = -1;
}

void VariableHashView::KeepSlots()
{
    int slot = 0;
    for (; _VH_Entry* entry = EntryAt(slot); ++slot)
        entry->version = slot;
}

int VariableHashView::TargetSlot(int slot, _VH_Entry* entry)
{
    if (entry->version >= 0)
        return entry->version;
    int length;
    const char* name = Name(slot, &length);
    if (name)
        entry->version = m_target->Seek(-1, name, length, nullptr);
    return entry->version;
}

bool VariableHashView::Checked(bool is_done)
{
    if (!is_done)
        Error(m_target->error());
    return is_done;
}

Variable* VariableHashView::Index(int slot, int create)
{
    if (is_own())
        return VariableHash::Index(slot, create);
    _VH_Entry* entry = EntryAt(slot);
    if (!entry)
        return nullptr;
    int target_slot = TargetSlot(slot, entry);
    if (target_slot >= 0)
        return m_target->Index(target_slot, create);
    if (!create)
        return nullptr;
    int length;
    const char* name = Name(slot, &length);
    Variable* variable = Variable::New(name, length);
    entry->version = m_target->Insert(variable);
    return variable;
}

int VariableHashView::Find(Variable** out, const char* name, int length, int create)
{
    if (is_own())
        return VariableHash::Find(out, name, length, create);
    int slot = VariableHash::Seek(-1, name, length, nullptr);
    if (slot < 0)
        return m_target->Find(out, name, length, create);
    *out = Index(slot, create);
    return 1;
}

int VariableHashView::SetVariable_Reference(int slot, Variable* target)
{
    if (is_own())
        return VariableHash::SetVariable_Reference(slot, target);
    _VH_Entry* entry = EntryAt(slot);
    if (!entry)
        return 0;
    if (TargetSlot(slot, entry) < 0) {
        int length;
        const char* name = Name(slot, &length);
        entry->version = m_target->Insert(name ? name : "", length);
    }
    return m_target->SetVariable_Reference(entry->version, target);
}

int VariableHashView::LookupVariable_Fancy(Variable** out, const char* text, int length, int create)
{
    if (is_own())
        return VariableHash::LookupVariable_Fancy(out, text, length, create);
    return Checked(m_target->LookupVariable_Fancy(out, text, length, create));
}

int VariableHashView::SetVariable_Fancy(const char* name, int length, const char* text,
                                        int text_length, int append)
{
    if (is_own())
        return VariableHash::SetVariable_Fancy(name, length, text, text_length, append);
    return Checked(m_target->SetVariable_Fancy(name, length, text, text_length, append));
}

// The rest only forwards.

int VariableHashView::Insert(Variable* variable)
{
    return is_own() ? VariableHash::Insert(variable) : m_target->Insert(variable);
}

int VariableHashView::Insert(const char* name, int length)
{
    return is_own() ? VariableHash::Insert(name, length) : m_target->Insert(name, length);
}

int VariableHashView::Insert(int dictionary_index)
{
    return is_own() ? VariableHash::Insert(dictionary_index) : m_target->Insert(dictionary_index);
}

int VariableHashView::Insert(int dictionary_index, const char* name, int length, Variable* variable)
{
    if (is_own())
        return VariableHash::Insert(dictionary_index, name, length, variable);
    return m_target->Insert(dictionary_index, name, length, variable);
}

int VariableHashView::SetVariable(const char* name, int length, const char* text, int text_length)
{
    if (is_own())
        return VariableHash::SetVariable(name, length, text, text_length);
    return m_target->SetVariable(name, length, text, text_length);
}

int VariableHashView::SetVariable(Variable* variable)
{
    return is_own() ? VariableHash::SetVariable(variable) : m_target->SetVariable(variable);
}

int VariableHashView::Seek(int dictionary_index, const char* name, int length, _VH_Entry** out)
{
    if (is_own())
        return VariableHash::Seek(dictionary_index, name, length, out);
    return m_target->Seek(dictionary_index, name, length, out);
}

int VariableHashView::Version()
{
    return is_own() ? VariableHash::Version() : m_target->Version();
}

int VariableHashView::ClearVariable(const char* name, int length)
{
    return is_own() ? VariableHash::ClearVariable(name, length)
                    : m_target->ClearVariable(name, length);
}

int VariableHashView::Entries()
{
    return is_own() ? VariableHash::Entries() : m_target->Entries();
}

void VariableHashView::AllocatedVars(VariableList* list)
{
    is_own() ? VariableHash::AllocatedVars(list) : m_target->AllocatedVars(list);
}

bool VariableHashView::Read(TaggedFile* file, int tag)
{
    return is_own() ? VariableHash::Read(file, tag) : Checked(m_target->Read(file, tag));
}

bool VariableHashView::Write(TaggedFile* file, int tag)
{
    return is_own() ? VariableHash::Write(file, tag) : Checked(m_target->Write(file, tag));
}

bool VariableHashView::Read(TaggedFile* file)
{
    return is_own() ? VariableHash::Read(file) : Checked(m_target->Read(file));
}

bool VariableHashView::Write(TaggedFile* file)
{
    return is_own() ? VariableHash::Write(file) : Checked(m_target->Write(file));
}

void VariableHashView::Push()
{
    is_own() ? VariableHash::Push() : m_target->Push();
}

int VariableHashView::Pop()
{
    return is_own() ? VariableHash::Pop() : m_target->Pop();
}
