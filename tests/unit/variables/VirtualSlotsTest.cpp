#include <string.h>

#include <gtest/gtest.h>

#include "variables/AggregateElementTree.h"
#include "variables/CallbackVariable.h"
#include "variables/HashTable.h"
#include "variables/ImmutableVariable.h"
#include "variables/SearchableList.h"

// The order of virtual operations is binary interface: libraries call them by their place
// in the table. The destructor takes the first two places.

namespace {

// The place of a virtual operation, as its member pointer tells it: the offset in the table
// plus 1. A member pointer to what is not virtual is an address, which is no small number.
template <class Member>
size_t SlotOf(Member member)
{
    size_t word;
    memcpy(&word, &member, sizeof word);
    return (word - 1) / sizeof(void*);
}

template <class... Members>
void ExpectInOrder(size_t first, Members... members)
{
    size_t slot = first;
    for (size_t found : {SlotOf(members)...})
        EXPECT_EQ(found, slot++);
}

const size_t kBehindDestructor = 2;

TEST(VirtualSlots, OfVariable)
{
    using V = Variable;
    using Index = AggregateIndex;
    ExpectInOrder(kBehindDestructor, &V::Clone, &V::name, &V::NextIdentity, &V::RealIdentity,
                  &V::value, &V::value_integer, &V::value_double, &V::value_compare, &V::type,
                  &V::primary_type, &V::preferred_type, static_cast<bool (V::*)()>(&V::IsTrue),
                  &V::IsNULL, &V::SetNULL, &V::aggregateelements, &V::aggregatetype, &V::refcount,
                  &V::SetName, static_cast<int (V::*)(const char*, int)>(&V::SetValue),
                  static_cast<int (V::*)(Variable&)>(&V::SetValue), &V::SetValue_Nocopy,
                  &V::SetValue_Integer, &V::SetValue_Double,
                  static_cast<Variable* (V::*)(const Index&, int)>(&V::Element),
                  static_cast<Variable* (V::*)(List<Index>*, int)>(&V::Element), &V::SetElement,
                  &V::InsertElement, &V::DeleteElement, &V::DeleteElements, &V::MergeElements,
                  &V::CopyElements, &V::CollapseElements, &V::Max, &V::Min, &V::Next, &V::Previous,
                  &V::ElementsUsed, &V::IncRefCount, &V::DecRefCount, &V::Convert_String,
                  &V::Convert_Integer, &V::Convert_Double, &V::Convert_Aggregate, &V::Serialize,
                  &V::Make_Reference, &V::Make_CallbackStruct);
    ExpectInOrder(SlotOf(&V::Make_CallbackStruct) + 1, &ImmutableVariable::Lock,
                  &ImmutableVariable::Unlock);
    ExpectInOrder(kBehindDestructor, &CallbackVariableCallback::RunFunction);
}

TEST(VirtualSlots, OfAggregates)
{
    using Element = AggregateElement;
    ExpectInOrder(kBehindDestructor, &Element::index, &Element::var, &Element::SetVariable);
    using Tree = SplayTree<Element, const AggregateIndex&, AggregateElementTree>;
    ExpectInOrder(kBehindDestructor, &Tree::Insert, &Tree::Remove, &Tree::Find, &Tree::Next,
                  &Tree::Previous, &Tree::First, &Tree::Last, &Tree::Dump, &Tree::Purge, &Tree::Key,
                  &Tree::Compare, &AggregateElementTree::Displace,
                  &AggregateElementTree::DisplaceRecurse, &AggregateElementTree::DisplaceStack);
}

struct Item {};

TEST(VirtualSlots, OfContainers)
{
    using L = List<Item>;
    ExpectInOrder(kBehindDestructor, &L::Insert, &L::Remove, &L::Entries, &L::Seek, &L::First,
                  &L::Last, &L::Current, &L::Next, &L::Previous, &L::Dump, &L::Purge,
                  &L::RemoveAll);
    using S = SearchableList<Item, int>;
    ExpectInOrder(SlotOf(&L::RemoveAll) + 1, &S::Find, &S::FindNext, &S::Compare);
    ExpectInOrder(
        SlotOf(&List<Variable>::RemoveAll) + 1,
        static_cast<void (VariableList::*)(Variable*, ListPosition, int)>(&VariableList::Insert));
    using K = Stack<Item>;
    ExpectInOrder(kBehindDestructor, &K::Entries, &K::Push, &K::Pop, &K::Top, &K::Peek, &K::Dump);
    using H = HashTable<Item>;
    ExpectInOrder(kBehindDestructor, &H::Dump, static_cast<unsigned int (H::*)(Item*)>(&H::hash),
                  static_cast<int (H::*)(Item*, Item*)>(&H::Compare),
                  static_cast<int (H::*)(Item*, const char*, int)>(&H::Compare));
}

}  // namespace
