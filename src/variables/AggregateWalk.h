#ifndef ZEPH_VARIABLES_AGGREGATEWALK_H
#define ZEPH_VARIABLES_AGGREGATEWALK_H

#include "variables/ElementSlot.h"

class AggregateElement;
class AggregateElementTree;
class ElementRun;
class String;
class Variable;

// A walk through all values below an aggregate, in order and as deep as they are
// nested, with a stack of its own. While an aggregate is being walked it cannot be
// entered again, by this walk or by another one: that is how values that contain
// themselves come to an end.
//
// The elements of the aggregates on the way stay as they are during the walk.
class AggregateWalk {
public:
    AggregateWalk() {}
    AggregateWalk(const AggregateWalk&) = delete;
    AggregateWalk& operator=(const AggregateWalk&) = delete;
    ~AggregateWalk();

    // Whether an aggregate is being walked at present.
    static bool IsWalked(const Variable* aggregate);
    // Goes down into an aggregate that is not being walked. `copy`, which may be null,
    // is what the caller keeps for this level.
    void Enter(Variable* aggregate, AggregateElementTree* elements, AggregateElementTree* copy);
    // The next element of the deepest level that has one left, or the plain number that
    // stands for it; an empty slot at the end of the walk.
    ElementSlot Next();
    // If the last element was a plain number: its index, and the element itself, which is made.
    int number() const { return m_number; }
    AggregateElement* MakeElement();
    // What was kept for the level of the last element.
    AggregateElementTree* copy() const { return m_levels[m_depth - 1].copy; }

private:
    struct Level {
        Variable* aggregate;
        const ElementRun* run;        // borrowed; null for elements that are in nodes
        AggregateElement** elements;  // owned array of these elements, borrowed, in order
        int count;                    // of the array
        int next;                     // place in the run or in the array
        AggregateElementTree* copy;
    };

    static Level NewLevel(Variable* aggregate, AggregateElementTree* elements,
                          AggregateElementTree* copy);
    static ElementSlot NextOf(Level* level, int* number);
    void Leave();

    Level* m_levels = nullptr;  // owned
    int m_depth = 0;
    int m_capacity = 0;
    int m_number = 0;
};

// A copy of all elements of an aggregate and of what is below them, made of plain or
// of unlocked immutable variables. What a reference refers to is copied as a value.
AggregateElementTree* CopiedElements(Variable* aggregate, bool immutable);

// Adds the values below an aggregate to a text, each behind a comma if there is
// something in the text already.
void SerializeElements(Variable* aggregate, String& out);

#endif
