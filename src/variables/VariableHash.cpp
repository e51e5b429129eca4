#include "variables/VariableHash.h"

#include <stdlib.h>
#include <string.h>

#include "variables/DirectValue.h"
#include "variables/NameOrder.h"
#include "variables/ReferenceVariable.h"
#include "variables/allocation.h"

namespace {

// Arrays grow by this many slots, whatever their first capacity was.
const int kGrowth = 512;

}  // namespace

VariableHash::VariableHash(NamePool* names, int bucket_bits, int block)
    : m_names(names), m_chains(new HashChains(bucket_bits)), m_block(block)
{
}

VariableHash::VariableHash(VariableHash& source)
    : m_names(source.m_names), m_chains(source.m_chains->Share()), m_block(source.m_block)
{
    CopySlots(source, false);
}

VariableHash::VariableHash(NamePool* names, VariableHash& source)
    : m_names(names), m_chains(source.m_chains->Share()), m_block(source.m_block)
{
    CopySlots(source, true);
}

VariableHash::VariableHash(ZephApplication* application, NamePool* names, VariableHash& source)
    : VariableHash(names, source)
{
    CloneVariables(application, source);
}

void VariableHash::CopySlots(const VariableHash& source, bool keeps_versions)
{
    m_capacity = m_count = source.m_count;
    if (m_count == 0)
        return;
    m_entries = static_cast<_VH_Entry*>(ZeroedMemory(size_t(m_count), sizeof(_VH_Entry)));
    for (int slot = 0; slot < m_count; ++slot) {
        const _VH_Entry& entry = source.m_entries[slot];
        m_entries[slot] = {entry.dictionary_index, keeps_versions ? entry.version : -1, nullptr};
    }
}

void VariableHash::CloneVariables(ZephApplication* application, VariableHash& source)
{
    for (int slot = 0; slot < m_count; ++slot)
        if (Variable* variable = source.m_entries[slot].variable)
            m_entries[slot].variable = variable->Clone(application);
}

VariableHash::~VariableHash()
{
    Dump();
    free(m_entries);
    m_chains->Release();
}

void VariableHash::Dump()
{
    for (int slot = 0; slot < m_count; ++slot) {
        if (m_entries[slot].variable)
            m_entries[slot].variable->DecRefCount();
        m_entries[slot].variable = nullptr;
    }
}

void VariableHash::Recycle(int kept)
{
    for (int slot = 0; slot < m_count; ++slot) {
        Variable* variable = m_entries[slot].variable;
        if (!variable)
            continue;
        if (slot < kept && DirectValue::IsReusable(variable)) {
            variable->Forget();
            continue;
        }
        m_entries[slot].variable = nullptr;
        DirectValue::DropCount(variable);
    }
}

const char* VariableHash::Name(int slot, int* length)
{
    return m_names->Entry(m_entries[slot].dictionary_index, length);
}

int VariableHash::Insert(Variable* variable)
{
    int length;
    const char* name = variable->NameBytes(&length);
    return Insert(-1, name, length, variable);
}

int VariableHash::Insert(const char* name, int length)
{
    return Insert(-1, name, length, nullptr);
}

int VariableHash::Insert(int dictionary_index)
{
    return Insert(dictionary_index, nullptr, 0, nullptr);
}

int VariableHash::Insert(int dictionary_index, const char* name, int length, Variable* variable)
{
    if (name && length < 0)
        length = int(strlen(name));
    if (name && dictionary_index == -1)
        dictionary_index = m_names->Entry_Add(name, length);
    if (!name)
        name = m_names->Entry(dictionary_index, &length);
    m_chains = m_chains->Unshared();
    if (m_count == m_capacity)
        Grow();
    int slot = m_count;
    m_entries[slot] = {dictionary_index, Version(), variable};
    if (name)
        LinkName(m_chains, slot, name, length,
                 [this](int other, int* size) { return Name(other, size); });
    ++m_count;
    return slot;
}

void VariableHash::Grow()
{
    int capacity = m_capacity == 0 && m_block > 0 ? m_block : m_capacity + kGrowth;
    m_entries =
        static_cast<_VH_Entry*>(GrownMemory(m_entries, size_t(capacity), sizeof(_VH_Entry)));
    m_chains->Grow(capacity);
    m_capacity = capacity;
}

int VariableHash::Seek(int dictionary_index, const char* name, int length, _VH_Entry** out)
{
    if (!name)
        name = m_names->Entry(dictionary_index, &length);
    if (!name)
        return -1;
    if (length < 0)
        length = int(strlen(name));
    int slot = FindName(*m_chains, m_count, name, length,
                        [this](int other, int* size) { return Name(other, size); });
    if (slot < 0)
        return -1;
    if (out)
        *out = &m_entries[slot];
    return slot;
}

int VariableHash::SetVariable(const char* name, int length, const char* text, int text_length)
{
    Variable* variable = nullptr;
    if (!Find(&variable, name, length, 1)) {
        variable = Variable::New(name, length);
        Insert(variable);
    }
    return variable->SetValue(text, text_length);
}

int VariableHash::SetVariable(Variable* variable)
{
    int length;
    const char* name = variable->NameBytes(&length);
    _VH_Entry* entry;
    if (Seek(-1, name, length, &entry) < 0) {
        Insert(variable);
        return 1;
    }
    Variable* former = entry->variable;
    entry->variable = variable;
    entry->version = Version();
    if (former)
        former->DecRefCount();
    return 1;
}

Variable* VariableHash::NewReference(int slot, Variable* target)
{
    int length = 0;
    const char* name = Name(slot, &length);
    return new ReferenceVariable(name, length, target);
}

int VariableHash::SetVariable_Reference(int slot, Variable* target)
{
    _VH_Entry* entry = EntryAt(slot);
    if (!entry)
        return 0;
    Variable* former = entry->variable;
    if (former == target)
        return 1;
    entry->variable = NewReference(slot, target);
    entry->version = Version();
    if (former)
        former->DecRefCount();
    return 1;
}

int VariableHash::ClearVariable(const char* name, int length)
{
    Variable* variable = nullptr;
    if (!Find(&variable, name, length, 0) || !variable)
        return 0;
    variable->SetNULL();
    return 1;
}

int VariableHash::Find(Variable** out, const char* name, int length, int create)
{
    int slot = Seek(-1, name, length, nullptr);
    if (slot < 0)
        return 0;
    *out = Index(slot, create);
    return 1;
}

Variable* VariableHash::Index(int slot, int create)
{
    if (slot < 0 || slot >= m_count)
        return nullptr;
    _VH_Entry& entry = m_entries[slot];
    if (!entry.variable && create) {
        int length = 0;
        const char* name = Name(slot, &length);
        entry.variable = name && m_names->IsPermanent() ? Variable::New(PermanentText{name, length})
                                                        : Variable::New(name, length);
        entry.version = Version();
    }
    return entry.variable;
}

void VariableHash::AllocatedVars(VariableList* list)
{
    for (int slot = 0; slot < m_count; ++slot)
        if (m_entries[slot].variable)
            list->Insert(m_entries[slot].variable, kListTail);
}
