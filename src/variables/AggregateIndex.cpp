#include "variables/AggregateIndex.h"

#include <limits.h>

#include "primitives/conversions.h"
#include "primitives/memcmpi.h"

int AggregateIndex::CompareNames(const AggregateIndex& other) const
{
    int length, other_length;
    const char* name = m_name.bytes(&length);
    const char* other_name = other.m_name.bytes(&other_length);
    int order = memcmpi(name, other_name, length < other_length ? length : other_length);
    if (order != 0)
        return order < 0 ? 1 : -1;
    return int(length < other_length) - int(length > other_length);
}

AggregateIndex::operator String&()
{
    String& name = m_name.text();
    if (m_number >= 0 && name.length() == 0) {
        int length, capacity;
        char* digits = itos(m_number, &length, &capacity);
        name.assign_nocopy(digits, length, capacity);
    }
    return name;
}

const String& AggregateIndex::serialized()
{
    if (m_serialized)
        return *m_serialized;
    String& name = *this;
    m_serialized = new String(type() == kAggregateArray ? "[" : ":");
    m_serialized->cat(name);
    if (type() == kAggregateArray)
        m_serialized->cat("]", 1);
    return *m_serialized;
}

// A number that no index can be stops at the nearest one that it can: elements then
// share a number, but their order, on which the tree relies, holds.
void AggregateIndex::Displace(long long delta)
{
    long long number = m_number + delta;
    Renumber(number < 0 ? 0 : number > INT_MAX ? INT_MAX : int(number));
}

void AggregateIndex::Renumber(int number)
{
    m_number = number;
    if (!m_name.IsEmpty())
        m_name.Assign(nullptr, 0);
    delete m_serialized;
    m_serialized = nullptr;
}
