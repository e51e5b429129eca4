#include "variables/Variable.h"

#include <limits.h>

#include <algorithm>

#include "variables/AggregateElementTree.h"
#include "variables/ImmutableVariable.h"

namespace {

int AsIndex(long long number)
{
    return number < 0 ? 0 : number > INT_MAX ? INT_MAX : int(number);
}

const int kNoNumber = AggregateElementTree::kNoNumber;

// The first element at or behind a number that is above 0.
AggregateElement* AtOrBehind(AggregateElementTree* elements, long long number)
{
    if (number > INT_MAX)
        return nullptr;
    return elements->Next(AggregateIndex(AsIndex(number - 1)));
}

int NumberAtOrBehind(AggregateElementTree* elements, long long number)
{
    return number > INT_MAX ? kNoNumber : elements->NextNumber(AsIndex(number - 1));
}

AggregateElement* InFrontOf(AggregateElementTree* elements, long long number)
{
    if (number > INT_MAX)
        return elements->Last();
    return elements->Previous(AggregateIndex(AsIndex(number)));
}

int NumberOf(AggregateElement* element)
{
    return element ? element->index().number() : 0;
}

int NumberOrZero(int number)
{
    return number == kNoNumber ? 0 : number;
}

void Displace(AggregateElementTree* elements, long long start, long long delta)
{
    if (start <= INT_MAX)
        elements->Displace(AsIndex(start), int(std::clamp<long long>(delta, INT_MIN, INT_MAX)));
}

}  // namespace

Variable* Variable::Element(const AggregateIndex& index, int create)
{
    if (m_aggregate == index.type()) {
        if (AggregateElement* found = m_elements->Find(index))
            return found->var();
    }
    return create ? NewElement(index) : nullptr;
}

Variable* Variable::NewElement(const AggregateIndex& index)
{
    return m_aggregate == index.type() ? AddElement(index) : NewFirstElement(index);
}

// Takes a copy of the index, since the original may end with the elements that are dropped.
Variable* Variable::NewFirstElement(AggregateIndex index)
{
    Variable::Convert_Aggregate(index.type());
    return AddElement(index);
}

Variable* Variable::AddElement(const AggregateIndex& index)
{
    if (!m_immutable) {
        AggregateElement* element = new AggregateElement(index);
        m_elements->Insert(element);
        return element->var();
    }
    Variable* variable = new ImmutableVariable(false);
    m_elements->Insert(new AggregateElement(index, variable));
    variable->DecRefCount();
    return variable;
}

Variable* Variable::Element(List<AggregateIndex>* path, int create)
{
    Variable* variable = this;
    AggregateIndex* index = path ? path->First() : nullptr;
    for (; variable && index; index = path->Next())
        variable = variable->Element(*index, create);
    return variable;
}

int Variable::SetElement(const AggregateIndex& index, Variable* variable)
{
    HeldVariable held(variable);
    if (m_aggregate != index.type())
        return SetFirstElement(AggregateIndex(index), variable);
    if (AggregateElement* found = m_elements->Find(index))
        found->SetVariable(variable);
    else
        m_elements->Insert(new AggregateElement(index, variable));
    return 1;
}

// Takes a copy of the index as well.
int Variable::SetFirstElement(AggregateIndex index, Variable* variable)
{
    Convert_Aggregate(index.type());
    m_elements->Insert(new AggregateElement(index, variable));
    return 1;
}

void Variable::InsertElement(int position, Variable* variable)
{
    HeldVariable held(variable);
    if (m_aggregate != kAggregateArray) {
        Convert_Aggregate(kAggregateArray);
        if (position < 1)
            position = 1;
    } else if (position >= 1) {
        m_elements->Displace(position, 1);
    } else {
        position = AsIndex(Max() + 1LL);
    }
    m_elements->Insert(new AggregateElement(AggregateIndex(position), variable));
}

void Variable::DeleteElement(const AggregateIndex& index, bool collapse)
{
    if (m_aggregate != index.type())
        return;
    // The index may be the element's own, so its number is taken first.
    long long behind = index.number() + 1LL;
    AggregateElement* element = m_elements->Remove(index);
    if (collapse && m_aggregate == kAggregateArray)
        Displace(m_elements, behind, -1);
    delete element;
}

void Variable::DeleteElements(int start, int count, bool collapse)
{
    Convert_Aggregate(kAggregateArray);
    // Kept aside until the array is in order again: what ends with an element may
    // look at it.
    AggregateElementTree removed(1);
    int number;
    long long limit = (long long)start + count;
    if (count == -1) {
        while ((number = m_elements->LastNumber()) != kNoNumber && number >= start &&
               Pick(number, &removed))
            ;
        return;
    }
    // Each search starts where the last one ended, not in front of the hole so far.
    long long at = start;
    while ((number = NumberAtOrBehind(m_elements, at)) != kNoNumber && number < limit) {
        at = number;
        if (!Pick(number, &removed))
            break;
    }
    if (collapse)
        Displace(m_elements, limit, -(long long)count);
}

