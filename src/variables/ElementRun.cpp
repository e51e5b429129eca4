#include "variables/ElementRun.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include <utility>

#include "variables/AggregateElement.h"
#include "variables/allocation.h"

namespace {

const int kFirstCapacity = 8;

}  // namespace

ElementRun::~ElementRun()
{
    free(m_slots);
}

AggregateElement* ElementRun::AtOrBehind(long long number) const
{
    long long place = number < m_first ? 0 : number - m_first;
    for (; place < m_span; ++place) {
        if (AggregateElement* element = m_slots[m_begin + place])
            return element;
    }
    return nullptr;
}

AggregateElement* ElementRun::AtOrInFrontOf(long long number) const
{
    long long place = number - m_first;
    if (place >= m_span)
        place = m_span - 1;
    for (; place >= 0; --place) {
        if (AggregateElement* element = m_slots[m_begin + place])
            return element;
    }
    return nullptr;
}

bool ElementRun::Put(int number, AggregateElement* element)
{
    // Mostly what follows the last element.
    if (m_count > 0 && (long long)number == (long long)m_first + m_span &&
        m_begin + m_span < m_capacity) {
        m_slots[m_begin + m_span++] = element;
        ++m_count;
        return true;
    }
    if (m_count == 0) {
        if (!MakeRoom(0, 1))
            return false;
        m_first = number;
        m_span = 1;
    }
    long long place = (long long)number - m_first;
    if (place >= m_span && !WidenBehind(place - m_span + 1))
        return false;
    if (place < 0 && !WidenInFront(-place))
        return false;
    AggregateElement** slot = &m_slots[m_begin + (number - m_first)];
    if (m_count > 0 && *slot)
        return false;
    *slot = element;
    ++m_count;
    return true;
}

AggregateElement* ElementRun::Take(int number)
{
    AggregateElement* element = At(number);
    if (!element)
        return nullptr;
    m_slots[m_begin + (number - m_first)] = nullptr;
    --m_count;
    Trim();
    return element;
}

// Drops the holes at both ends.
void ElementRun::Trim()
{
    if (m_count == 0) {
        Clear();
        return;
    }
    while (!m_slots[m_begin]) {
        ++m_begin;
        ++m_first;
        --m_span;
    }
    while (!m_slots[m_begin + m_span - 1])
        --m_span;
}

void ElementRun::Clear()
{
    const int kMostKept = 1024;
    if (m_capacity > kMostKept) {
        free(m_slots);
        m_slots = nullptr;
        m_capacity = 0;
    }
    m_begin = m_span = m_first = m_count = 0;
}

void ElementRun::Swap(ElementRun& other)
{
    std::swap(m_slots, other.m_slots);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_begin, other.m_begin);
    std::swap(m_span, other.m_span);
    std::swap(m_first, other.m_first);
    std::swap(m_count, other.m_count);
}

bool ElementRun::WidenBehind(long long slots)
{
    if (m_span + slots - 1 - m_count > HolesAllowed(m_count) || !MakeRoom(0, slots))
        return false;
    memset(m_slots + m_begin + m_span, 0, size_t(slots) * sizeof *m_slots);
    m_span += int(slots);
    return true;
}

bool ElementRun::WidenInFront(long long slots)
{
    if (m_span + slots - 1 - m_count > HolesAllowed(m_count) || !MakeRoom(slots, 0))
        return false;
    m_begin -= int(slots);
    memset(m_slots + m_begin, 0, size_t(slots) * sizeof *m_slots);
    m_span += int(slots);
    m_first -= int(slots);
    return true;
}

// Free slots on one side of the span. Doubling, with a share of what is left for the other
// side, keeps the cost of many additions linear at both ends.
bool ElementRun::MakeRoom(long long front, long long behind)
{
    if (m_begin >= front && m_begin + m_span + behind <= m_capacity)
        return true;
    long long needed = front + m_span + behind;
    if (needed > kMaxEntries + HolesAllowed(kMaxEntries))
        return false;
    int capacity = m_capacity < 2 * needed ? int(2 * needed) + kFirstCapacity : m_capacity;
    int share = int((capacity - needed) / 4);
    Move(capacity, front > 0 ? capacity - m_span - share : share);
    return true;
}

// Moves the span to slot `begin` of as many slots.
void ElementRun::Move(int capacity, int begin)
{
    const size_t size = size_t(m_span) * sizeof *m_slots;
    AggregateElement** slots = m_slots;
    if (capacity != m_capacity)
        slots =
            static_cast<AggregateElement**>(GrownMemory(nullptr, size_t(capacity), sizeof *slots));
    if (m_span > 0)
        memmove(slots + begin, m_slots + m_begin, size);
    if (slots != m_slots)
        free(m_slots);
    m_slots = slots;
    m_capacity = capacity;
    m_begin = begin;
}

bool ElementRun::Displace(int start, int delta)
{
    AggregateElement* behind = AtOrBehind(start);
    if (!behind || delta == 0)
        return true;
    long long last = (long long)m_first + m_span - 1 + delta;
    if (last > INT_MAX)
        return false;
    int from = behind->index().number() - m_first;
    if (from == 0) {
        if ((long long)m_first + delta < 0)
            return false;
        m_first += delta;
    } else if (delta < 0) {
        AggregateElement* in_front = AtOrInFrontOf((long long)start - 1);
        if ((long long)m_first + from + delta <= in_front->index().number())
            return false;
        MoveTail(from, delta);
    } else {
        int span = m_span;
        if (m_span + (long long)delta - m_count > HolesAllowed(m_count) || !WidenBehind(delta))
            return false;
        m_span = span;
        MoveTail(from, delta);
    }
    for (int i = from == 0 ? 0 : from + delta; i < m_span; ++i) {
        if (AggregateElement* element = m_slots[m_begin + i])
            element->index().Displace(delta);
    }
    return true;
}

void ElementRun::MoveTail(int from, int delta)
{
    AggregateElement** tail = m_slots + m_begin + from;
    memmove(tail + delta, tail, size_t(m_span - from) * sizeof *tail);
    if (delta > 0)
        memset(tail, 0, size_t(delta) * sizeof *tail);
    m_span += delta;
}

void ElementRun::Collapse()
{
    AggregateElement** slots = m_slots + m_begin;
    int count = 0;
    for (int i = 0; i < m_span; ++i) {
        if (AggregateElement* element = slots[i]) {
            slots[count++] = element;
            element->index().Renumber(count);
        }
    }
    m_first = 1;
    m_span = count;
}
