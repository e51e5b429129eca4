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

int ElementRun::PlaceAtOrBehind(long long number) const
{
    long long place = number < m_first ? 0 : number - m_first;
    for (; place < m_span; ++place) {
        if (!m_slots[m_begin + place].IsEmpty())
            return int(place);
    }
    return kNoPlace;
}

int ElementRun::PlaceAtOrInFrontOf(long long number) const
{
    long long place = number - m_first;
    if (place >= m_span)
        place = m_span - 1;
    for (; place >= 0; --place) {
        if (!m_slots[m_begin + place].IsEmpty())
            return int(place);
    }
    return kNoPlace;
}

AggregateElement* ElementRun::MakeElement(ElementSlot* slot) const
{
    int place = int(slot - m_slots) - m_begin;
    AggregateElement* element = slot->NewElement(m_first + place);
    *slot = ElementSlot(element);
    return element;
}

ElementSlot ElementRun::Walk(int* place, int* number) const
{
    while (*place < m_span) {
        *number = m_first + *place;
        ElementSlot slot = m_slots[m_begin + (*place)++];
        if (!slot.IsEmpty())
            return slot;
    }
    return ElementSlot(nullptr);
}

bool ElementRun::PutAnywhere(int number, ElementSlot slot)
{
    if (m_count == 0) {
        if (!MakeRoom(0, 1))
            return false;
        m_first = number;
        m_span = 1;
        m_slots[m_begin] = ElementSlot(nullptr);
    }
    long long place = (long long)number - m_first;
    if (place >= m_span && !WidenBehind(place - m_span + 1))
        return false;
    if (place < 0 && !WidenInFront(-place))
        return false;
    ElementSlot* free_slot = SlotOf(number);
    if (!free_slot->IsEmpty())
        return false;
    *free_slot = slot;
    ++m_count;
    return true;
}

AggregateElement* ElementRun::Take(int number)
{
    AggregateElement* element = At(number);
    if (element)
        Empty(number);
    return element;
}

bool ElementRun::Drop(int number)
{
    ElementSlot* slot = SlotOf(number);
    if (!slot || !slot->IsNumber())
        return false;
    Empty(number);
    return true;
}

void ElementRun::Empty(int number)
{
    *SlotOf(number) = ElementSlot(nullptr);
    --m_count;
    Trim();
}

// Drops the holes at both ends.
void ElementRun::Trim()
{
    if (m_count == 0) {
        Clear();
        return;
    }
    while (m_slots[m_begin].IsEmpty()) {
        ++m_begin;
        ++m_first;
        --m_span;
    }
    while (m_slots[m_begin + m_span - 1].IsEmpty())
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
    ClearSlots(m_span, slots);
    m_span += int(slots);
    return true;
}

bool ElementRun::WidenInFront(long long slots)
{
    if (m_span + slots - 1 - m_count > HolesAllowed(m_count) || !MakeRoom(slots, 0))
        return false;
    m_begin -= int(slots);
    ClearSlots(0, slots);
    m_span += int(slots);
    m_first -= int(slots);
    return true;
}

// Free slots on one side of the span. Doubling, with a share of what is left for the other
// side, keeps the cost of many additions linear at both ends. What grows behind stays where it
// is unless that leaves too much in front: the system can then grow it without moving a byte.
bool ElementRun::MakeRoom(long long front, long long behind)
{
    if (m_begin >= front && m_begin + m_span + behind <= m_capacity)
        return true;
    long long needed = front + m_span + behind;
    if (needed > kMaxEntries + HolesAllowed(kMaxEntries))
        return false;
    int capacity = m_capacity < 2 * needed ? int(2 * needed) + kFirstCapacity : m_capacity;
    int share = int((capacity - needed) / 4);
    if (front > 0)
        Move(capacity, capacity - m_span - share);
    else
        Move(capacity, m_begin < share && m_capacity < capacity ? m_begin : share);
    return true;
}

// Moves the span to slot `begin` of as many slots.
void ElementRun::Move(int capacity, int begin)
{
    ElementSlot* slots = m_slots;
    if (capacity != m_capacity) {
        void* kept = begin == m_begin ? m_slots : nullptr;
        slots = static_cast<ElementSlot*>(GrownMemory(kept, size_t(capacity), sizeof *slots));
    }
    if (begin != m_begin) {
        if (m_span > 0)
            memmove(slots + begin, m_slots + m_begin, size_t(m_span) * sizeof *slots);
        if (slots != m_slots)
            free(m_slots);
    }
    m_slots = slots;
    m_capacity = capacity;
    m_begin = begin;
}

void ElementRun::ClearSlots(int place, long long count)
{
    memset(m_slots + m_begin + place, 0, size_t(count) * sizeof *m_slots);
}

bool ElementRun::CopyNumbers(const ElementRun& other)
{
    const ElementSlot* slots = other.m_slots + other.m_begin;
    for (int i = 0; i < other.m_span; ++i) {
        if (!slots[i].IsNumber() && !slots[i].IsEmpty())
            return false;
    }
    if (other.m_count == 0)
        return true;
    if (m_capacity < other.m_span)
        Move(other.m_span, 0);
    memcpy(m_slots, slots, size_t(other.m_span) * sizeof *m_slots);
    m_begin = 0;
    m_span = other.m_span;
    m_first = other.m_first;
    m_count = other.m_count;
    return true;
}

bool ElementRun::Displace(int start, int delta)
{
    int from = PlaceAtOrBehind(start);
    if (from == kNoPlace || delta == 0)
        return true;
    if ((long long)LastNumber() + delta > INT_MAX)
        return false;
    if (from == 0) {
        if ((long long)m_first + delta < 0)
            return false;
        m_first += delta;
    } else if (delta < 0) {
        if ((long long)from + delta <= PlaceAtOrInFrontOf((long long)start - 1))
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
        ElementSlot slot = m_slots[m_begin + i];
        if (!slot.IsEmpty() && !slot.IsNumber())
            slot.element()->index().Displace(delta);
    }
    return true;
}

void ElementRun::MoveTail(int from, int delta)
{
    ElementSlot* tail = m_slots + m_begin + from;
    memmove(tail + delta, tail, size_t(m_span - from) * sizeof *tail);
    if (delta > 0)
        ClearSlots(from, delta);
    m_span += delta;
}

void ElementRun::Collapse()
{
    ElementSlot* slots = m_slots + m_begin;
    int count = 0;
    for (int i = 0; i < m_span; ++i) {
        ElementSlot slot = slots[i];
        if (slot.IsEmpty())
            continue;
        slots[count++] = slot;
        if (!slot.IsNumber())
            slot.element()->index().Renumber(count);
    }
    m_first = 1;
    m_span = count;
}
