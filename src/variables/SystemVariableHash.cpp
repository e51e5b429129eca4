#include "variables/SystemVariableHash.h"

SystemVariableHash::SystemVariableHash(NamePool* names, int bucket_bits, int block)
    : VariableHash(names, bucket_bits, block)
{
    m_is_system = true;
}

SystemVariableHash::SystemVariableHash(ZephApplication* application, NamePool* names,
                                       VariableHash& source)
    : VariableHash(application, names, source)
{
    m_is_system = true;
}

int SystemVariableHash::SetVariable(Variable* variable)
{
    if (!m_level)
        return VariableHash::SetVariable(variable);
    // An insertion above level 0 replaces what has that name.
    Insert(variable);
    return 1;
}

int SystemVariableHash::SetVariable_Reference(int slot, Variable* target)
{
    _VH_Entry* entry = EntryAt(slot);
    if (!m_level || !entry || entry->variable == target)
        return VariableHash::SetVariable_Reference(slot, target);
    Replace(slot, NewReference(slot, target));
    return 1;
}

int SystemVariableHash::SetVariable_Fancy(const char* name, int length, const char* text,
                                          int text_length, int)
{
    const int kNoAppend = 0;
    return VariableHash::SetVariable_Fancy(name, length, text, text_length, kNoAppend);
}

int SystemVariableHash::Insert(int dictionary_index, const char* name, int length,
                               Variable* variable)
{
    if (!m_level)
        return VariableHash::Insert(dictionary_index, name, length, variable);
    int slot = Seek(dictionary_index, name, length, nullptr);
    if (slot >= 0) {
        Replace(slot, variable);
        return slot;
    }
    slot = VariableHash::Insert(dictionary_index, name, length, variable);
    Record(slot, 0, nullptr);
    return slot;
}

int SystemVariableHash::Find(Variable** out, const char* name, int length, int create)
{
    int slot = Seek(-1, name, length, nullptr);
    if (slot < 0)
        return 0;
    _VH_Entry* entry = EntryAt(slot);
    if (m_level && create && !entry->variable)
        Record(slot, entry->version, nullptr);
    *out = Index(slot, create);
    return 1;
}

void SystemVariableHash::Push()
{
    ++m_depth;
    m_level = new List<_SVH_Entry>(1);
    m_levels.Push(m_level);
}

int SystemVariableHash::Pop()
{
    if (m_depth == 0)
        return 0;
    for (_SVH_Entry* record = m_level->First(); record; record = m_level->Next())
        PutBack(record);
    delete m_levels.Pop();
    --m_depth;
    m_level = m_levels.Top();
    return 1;
}

void SystemVariableHash::Record(int slot, int version, Variable* variable)
{
    m_level->Insert(new _SVH_Entry(slot, version, variable), kListTail);
}

void SystemVariableHash::Replace(int slot, Variable* variable)
{
    _VH_Entry* entry = EntryAt(slot);
    Record(slot, entry->version, entry->variable);
    entry->variable = variable;
    entry->version = m_depth;
}

void SystemVariableHash::PutBack(_SVH_Entry* record)
{
    // A table that was read anew within a level may be shorter.
    _VH_Entry* entry = EntryAt(record->slot);
    if (!entry)
        return;
    Variable* former = entry->variable;
    entry->variable = record->variable;
    entry->version = record->version;
    record->variable = nullptr;
    if (former)
        former->DecRefCount();
}
