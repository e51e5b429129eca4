// The stack itself, and the forms of a value that a pop may ask for. Texts are made, joined
// and compared in ZephVM_Stack_text.cpp.
#include "vm/ZephVM_Stack.h"

#include <string.h>

#include <initializer_list>
#include <utility>

#include "primitives/conversions.h"
#include "primitives/memcmpi.h"
#include "variables/Variable.h"
#include "variables/encoders.h"
#include "vm/EntryText.h"
#include "vm/ZephVM.h"

namespace {

const int kFirstEntries = 16;

// Record numbers that stand for a word.
const int kTopOfFile = -1;
const int kBottomOfFile = -2;

int IntegerOf(const Stack_Entry& entry)
{
    if (entry.kind == Stack_Entry::kInteger)
        return entry.integer;
    if (entry.kind == Stack_Entry::kDouble)
        return Variable::Truncated(entry.real);
    if (entry.kind == Stack_Entry::kVariable)
        return entry.variable->value_integer();
    EntryText text = TextInPlace(entry);
    return stoi(text.data, text.length, nullptr);
}

double DoubleOf(const Stack_Entry& entry)
{
    if (entry.kind == Stack_Entry::kInteger)
        return entry.integer;
    if (entry.kind == Stack_Entry::kDouble)
        return entry.real;
    if (entry.kind == Stack_Entry::kVariable)
        return entry.variable->value_double();
    EntryText text = TextInPlace(entry);
    return stod(text.data, text.length, text.capacity, nullptr);
}

bool TruthOf(const Stack_Entry& entry)
{
    if (entry.kind == Stack_Entry::kInteger)
        return entry.integer != 0;
    if (entry.kind == Stack_Entry::kDouble)
        return entry.real != 0.0;
    if (entry.kind == Stack_Entry::kVariable)
        return entry.variable->IsTrue();
    EntryText text = TextInPlace(entry);
    return Variable::IsTrue(text.data, text.length);
}

bool IsNull(const Stack_Entry& entry)
{
    if (entry.kind == Stack_Entry::kString)
        return entry.length == 0;
    if (entry.kind == Stack_Entry::kLinkBuffer)
        return entry.buffer->length() == 0;
    return entry.kind == Stack_Entry::kVariable && entry.variable->IsNULL();
}

// Hands over what the entry owns.
void StoreText(const Stack_Entry& entry, Variable* target)
{
    if (!entry.owned) {
        EntryText text = TextInPlace(entry);
        target->SetValue(text.data, text.length);
        return;
    }
    int length, capacity, owned;
    Stack_Entry used_up = entry;
    const char* text = ZephVM_Stack::ConvertEntryToString(&used_up, &length, &capacity, &owned);
    target->SetValue_Nocopy(const_cast<char*>(text), length, capacity);
}

void Store(const Stack_Entry& entry, Variable* target)
{
    if (entry.kind == Stack_Entry::kInteger) {
        target->SetValue_Integer(entry.integer);
    } else if (entry.kind == Stack_Entry::kDouble) {
        target->SetValue_Double(entry.real);
    } else if (entry.kind == Stack_Entry::kVariable) {
        target->SetValue(*entry.variable);
        if (entry.owned)
            entry.variable->DecRefCount();
    } else {
        StoreText(entry, target);
    }
}

bool IsWord(const char* text, int length, const char* word)
{
    return length == int(strlen(word)) && memcmpi(text, word, length) == 0;
}

int RecordNumber(const char* text, int length)
{
    if (IsWord(text, length, "top"))
        return kTopOfFile;
    if (IsWord(text, length, "bottom"))
        return kBottomOfFile;
    return stoi(text, length, nullptr);
}

}  // namespace

ZephVM_Stack::ZephVM_Stack(ZephVM* vm, int capacity) : m_vm(vm), m_capacity(capacity) {}

ZephVM_Stack::~ZephVM_Stack()
{
    while (m_top > m_entries)
        Release(*--m_top);
    delete[] m_entries;
}

// The next free entry, or null after the fatal error.
inline Stack_Entry* ZephVM_Stack::Room()
{
    if (m_top == m_limit && !Grow())
        return nullptr;
    return m_top++;
}

// Most stacks stay shallow, so the memory for the whole capacity is not taken at once.
bool ZephVM_Stack::Grow()
{
    if (Entries() >= m_capacity) {
        m_vm->FatalError("Stack overflow");
        return false;
    }
    int used = Entries();
    int allocated = int(m_limit - m_entries);
    int more = allocated == 0 ? kFirstEntries : allocated;
    int rest = m_capacity - allocated;
    int wanted = allocated + (more < rest ? more : rest);
    Stack_Entry* entries = new Stack_Entry[size_t(wanted)];
    if (used > 0)
        memcpy(entries, m_entries, size_t(used) * sizeof *entries);
    delete[] m_entries;
    m_entries = entries;
    m_top = entries + used;
    m_limit = entries + wanted;
    return true;
}

// The top entry, taken off; false after the fatal error. It is a copy, since the code
// behind a variable's value may use this stack.
inline bool ZephVM_Stack::Take(Stack_Entry* entry)
{
    if (m_top == m_entries) {
        m_vm->FatalError("Stack underflow");
        return false;
    }
    *entry = *--m_top;
    return true;
}

void ZephVM_Stack::TakeMissing(Stack_Entry* left, Stack_Entry* right)
{
    for (Stack_Entry* entry : {right, left}) {
        if (Take(entry))
            continue;
        entry->kind = Stack_Entry::kString;
        entry->owned = 0;
        entry->string = "";
        entry->length = entry->capacity = 0;
    }
}

