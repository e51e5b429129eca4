#include "variables/AggregateIndex.h"

#include <limits.h>

#include "primitives/conversions.h"
#include "primitives/memcmpi.h"

int AggregateIndex::Compare(const AggregateIndex& other) const
{
    if (m_number >= 0 || other.m_number >= 0)
        return int(m_number < other.m_number) - int(m_number > other.m_number);
    int length = m_name.length();
    int other_length = other.m_name.length();
    int order =
        memcmpi(m_name.data(), other.m_name.data(), length < other_length ? length : other_length);
    if (order != 0)
        return order < 0 ? 1 : -1;
    return int(length < other_length) - int(length > other_length);
}

AggregateIndex::operator String&()
{
    if (m_number >= 0 && m_name.length() == 0) {
        int length, capacity;
        char* digits = itos(m_number, &length, &capacity);
        m_name.assign_nocopy(digits, length, capacity);
    }
    return m_name;
}

const String& AggregateIndex::serialized()
{
    if (m_serialized.length() > 0)
        return m_serialized;
    String& name = *this;
    m_serialized = type() == kAggregateArray ? "[" : ":";
    m_serialized.cat(name);
    if (type() == kAggregateArray)
        m_serialized.cat("]", 1);
    return m_serialized;
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
    m_name.destroy();
    m_serialized.destroy();
}
