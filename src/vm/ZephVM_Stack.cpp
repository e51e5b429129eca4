#include "vm/ZephVM_Stack.h"

#include <string.h>

#include <utility>

#include "primitives/conversions.h"
#include "variables/Variable.h"
#include "vm/ZephVM.h"

ZephVM_Stack::ZephVM_Stack(ZephVM* vm, int capacity)
    : m_vm(vm), m_entries(new Stack_Entry[size_t(capacity)]), m_capacity(capacity)
{
}

ZephVM_Stack::~ZephVM_Stack()
{
    while (m_used > 0)
        Release(&m_entries[--m_used]);
    delete[] m_entries;
}

// The next free entry, or null after the fatal error.
Stack_Entry* ZephVM_Stack::Room()
{
    if (m_used < m_capacity)
        return &m_entries[m_used++];
    m_vm->FatalError("Stack overflow");
    return nullptr;
}

// The top entry, taken off, or null after the fatal error. It stays readable until
// the next push.
Stack_Entry* ZephVM_Stack::Take()
{
    if (m_used > 0)
        return &m_entries[--m_used];
    m_vm->FatalError("Stack underflow");
    return nullptr;
}

void ZephVM_Stack::Release(Stack_Entry* entry)
{
    if (!entry->owned)
        return;
    if (entry->kind == Stack_Entry::kString)
        delete[] entry->string;
    else if (entry->kind == Stack_Entry::kVariable)
        entry->variable->DecRefCount();
}

void ZephVM_Stack::PushI(int value)
{
    Stack_Entry* entry = Room();
    if (!entry)
        return;
    entry->kind = Stack_Entry::kInteger;
    entry->owned = 0;
    entry->integer = value;
}

void ZephVM_Stack::PushS(const char* text, int length, int capacity, int owned)
{
    Stack_Entry* entry = Room();
    if (!entry) {
        if (owned)
            delete[] text;
        return;
    }
    entry->kind = Stack_Entry::kString;
    entry->owned = owned != 0;
    entry->string = text;
    entry->length = length;
    entry->capacity = capacity;
}

void ZephVM_Stack::PushV(Variable* variable, int addref, int owned)
{
    Stack_Entry* entry = Room();
    if (!entry) {
        if (variable && owned && !addref)
            variable->DecRefCount();
        return;
    }
    if (!variable) {
        --m_used;
        m_vm->FatalError("Invalid variable reference");
        return;
    }
    if (addref)
        variable->IncRefCount();
    entry->kind = Stack_Entry::kVariable;
    entry->owned = owned != 0;
    entry->variable = variable;
}

int ZephVM_Stack::PopI()
{
    Stack_Entry* entry = Take();
    if (!entry)
        return 0;
    int value = 0;
    switch (entry->kind) {
        case Stack_Entry::kInteger:
            return entry->integer;
        case Stack_Entry::kString:
            value = stoi(entry->string, entry->length, nullptr);
            break;
        case Stack_Entry::kVariable:
            value = entry->variable->value_integer();
            break;
    }
    Release(entry);
    return value;
}

const char* ZephVM_Stack::PopS(int* length, int* capacity, int* owned)
{
    int unused;
    if (!capacity)
        capacity = &unused;
    *length = *capacity = *owned = 0;
    Stack_Entry* entry = Take();
    if (!entry)
        return nullptr;
    switch (entry->kind) {
        case Stack_Entry::kInteger:
            *owned = 1;
            return itos(entry->integer, length, capacity);
        case Stack_Entry::kString:
            *length = entry->length;
            *capacity = entry->capacity;
            *owned = entry->owned;
            return entry->string;
        case Stack_Entry::kVariable:
            return VariableText(entry, length, capacity, owned);
    }
    return nullptr;
}

// A variable that the entry alone keeps alive is about to end, so its text is
// copied; any other lends its own.
const char* ZephVM_Stack::VariableText(Stack_Entry* entry, int* length, int* capacity, int* owned)
{
    Variable* variable = entry->variable;
    const String& value = variable->value();
    *length = value.length();
    if (!entry->owned || variable->refcount() >= 2) {
        *capacity = *length;
        if (entry->owned)
            variable->DecRefCount();
        return value.data();
    }
    *capacity = *length + 1;
    *owned = 1;
    char* copy = new char[size_t(*length) + 1];
    memcpy(copy, value.data(), size_t(*length));
    copy[*length] = 0;
    variable->DecRefCount();
    return copy;
}

int ZephVM_Stack::PopV(Variable** out, int* owned)
{
    *out = nullptr;
    *owned = 0;
    Stack_Entry* entry = Take();
    if (!entry)
        return 0;
    if (entry->kind == Stack_Entry::kVariable) {
        *out = entry->variable;
        *owned = entry->owned;
        return 1;
    }
    Release(entry);
    m_vm->FatalError("Expected variable, found constant");
    return 0;
}

int ZephVM_Stack::PopV(Variable* target)
{
    if (m_used > 0 && !target) {
        m_vm->FatalError("Invalid variable reference");
        return 0;
    }
    Stack_Entry* entry = Take();
    if (!entry)
        return 0;
    switch (entry->kind) {
        case Stack_Entry::kInteger:
            target->SetValue_Integer(entry->integer);
            return 1;
        case Stack_Entry::kString:
            if (!entry->owned)
                target->SetValue(entry->string, entry->length);
            else
                target->SetValue_Nocopy(const_cast<char*>(entry->string), entry->length,
                                        entry->capacity);
            return 1;
        case Stack_Entry::kVariable:
            target->SetValue(*entry->variable);
            break;
    }
    Release(entry);
    return 1;
}

void ZephVM_Stack::Pop()
{
    if (Stack_Entry* entry = Take())
        Release(entry);
}

void ZephVM_Stack::Swap(int a, int b)
{
    if (a < 0 || b < 0 || a >= m_used || b >= m_used) {
        m_vm->FatalError("Invalid stack reference");
        return;
    }
    std::swap(m_entries[m_used - 1 - a], m_entries[m_used - 1 - b]);
}

void ZephVM_Stack::Dupe()
{
    if (m_used == 0) {
        m_vm->FatalError("Stack underflow");
        return;
    }
    Stack_Entry* entry = Room();
    if (!entry)
        return;
    *entry = entry[-1];
    entry->owned = 0;
}
