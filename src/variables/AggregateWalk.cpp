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

// What a copied element starts from: NULL, under the name of its source.
Variable* EmptyCopy(const Variable& source, bool immutable)
{
    int length;
    const char* name = source.NameBytes(&length);
    if (immutable)
        return new ImmutableVariable(name, length, false);
    return Variable::New(name, length);
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
    AggregateElement** listed = new AggregateElement*[size_t(elements->Entries())];
    int count = 0;
    elements->ForEach([&](AggregateElement* element) { listed[count++] = element; });
    m_levels[m_depth++] = {aggregate, listed, count, 0, copy};
    aggregate->m_walked = true;
}

AggregateElement* AggregateWalk::Next()
{
    while (m_depth > 0) {
        Level& level = m_levels[m_depth - 1];
        if (level.next < level.count)
            return level.elements[level.next++];
        Leave();
    }
    return nullptr;
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
    walk.Enter(aggregate, aggregate->aggregateelements(), copied);
    while (AggregateElement* element = walk.Next()) {
        Variable* source = element->var()->RealIdentity();
        Variable* copy = EmptyCopy(*element->var(), immutable);
        walk.copy()->Append(new AggregateElement(element->index(), copy));
        copy->DecRefCount();
        AggregateElementTree* below = source->aggregateelements();
        if (!below) {
            copy->SetValue(*source);
        } else if (!AggregateWalk::IsWalked(source)) {
            copy->Convert_Aggregate(source->aggregatetype());
            walk.Enter(source, below, copy->aggregateelements());
        }
    }
    return copied;
}

void SerializeElements(Variable* aggregate, String& out)
{
    if (AggregateWalk::IsWalked(aggregate))
        return;
    LinkBuffer text(kTextUnit, kTextUnit);
    AggregateWalk walk;
    walk.Enter(aggregate, aggregate->aggregateelements(), nullptr);
    while (AggregateElement* element = walk.Next()) {
        Variable* source = element->var()->RealIdentity();
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
