#ifndef ZEPH_VARIABLES_AGGREGATEELEMENT_H
#define ZEPH_VARIABLES_AGGREGATEELEMENT_H

#include "variables/AggregateIndex.h"
#include "variables/KeptMemory.h"

class Variable;

// A variable at its place in an aggregate. Holds one count of the variable.
class AggregateElement final {
public:
    // With a new plain variable.
    explicit AggregateElement(const AggregateIndex& index);
    // Takes a count of its own.
    AggregateElement(const AggregateIndex& index, Variable* variable);
    // With a copy of the variable and of all below it.
    AggregateElement(const AggregateElement& other);
    AggregateElement& operator=(const AggregateElement&) = delete;

    static void* operator new(size_t size) { return KeptMemory<AggregateElement>::Take(size); }
    static void operator delete(void* memory, size_t size)
    {
        KeptMemory<AggregateElement>::Give(memory, size);
    }

    // The order of these is binary interface.

    virtual ~AggregateElement();
    virtual AggregateIndex& index() { return m_index; }
    virtual Variable* var() { return m_variable; }
    virtual void SetVariable(Variable* variable);

private:
    AggregateIndex m_index;
    Variable* m_variable;  // holds one count
};

#endif
