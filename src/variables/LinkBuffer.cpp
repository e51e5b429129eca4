#include "variables/LinkBuffer.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "primitives/conversions.h"
#include "variables/Variable.h"

namespace {

// The precision of dtos that reads back as the same number with the fewest digits.
const int kShortest = -1;

// Ends the process for what an int cannot count, as exhausted memory does.
int Counted(long long bytes)
{
    if (bytes > INT_MAX)
        abort();
    return int(bytes);
}

}  // namespace

LinkBuffer_Block::~LinkBuffer_Block()
{
    delete[] data;
    while (next) {
        LinkBuffer_Block* block = next;
        next = block->next;
        block->next = nullptr;
        delete block;
    }
}

LinkBuffer::LinkBuffer(int first_unit, int next_unit)
    : m_first_unit(first_unit < 1 ? 1 : first_unit), m_next_unit(next_unit < 1 ? 1 : next_unit)
{
}

LinkBuffer::~LinkBuffer()
{
    delete m_head;
}

LinkBuffer_Block* LinkBuffer::NewBlock(int unit, const char* text, int length)
{
    int capacity = Counted((long long)unit * (length / unit + 1));
    char* copy = new char[size_t(capacity)];
    if (length > 0)
        memcpy(copy, text, size_t(length));
    return new LinkBuffer_Block(copy, length, capacity);
}

void LinkBuffer::AddLength(int length)
{
    m_length = Counted((long long)m_length + length);
}

void LinkBuffer::LinkBehind(LinkBuffer_Block* block)
{
    block->previous = m_tail;
    (m_tail ? m_tail->next : m_head) = block;
    m_tail = block;
    AddLength(block->used);
}

void LinkBuffer::LinkInFront(LinkBuffer_Block* block)
{
    block->next = m_head;
    (m_head ? m_head->previous : m_tail) = block;
    m_head = block;
    AddLength(block->used);
}

void LinkBuffer::Forget()
{
    m_head = nullptr;
    m_tail = nullptr;
    m_length = 0;
}

void LinkBuffer::cat(const char* text, int length)
{
    if (length < 0)
        length = 0;
    if (!m_head) {
        LinkBehind(NewBlock(m_first_unit, text, length));
        return;
    }
    int room = m_tail->capacity - m_tail->used;
    int fits = length < room ? length : room;
    if (fits > 0) {
        memcpy(m_tail->data + m_tail->used, text, size_t(fits));
        m_tail->used += fits;
        AddLength(fits);
    }
    if (length > fits)
        LinkBehind(NewBlock(m_next_unit, text + fits, length - fits));
}

void LinkBuffer::prepend(const char* text, int length)
{
    if (!m_head)
        cat(text, length);
    else if (length > 0)
        LinkInFront(NewBlock(m_next_unit, text, length));
}

void LinkBuffer::cat_nocopy(const char* text, int length, int capacity)
{
    int used = length < 0 ? 0 : length;
    LinkBehind(
        new LinkBuffer_Block(const_cast<char*>(text), used, capacity < used ? used : capacity));
}

void LinkBuffer::prepend_nocopy(const char* text, int length, int capacity)
{
    int used = length < 0 ? 0 : length;
    LinkInFront(
        new LinkBuffer_Block(const_cast<char*>(text), used, capacity < used ? used : capacity));
}

void LinkBuffer::cat(int value)
{
    int length, capacity;
    char* text = itos(value, &length, &capacity);
    cat_nocopy(text, length, capacity);
}

void LinkBuffer::prepend(int value)
{
    int length, capacity;
    char* text = itos(value, &length, &capacity);
    prepend_nocopy(text, length, capacity);
}

void LinkBuffer::cat(double value)
{
    int length, capacity;
    char* text = dtos(value, &length, &capacity, kShortest);
    cat_nocopy(text, length, capacity);
}

void LinkBuffer::prepend(double value)
{
    int length, capacity;
    char* text = dtos(value, &length, &capacity, kShortest);
    prepend_nocopy(text, length, capacity);
}

void LinkBuffer::cat(Variable* variable)
{
    const String& text = variable->value();
    cat(text.data(), text.length());
}

void LinkBuffer::prepend(Variable* variable)
{
    const String& text = variable->value();
    prepend(text.data(), text.length());
}

void LinkBuffer::cat(LinkBuffer* other)
{
    // The end is noted first, since the other may be this buffer and grow meanwhile.
    LinkBuffer_Block* last = other->m_tail;
    int last_used = last ? last->used : 0;
    for (LinkBuffer_Block* block = other->m_head; block; block = block->next) {
        int used = block == last ? last_used : block->used;
        if (used > 0)
            cat(block->data, used);
        if (block == last)
            return;
    }
}

void LinkBuffer::prepend(LinkBuffer* other)
{
    LinkBuffer_Block* first = other->m_head;
    for (LinkBuffer_Block* block = other->m_tail; block; block = block->previous) {
        if (block->used > 0)
            prepend(block->data, block->used);
        if (block == first)
            return;
    }
}

void LinkBuffer::cat_destroy(LinkBuffer* other)
{
    if (other->m_head) {
        other->m_head->previous = m_tail;
        (m_tail ? m_tail->next : m_head) = other->m_head;
        m_tail = other->m_tail;
        AddLength(other->m_length);
    }
    other->Forget();
    delete other;
}

void LinkBuffer::prepend_destroy(LinkBuffer* other)
{
    if (other->m_head) {
        other->m_tail->next = m_head;
        (m_head ? m_head->previous : m_tail) = other->m_tail;
        m_head = other->m_head;
        AddLength(other->m_length);
    }
    other->Forget();
    delete other;
}

void LinkBuffer::cat_hex(unsigned char value)
{
    static const char kDigits[] = "0123456789ABCDEF";
    const char text[2] = {kDigits[value >> 4], kDigits[value & 15]};
    cat(text, 2);
}

void LinkBuffer::coalesce(int extra)
{
    if (extra < 0)
        extra = 0;
    if (!m_head || (m_head == m_tail && m_head->capacity - m_head->used >= extra))
        return;
    int capacity = Counted((long long)m_length + extra);
    char* text = new char[size_t(capacity)];
    append_to(text);
    LinkBuffer_Block* chain = m_head;
    int length = m_length;
    Forget();
    LinkBehind(new LinkBuffer_Block(text, length, capacity));
    delete chain;
}

const char* LinkBuffer::data(int* length, int* capacity)
{
    coalesce(1);
    if (length)
        *length = m_length;
    if (capacity)
        *capacity = m_head ? m_head->capacity : 1;
    if (!m_head)
        return "";
    m_head->data[m_length] = 0;
    return m_head->data;
}

char* LinkBuffer::release(int* length, int* capacity, int extra)
{
    coalesce(extra);
    if (length)
        *length = m_length;
    if (capacity)
        *capacity = m_head ? m_head->capacity : 1;
    if (!m_head)
        return new char[1]();
    char* text = m_head->data;
    m_head->data = nullptr;
    delete m_head;
    Forget();
    return text;
}

void LinkBuffer::append_to(char* target) const
{
    ForEachBlock([&](const char* text, int length) {
        memcpy(target, text, size_t(length));
        target += length;
    });
}
