// The texts of entries: made, compared and joined.
#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "primitives/conversions.h"
#include "variables/Variable.h"
#include "vm/EntryText.h"
#include "vm/ValueOrder.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Stack.h"

namespace {

const int kOwned = 1;
const int kBorrowed = 0;
// The precision of dtos that reads back as the same number with the fewest digits.
const int kShortest = -1;
// Blocks of a text that is built here.
const int kFirstBlock = 512;
const int kNextBlock = 4096;

bool IsOwnedBuffer(const Stack_Entry& entry)
{
    return entry.kind == Stack_Entry::kLinkBuffer && entry.owned;
}

// A variable that the entry alone keeps alive is about to end, so its text is copied; any
// other lends its own.
const char* TextOfVariable(const Stack_Entry& entry, int* length, int* capacity, int* owned)
{
    Variable* variable = entry.variable;
    const String& value = variable->value();
    const char* text = value.data();
    *length = *capacity = value.length();
    *owned = kBorrowed;
    if (!entry.owned)
        return text;
    if (variable->refcount() < 2) {
        *capacity = *length + 1;
        *owned = kOwned;
        char* copy = new char[size_t(*length) + 1];
        memcpy(copy, text, size_t(*length));
        copy[*length] = 0;
        text = copy;
    }
    variable->DecRefCount();
    return text;
}

const char* TextOfBuffer(const Stack_Entry& entry, int* length, int* capacity)
{
    char* text;
    if (entry.owned) {
        text = entry.buffer->release(length, capacity, 1);
        delete entry.buffer;
    } else {
        *length = entry.buffer->length();
        *capacity = *length + 1;
        text = new char[size_t(*length) + 1];
        entry.buffer->append_to(text);
    }
    text[*length] = 0;
    return text;
}

// Takes over an owned text or buffer, but not the count of a variable.
void Append(LinkBuffer* buffer, const Stack_Entry& entry)
{
    switch (entry.kind) {
        case Stack_Entry::kInteger:
            return buffer->cat(entry.integer);
        case Stack_Entry::kDouble:
            return buffer->cat(entry.real);
        case Stack_Entry::kString:
            if (entry.owned)
                return buffer->cat_nocopy(entry.string, entry.length, entry.capacity);
            return buffer->cat(entry.string, entry.length);
        case Stack_Entry::kVariable:
            return buffer->cat(entry.variable);
        case Stack_Entry::kLinkBuffer:
            if (entry.owned)
                return buffer->cat_destroy(entry.buffer);
            return buffer->cat(entry.buffer);
    }
}

// The same at the other end. A link buffer is a borrowed one here: a left operand that owns
// its buffer is built upon.
void Prepend(LinkBuffer* buffer, const Stack_Entry& entry)
{
    switch (entry.kind) {
        case Stack_Entry::kInteger:
            return buffer->prepend(entry.integer);
        case Stack_Entry::kDouble:
            return buffer->prepend(entry.real);
        case Stack_Entry::kString:
            if (entry.owned)
                return buffer->prepend_nocopy(entry.string, entry.length, entry.capacity);
            return buffer->prepend(entry.string, entry.length);
        case Stack_Entry::kVariable:
            return buffer->prepend(entry.variable);
        case Stack_Entry::kLinkBuffer:
            return buffer->prepend(entry.buffer);
    }
}

// What a chain of blocks is built upon: the buffer of the entry if it owns one.
LinkBuffer* BufferOf(const Stack_Entry& entry)
{
    if (IsOwnedBuffer(entry))
        return entry.buffer;
    auto buffer = new LinkBuffer(kFirstBlock, kNextBlock);
    Append(buffer, entry);
    return buffer;
}

void ReleaseVariable(const Stack_Entry& entry)
{
    if (entry.kind == Stack_Entry::kVariable && entry.owned)
        entry.variable->DecRefCount();
}

// One of two texts that are used together, borrowed for as long as its entry is held. The
// text of a variable is looked at late: both sides may be one aggregate, which makes its
// text anew for each of them.
class Operand {
public:
    explicit Operand(const Stack_Entry& entry);
    Operand(const Operand&) = delete;
    Operand& operator=(const Operand&) = delete;
    ~Operand() { delete[] m_made; }