// Moves an element to another tree, unless it is a plain number, with which nothing else
// ends. False if numbers that were lowered on top of others hide it.
bool Variable::Pick(int number, AggregateElementTree* to)
{
    if (m_elements->DropNumber(number))
        return true;
    AggregateElement* found = m_elements->Remove(AggregateIndex(number));
    if (found)
        to->Insert(found);
    return found;
}

void Variable::PutElement(long long number, Variable* variable, bool copy)
{
    AggregateIndex index(AsIndex(number));
    if (!copy) {
        SetElement(index, variable);
        return;
    }
    Variable* copied = new Variable(*variable);
    SetElement(index, copied);
    copied->DecRefCount();
}

void Variable::CopyUp(Variable* source, long long start, long long limit, long long shift,
                      bool copy)
{
    AggregateElementTree* elements = source->aggregateelements();
    AggregateElement* element = AtOrBehind(elements, start);
    while (element && NumberOf(element) < limit) {
        int number = NumberOf(element);
        PutElement(number + shift, element->var(), copy);
        element = elements->Next(AggregateIndex(number));
        if (element && NumberOf(element) <= number)
            return;
    }
}

void Variable::CopyDown(Variable* source, long long start, long long limit, long long shift,
                        bool copy)
{
    AggregateElementTree* elements = source->aggregateelements();
    AggregateElement* element = InFrontOf(elements, limit);
    while (element && NumberOf(element) >= start) {
        int number = NumberOf(element);
        PutElement(number + shift, element->var(), copy);
        element = elements->Previous(AggregateIndex(number));
        if (element && NumberOf(element) >= number)
            return;
    }
}

void Variable::CopyElements(Variable* source, int start, int count, int destination, bool copy)
{
    source = source->RealIdentity();
    HeldVariable held(source);
    Convert_Aggregate(kAggregateArray);
    if (source->aggregatetype() != kAggregateArray)
        return;
    long long from = start < 1 ? source->Min() : start;
    if (from < 1)
        return;
    if (count < 0 && source->Max() < 1)
        return;
    long long limit = count < 0 ? source->Max() + 1LL : from + count;
    long long to = destination < 1 ? Max() + 1LL : destination;
    if (source == this && to == from && !copy)
        return;
    // In the direction in which no element of the same array is overwritten before it
    // has been read.
    if (from <= to)
        CopyDown(source, from, limit, to - from, copy);
    else
        CopyUp(source, from, limit, to - from, copy);
}

void Variable::MergeElements(Variable* source, int start, int count, int destination, bool copy)
{
    source = source->RealIdentity();
    HeldVariable held(source);
    Convert_Aggregate(kAggregateArray);
    long long from = start >= 1 ? start : source->Min() > 1 ? source->Min() : 1;
    // Below 0 for a range that starts behind the last element, and for a negative count of
    // what has no numbers: then the numbers from the destination on are lowered.
    long long room = count;
    if (count < 0) {
        room = source->Max();
        if (room > 0)
            room += 1 - from;
    }
    long long to = destination < 1 ? Max() + 1LL : destination;
    Displace(m_elements, to, room);
    if (source->aggregatetype() != kAggregateArray)
        return;
    if (source == this && to <= from) {
        from += room;
    } else if (source == this && to < from + room) {
        CopyUp(source, from, to, to - from, copy);
        long long part = to - from;
        from = to + room;
        // The room is doubled, on purpose, though that can be more than what has moved:
        // elements behind the range are then copied over those that have just moved.
        room *= 2;
        to += part;
    }
    CopyUp(source, from, from + room, to - from, copy);
}

int Variable::CollapseElements()
{
    if (m_aggregate != kAggregateArray)
        return 0;
    return m_elements->Collapse();
}

int Variable::Max()
{
    return m_elements ? NumberOrZero(m_elements->LastNumber()) : 0;
}

int Variable::Min()
{
    return m_elements ? NumberOrZero(m_elements->FirstNumber()) : 0;
}

int Variable::Next(int number)
{
    if (!m_elements)
        return 0;
    if (m_aggregate != kAggregateArray)
        return -1;
    return NumberOrZero(m_elements->NextNumber(AsIndex(number)));
}

int Variable::Previous(int number)
{
    if (!m_elements)
        return 0;
    if (m_aggregate != kAggregateArray)
        return -1;
    return NumberOrZero(m_elements->PreviousNumber(AsIndex(number)));
}

int Variable::ElementsUsed()
{
    return m_elements ? m_elements->Entries() : 0;
}

void Variable::Convert_Aggregate(AggregateType aggregate)
{
    if (m_aggregate == aggregate)
        return;
    const int kOwner = 1;
    m_valid = 0;
    m_primary = kNone;
    ReplaceElements(aggregate == kAggregateNone ? nullptr : new AggregateElementTree(kOwner),
                    aggregate);
}