// A text or a buffer has to be looked for; a borrowed variable gets a count of its own where
// it goes.
void ZephVM_Stack::DetachTop()
{
    Stack_Entry* top = Peek();
    if (!top || top->owned)
        return;
    for (Stack_Entry* entry = m_entries; entry < top; ++entry) {
        if (!entry->owned || entry->kind != top->kind)
            continue;
        bool is_text = top->kind == Stack_Entry::kString && top->string == entry->string;
        bool is_buffer = top->kind == Stack_Entry::kLinkBuffer && top->buffer == entry->buffer;
        if (is_text || is_buffer) {
            top->owned = 1;
            entry->owned = 0;
            return;
        }
    }
}

void ZephVM_Stack::Release(const Stack_Entry& entry)
{
    if (!entry.owned)
        return;
    if (entry.kind == Stack_Entry::kString)
        delete[] entry.string;
    else if (entry.kind == Stack_Entry::kVariable)
        entry.variable->DecRefCount();
    else if (entry.kind == Stack_Entry::kLinkBuffer)
        delete entry.buffer;
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

void ZephVM_Stack::PushD(double value)
{
    Stack_Entry* entry = Room();
    if (!entry)
        return;
    entry->kind = Stack_Entry::kDouble;
    entry->owned = 0;
    entry->real = value;
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

void ZephVM_Stack::PushLinkBuffer(LinkBuffer* buffer, int owned)
{
    Stack_Entry* entry = Room();
    if (!entry) {
        if (owned)
            delete buffer;
        return;
    }
    entry->kind = Stack_Entry::kLinkBuffer;
    entry->owned = owned != 0;
    entry->buffer = buffer;
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
        --m_top;
        m_vm->FatalError("Invalid variable reference");
        return;
    }
    if (addref)
        variable->IncRefCount();
    entry->kind = Stack_Entry::kVariable;
    entry->owned = owned != 0;
    entry->variable = variable;
}

void ZephVM_Stack::Push(ZephVM_Stack* source, int count)
{
    if (static_cast<long long>(Entries()) - 1 + count == m_capacity) {
        m_vm->FatalError("Stack overflow");
        return;
    }
    if (source->Entries() < count) {
        m_vm->FatalError("Stack underflow");
        return;
    }
    for (; count > 0; --count) {
        Stack_Entry entry;
        source->Take(&entry);
        Stack_Entry* room = Room();
        if (!room) {
            ++source->m_top;
            return;
        }
        if (entry.kind == Stack_Entry::kVariable && !entry.owned) {
            entry.variable->IncRefCount();
            entry.owned = 1;
        }
        *room = entry;
    }
}

int ZephVM_Stack::PopI()
{
    Stack_Entry entry;
    if (!Take(&entry))
        return 0;
    int value = IntegerOf(entry);
    Release(entry);
    return value;
}

double ZephVM_Stack::PopD()
{
    Stack_Entry entry;
    if (!Take(&entry))
        return 0.0;
    double value = DoubleOf(entry);
    Release(entry);
    return value;
}

const char* ZephVM_Stack::PopS(int* length, int* capacity, int* owned)
{
    *length = *owned = 0;
    if (capacity)
        *capacity = 0;
    Stack_Entry entry;
    return Take(&entry) ? ConvertEntryToString(&entry, length, capacity, owned) : nullptr;
}

char* ZephVM_Stack::PopS_NS(int* length, int* capacity, int* owned)
{
    const char* text = PopS(length, capacity, owned);
    if (!text)
        return nullptr;
    char* stripped = StripNULLs(text, *length, length, capacity);
    if (*owned)
        delete[] text;
    *owned = 1;
    return stripped;
}

int ZephVM_Stack::PopV(Variable** out, int* owned)
{
    *out = nullptr;
    *owned = 0;
    Stack_Entry entry;
    if (!Take(&entry))
        return 0;
    if (entry.kind == Stack_Entry::kVariable) {
        *out = entry.variable;
        *owned = entry.owned;
        return 1;
    }
    Release(entry);
    m_vm->FatalError("Expected variable, found constant");
    return 0;
}

int ZephVM_Stack::PopV(Variable* target)
{
    if (m_top > m_entries && !target) {
        m_vm->FatalError("Invalid variable reference");
        return 0;
    }
    Stack_Entry entry;
    if (!Take(&entry))
        return 0;
    Store(entry, target);
    return 1;
}

bool ZephVM_Stack::PopBool()
{
    Stack_Entry entry;
    if (!Take(&entry))
        return false;
    bool truth = TruthOf(entry);
    Release(entry);
    return truth;
}

bool ZephVM_Stack::PopNull()
{
    Stack_Entry entry;
    if (!Take(&entry))
        return false;
    bool is_null = IsNull(entry);
    Release(entry);
    return is_null;
}

int ZephVM_Stack::PopDBPosition()
{
    Stack_Entry* top = Peek();
    if (!top || top->kind == Stack_Entry::kInteger || top->kind == Stack_Entry::kDouble)
        return PopI();
    int length, owned;
    const char* text = PopS(&length, nullptr, &owned);
    int position = RecordNumber(text, length);
    if (owned)
        delete[] text;
    return position;
}

void ZephVM_Stack::Pop()
{
    Stack_Entry entry;
    if (Take(&entry))
        Release(entry);
}

void ZephVM_Stack::Swap(int a, int b)
{
    if (a < 0 || b < 0 || a >= Entries() || b >= Entries()) {
        m_vm->FatalError("Invalid stack reference");
        return;
    }
    std::swap(m_top[-1 - a], m_top[-1 - b]);
}

void ZephVM_Stack::Dupe()
{
    if (m_top == m_entries) {
        m_vm->FatalError("Stack underflow");
        return;
    }
    Stack_Entry* entry = Room();
    if (!entry)
        return;
    *entry = entry[-1];
    entry->owned = 0;
}
