#ifndef ZEPH_TESTS_UNIT_VM_INTERRUPTION_H
#define ZEPH_TESTS_UNIT_VM_INTERRUPTION_H

#include "TestMachine.h"
#include "variables/AggregateElementTree.h"
#include "variables/LinkBuffer.h"
#include "vm/Feature.h"

// Has the machine look up as often as it ever does, since each time the heartbeat has moved
// again, and cancels the run at the last of so many times, or when its values grow too large.
class Interruption : public Feature {
public:
    // `globals` is null when their size does not matter.
    Interruption(ZephVM* machine, VariableHash* globals, int* heartbeat, int* cancelled, long times)
        : Feature(machine, kLockfile),
          m_globals(globals),
          m_heartbeat(heartbeat),
          m_cancelled(cancelled),
          m_left(times)
    {
    }
    void Heartbeat() override
    {
        ++*m_heartbeat;
        if (--m_left == 0 || (m_globals && IsLarge()))
            *m_cancelled = 1;
    }

private:
    static const int kMostWeight = 2000;

    // Looks at what a variable has at hand.
    class Held : public Variable {
    public:
        static int Text(const Variable* variable) { return (variable->*&Held::m_value).length(); }
        static const AggregateElementTree* Elements(const Variable* variable)
        {
            return variable->*&Held::m_elements;
        }
    };

    bool IsLarge()
    {
        Stack_Entry* top = vm()->frame()->stack()->Peek();
        if (top && top->kind == Stack_Entry::kLinkBuffer && top->buffer->length() > kMostWeight)
            return true;
        return m_left % 2 == 0 && Weight() > kMostWeight;
    }
    int Weight()
    {
        int weight = 0;
        AddTable(m_globals, &weight);
        if (vm()->frame()->locals() != m_globals)
            AddTable(vm()->frame()->locals(), &weight);
        return weight;
    }
    static void AddTable(const VariableHash* table, int* weight)
    {
        for (int slot = 0; slot < table->slots(); ++slot) {
            if (Variable* variable = table->Made(slot))
                AddVariable(variable, weight);
        }
    }
    // What is referred to counts as often as it is, and one that contains itself as too much.
    static void AddVariable(Variable* reference, int* weight)
    {
        const Variable* variable = reference->RealIdentity();
        *weight += 1 + Held::Text(variable);
        const AggregateElementTree* elements = Held::Elements(variable);
        if (!elements || *weight > kMostWeight)
            return;
        *weight += elements->Entries();
        auto add = [weight](AggregateElement* element) { AddVariable(element->var(), weight); };
        if (const ElementRun* run = elements->run())
            run->ForEachMade(add);
        else
            elements->ForEach(add);
    }

    VariableHash* m_globals;  // null when the values may grow
    int* m_heartbeat;
    int* m_cancelled;
    long m_left;
};

#endif
