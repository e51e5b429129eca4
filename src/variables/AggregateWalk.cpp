#include "variables/AggregateWalk.h"

#include <limits.h>
#include <stdlib.h>

#include "variables/AggregateElementTree.h"
#include "variables/ImmutableVariable.h"
#include "variables/LinkBuffer.h"
#include "variables/allocation.h"

namespace {

const int kFirstLevels = 8;
const int kTextUnit = 1024;

void CopyNumber(ElementSlot number, int index, AggregateElementTree* copy, bool immutable)
{
    if (!immutable && copy->PutNumber(index, number))
        return;
    if (!immutable) {
        copy->Append(number.NewElement(index));
        return;
    }
    Variable* variable = new ImmutableVariable(false);
    number.SetTo(variable);
    copy->Append(new AggregateElement(AggregateIndex(index), variable));
    variable->DecRefCount();
}

// What a copied element starts from: NULL, under the name of its source.
Variable* EmptyCopy(const Variable& source, bool immutable)
{
    int length;
    const char* name = source.NameBytes(&length);
    if (immutable)
        return new ImmutableVariable(name, length, false);
    return Variable::New(name, length);
}

// Copies the elements of an aggregate at once if they are nothing but plain numbers.
void EnterOrCopy(AggregateWalk* walk, Variable* aggregate, AggregateElementTree* copy,
                 bool immutable)
{
    AggregateElementTree* elements = aggregate->aggregateelements();
    if (immutable || !copy->CopyNumbers(*elements))
        walk->Enter(aggregate, elements, copy);
}

}  // namespace

AggregateWalk::~AggregateWalk()
{
    while (m_depth > 0)
        Leave();
    free(m_levels);
}

bool AggregateWalk::IsWalked(const Variable* aggregate)
{
    return aggregate->m_walked;
}

void AggregateWalk::Enter(Variable* aggregate, AggregateElementTree* elements,
                          AggregateElementTree* copy)
{
    if (m_depth == m_capacity) {
        if (m_capacity > INT_MAX / 2)
            abort();
        m_capacity = m_capacity == 0 ? kFirstLevels : m_capacity * 2;
        m_levels = static_cast<Level*>(GrownMemory(m_levels, size_t(m_capacity), sizeof(Level)));
    }
    m_levels[m_depth++] = NewLevel(aggregate, elements, copy);
    aggregate->m_walked = true;
}

// Only nodes need a list of the elements, since searches turn them over.
AggregateWalk::Level AggregateWalk::NewLevel(Variable* aggregate, AggregateElementTree* elements,
                                             AggregateElementTree* copy)
{
    Level level = {aggregate, elements->run(), nullptr, 0, 0, copy};
    if (level.run || elements->Entries() == 0)
        return level;
    level.elements = new AggregateElement*[size_t(elements->Entries())];
    elements->ForEach([&](AggregateElement* element) { level.elements[level.count++] = element; });
    return level;
}

ElementSlot AggregateWalk::NextOf(Level* level, int* number)
{
    if (level->run)
        return level->run->Walk(&level->next, number);
    return ElementSlot(level->next < level->count ? level->elements[level->next++] : nullptr);
}

ElementSlot AggregateWalk::Next()
{
    while (m_depth > 0) {
        ElementSlot slot = NextOf(&m_levels[m_depth - 1], &m_number);
        if (!slot.IsEmpty())
            return slot;
        Leave();
    }
    return ElementSlot(nullptr);
}

AggregateElement* AggregateWalk::MakeElement()
{
    return m_levels[m_depth - 1].run->At(m_number);
}

void AggregateWalk::Leave()
{
    Level& level = m_levels[--m_depth];
    level.aggregate->m_walked = false;
    delete[] level.elements;
}

AggregateElementTree* CopiedElements(Variable* aggregate, bool immutable)
{
    const int kOwner = 1;
    AggregateElementTree* copied = new AggregateElementTree(kOwner);
    if (AggregateWalk::IsWalked(aggregate))
        return copied;
    AggregateWalk walk;
    EnterOrCopy(&walk, aggregate, copied, immutable);
    for (ElementSlot slot; !(slot = walk.Next()).IsEmpty();) {
        if (slot.IsNumber()) {
            CopyNumber(slot, walk.number(), walk.copy(), immutable);
            continue;
        }
        AggregateElement* element = slot.element();
        Variable* source = element->var()->RealIdentity();
        Variable* copy = EmptyCopy(*element->var(), immutable);
        walk.copy()->Append(new AggregateElement(element->index(), copy));
        copy->DecRefCount();
        if (!source->aggregateelements()) {
            copy->SetValue(*source);
        } else if (!AggregateWalk::IsWalked(source)) {
            copy->Convert_Aggregate(source->aggregatetype());
            EnterOrCopy(&walk, source, copy->aggregateelements(), immutable);
        }
    }
    return copied;
}

void SerializeElements(Variable* aggregate, String& out)
{
    if (AggregateWalk::IsWalked(aggregate))
        return;
    LinkBuffer text(kTextUnit, kTextUnit);
    Variable number;
    AggregateWalk walk;
    walk.Enter(aggregate, aggregate->aggregateelements(), nullptr);
    for (ElementSlot slot; !(slot = walk.Next()).IsEmpty();) {
        if (slot.IsNumber() && slot.IsToldByText())
            slot.SetTo(&number);
        else if (slot.IsNumber())
            slot = ElementSlot(walk.MakeElement());
        Variable* source = slot.IsNumber() ? &number : slot.element()->var()->RealIdentity();
        AggregateElementTree* below = source->aggregateelements();
        if (below) {
            if (!AggregateWalk::IsWalked(source))
                walk.Enter(source, below, nullptr);
            continue;
        }
        const String& leaf = source->value();
        if (out.length() > 0 || text.length() > 0)
            text.cat(",", 1);
        text.cat(leaf.data(), leaf.length());
    }
    int length;
    const char* joined = text.data(&length, nullptr);
    out.cat(joined, length);
}
