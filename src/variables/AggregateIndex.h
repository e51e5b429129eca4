#ifndef ZEPH_VARIABLES_AGGREGATEINDEX_H
#define ZEPH_VARIABLES_AGGREGATEINDEX_H

#include "variables/StringClass.h"

// What a value is made of. The numbers are known outside.
enum AggregateType {
    kAggregateStructure = 0,
    kAggregateArray = 1,
    kAggregateNone = 2  // a scalar
};

// The place of an element in its aggregate: a number in an array, or a name without
// letter case in a structure. Which of the two it is tells the sign of the number.
class AggregateIndex {
public:
    AggregateIndex() {}
    // A negative number becomes 0.
    explicit AggregateIndex(int number) : m_number(number < 0 ? 0 : number) {}
    // A length of -1 means that the name ends at its NUL.
    AggregateIndex(const char* name, int length) : m_name(name, length) {}
    explicit AggregateIndex(const String& name) : m_name(name) {}
    AggregateIndex(const AggregateIndex& other) : m_name(other.m_name), m_number(other.m_number) {}
    AggregateIndex& operator=(const AggregateIndex&) = delete;

    AggregateType type() const { return m_number < 0 ? kAggregateStructure : kAggregateArray; }
    // -1 for a name.
    int number() const { return m_number; }

    // 1 if this index sorts before the other one, which is of the same type, -1 if it
    // sorts after it, 0 if they are equal.
    int Compare(const AggregateIndex& other) const;

    // The name, or the decimal digits of the number, which are kept.
    operator String&();
    // As a script writes it behind the name of the aggregate: ":name" or "[number]".
    const String& serialized();

    // For an array only: moves the number, which stays within what an index can be,
    // and drops the texts made from it.
    void Displace(long long delta);
    void Renumber(int number);

private:
    String m_name;
    int m_number = -1;
    String m_serialized;  // empty until it is asked for
};

#endif
