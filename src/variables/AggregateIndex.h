#ifndef ZEPH_VARIABLES_AGGREGATEINDEX_H
#define ZEPH_VARIABLES_AGGREGATEINDEX_H

#include "variables/VariableName.h"

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
    explicit AggregateIndex(const String& name) : m_name(name.data(), name.length()) {}
    // Points at the text, and so do its copies.
    explicit AggregateIndex(const PermanentText& name) : m_name(name) {}
    AggregateIndex(const AggregateIndex& other) : m_name(other.m_name), m_number(other.m_number) {}
    ~AggregateIndex() { delete m_serialized; }
    AggregateIndex& operator=(const AggregateIndex&) = delete;

    AggregateType type() const { return m_number < 0 ? kAggregateStructure : kAggregateArray; }
    // -1 for a name.
    int number() const { return m_number; }

    // 1 if this index sorts before the other one, which is of the same type, -1 if it
    // sorts after it, 0 if they are equal.
    int Compare(const AggregateIndex& other) const
    {
        if (m_number >= 0 || other.m_number >= 0)
            return int(m_number < other.m_number) - int(m_number > other.m_number);
        return CompareNames(other);
    }

    // The name, or the decimal digits of the number, which are kept.
    operator String&();
    // As a script writes it behind the name of the aggregate: ":name" or "[number]".
    const String& serialized();

    // For an array only: moves the number, which stays within what an index can be,
    // and drops the texts made from it.
    void Displace(long long delta);
    void Renumber(int number);

private:
    int CompareNames(const AggregateIndex& other) const;

    VariableName m_name;
    String* m_serialized = nullptr;  // owned; null until it is asked for
    int m_number = -1;
};

#endif