    int length() const { return m_value ? m_value->length() : m_length; }
    // In one piece.
    const char* data() const;
    // Copies the text, of a link buffer block by block, and returns what follows it.
    char* CopyTo(char* target) const;

private:
    char* m_made = nullptr;           // owned: of a number
    const String* m_value = nullptr;  // of a variable
    LinkBuffer* m_buffer = nullptr;
    const char* m_text = nullptr;
    int m_length = 0;
};

Operand::Operand(const Stack_Entry& entry)
{
    switch (entry.kind) {
        case Stack_Entry::kInteger:
            m_text = m_made = itos(entry.integer, &m_length, nullptr);
            break;
        case Stack_Entry::kDouble:
            m_text = m_made = dtos(entry.real, &m_length, nullptr, kShortest);
            break;
        case Stack_Entry::kString:
            m_text = entry.string;
            m_length = entry.length;
            break;
        case Stack_Entry::kVariable:
            m_value = &entry.variable->value();
            break;
        case Stack_Entry::kLinkBuffer:
            m_buffer = entry.buffer;
            m_length = entry.buffer->length();
            break;
    }
}

const char* Operand::data() const
{
    if (m_value)
        return m_value->data();
    return m_buffer ? m_buffer->data(nullptr, nullptr) : m_text;
}

char* Operand::CopyTo(char* target) const
{
    if (m_buffer)
        m_buffer->append_to(target);
    else if (length() > 0)
        memcpy(target, data(), size_t(length()));
    return target + length();
}

// A text of more bytes than an int can count ends the process, as exhausted memory does.
char* JoinedText(const Operand& left, const Operand& right, int* length)
{
    long long sum = static_cast<long long>(left.length()) + right.length();
    if (sum >= INT_MAX)
        abort();
    *length = int(sum);
    char* text = new char[size_t(sum) + 1];
    *right.CopyTo(left.CopyTo(text)) = 0;
    return text;
}

// The number that a comparison sees.
double ComparedNumber(const Stack_Entry& entry, int* nonnumeric)
{
    *nonnumeric = 0;
    if (entry.kind == Stack_Entry::kInteger)
        return entry.integer;
    if (entry.kind == Stack_Entry::kDouble)
        return entry.real;
    if (entry.kind == Stack_Entry::kVariable)
        return entry.variable->value_compare(nonnumeric);
    EntryText text = TextInPlace(entry);
    return stod(text.data, text.length, text.capacity, nonnumeric);
}

int Order(const Stack_Entry& left, const Stack_Entry& right)
{
    int nonnumeric;
    double left_number = ComparedNumber(left, &nonnumeric);
    if (!nonnumeric) {
        double right_number = ComparedNumber(right, &nonnumeric);
        if (!nonnumeric)
            return NumberOrder(left_number, right_number);
    }
    Operand left_text(left), right_text(right);
    return TextOrder(left_text.data(), left_text.length(), right_text.data(), right_text.length());
}

}  // namespace

const char* ZephVM_Stack::ConvertEntryToString(Stack_Entry* entry, int* length, int* capacity,
                                               int* owned)
{
    int unused;
    if (!capacity)
        capacity = &unused;
    *length = *capacity = 0;
    *owned = kOwned;
    switch (entry->kind) {
        case Stack_Entry::kInteger:
            return itos(entry->integer, length, capacity);
        case Stack_Entry::kDouble:
            return dtos(entry->real, length, capacity, kShortest);
        case Stack_Entry::kString:
            *length = entry->length;
            *capacity = entry->capacity;
            *owned = entry->owned;
            return entry->string;
        case Stack_Entry::kVariable:
            return TextOfVariable(*entry, length, capacity, owned);
        case Stack_Entry::kLinkBuffer:
            return TextOfBuffer(*entry, length, capacity);
    }
    *owned = kBorrowed;
    return nullptr;
}

LinkBuffer* ZephVM_Stack::ConvertEntryToDeletableLinkBuffer(Stack_Entry* entry)
{
    LinkBuffer* buffer = BufferOf(*entry);
    ReleaseVariable(*entry);
    return buffer;
}

int ZephVM_Stack::Compare()
{
    if (Entries() < 2) {
        m_vm->FatalError("Stack underflow");
        return 0;
    }
    Stack_Entry left = m_top[-2], right = m_top[-1];
    m_top -= 2;
    int order = Order(left, right);
    Release(left);
    Release(right);
    return order;
}

// Once an operand is a temporary, the text is built upon it as a chain of blocks; while
// both are borrowed, one flat text is made. So the first join of constants costs one small
// array, and each further one adds a block instead of copying all that went before.
//
// Variables are given back last: the other operand may be a copy that borrows one.
void ZephVM_Stack::Concatenate()
{
    if (Entries() < 2) {
        m_vm->FatalError("Stack underflow");
        return;
    }
    Stack_Entry left = m_top[-2], right = m_top[-1];
    m_top -= 2;
    if (!left.owned && !right.owned) {
        Operand left_text(left), right_text(right);
        int length;
        char* text = JoinedText(left_text, right_text, &length);
        PushS(text, length, length + 1, kOwned);
        return;
    }
    LinkBuffer* buffer;
    if (left.owned && (IsOwnedBuffer(left) || !IsOwnedBuffer(right))) {
        buffer = BufferOf(left);
        Append(buffer, right);
    } else {
        buffer = BufferOf(right);
        Prepend(buffer, left);
    }
    ReleaseVariable(left);
    ReleaseVariable(right);
    PushLinkBuffer(buffer, kOwned);
}
