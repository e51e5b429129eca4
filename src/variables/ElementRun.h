#ifndef ZEPH_VARIABLES_ELEMENTRUN_H
#define ZEPH_VARIABLES_ELEMENTRUN_H

#include "variables/ElementSlot.h"

// Array elements whose numbers lie close together, as a run of slots:
//
//   number   m_first  +1    +2    +3        m_first + m_span - 1
//   slot     [ e ]   [ 7 ] [   ] [ e ] ...  [ e ]
//
// Holes are allowed as long as they are few beside the elements; the first and the last
// slot always have one. Moves its elements by their index() only. An operation that would
// break these rules does nothing and gives false: the caller then keeps the elements in
// another way.
//
// A slot may have a plain number instead of an element (see ElementSlot), which costs a
// twentieth of the memory. It counts as the element that it stands for, and whoever asks for
// that one gets it: it is made then, and takes the slot. So elements are borrowed from
// whoever holds the run, and those that are made pass to it.
class ElementRun {
public:
    // A run with no more elements than this takes any that follow without a hole.
    static constexpr int kMaxEntries = 1 << 28;
    // In the place of a number where there is no element.
    static constexpr int kNoNumber = -2;

    ElementRun() {}
    ElementRun(const ElementRun&) = delete;
    ElementRun& operator=(const ElementRun&) = delete;
    ~ElementRun();

    int Entries() const { return m_count; }
    // False after a removal that left too many holes.
    bool IsDense() const { return m_span - m_count <= HolesAllowed(m_count); }

    // The slot of a number, null outside of the span. It may be set anew if it has a number.
    ElementSlot* SlotOf(int number) const
    {
        // What lies in front of the first one wraps around to a large offset.
        unsigned int offset = unsigned(number) - unsigned(m_first);
        return offset < unsigned(m_span) ? &m_slots[m_begin + int(offset)] : nullptr;
    }
    // The element of a number, null for none.
    AggregateElement* At(int number) const
    {
        ElementSlot* slot = SlotOf(number);
        return slot ? ElementOf(slot) : nullptr;
    }
    // The nearest element from a number on, upward or downward; null for none.
    AggregateElement* AtOrBehind(long long number) const
    {
        return ElementAt(PlaceAtOrBehind(number));
    }
    AggregateElement* AtOrInFrontOf(long long number) const
    {
        return ElementAt(PlaceAtOrInFrontOf(number));
    }
    AggregateElement* First() const { return ElementAt(m_count ? 0 : kNoPlace); }
    AggregateElement* Last() const { return ElementAt(m_count ? m_span - 1 : kNoPlace); }

    // The same, but the number of the element, kNoNumber for none.
    int NumberAtOrBehind(long long number) const { return NumberAt(PlaceAtOrBehind(number)); }
    int NumberAtOrInFrontOf(long long number) const { return NumberAt(PlaceAtOrInFrontOf(number)); }
    int FirstNumber() const { return m_count ? m_first : kNoNumber; }
    int LastNumber() const { return m_count ? m_first + (m_span - 1) : kNoNumber; }

    // Puts an element into the free slot of its number.
    bool Put(int number, AggregateElement* element) { return Put(number, ElementSlot(element)); }
    bool Put(int number, ElementSlot slot)
    {
        // Mostly what follows the last element.
        if (m_count == 0 || (long long)number != (long long)m_first + m_span ||
            m_begin + m_span >= m_capacity)
            return PutAnywhere(number, slot);
        m_slots[m_begin + m_span++] = slot;
        ++m_count;
        return true;
    }
    // Takes the element of a number out and returns it, null for none.
    AggregateElement* Take(int number);
    // Empties the slot of a number if it has a plain one.
    bool Drop(int number);
    // Adds `delta` to the numbers from `start` on.
    bool Displace(int start, int delta);
    // Numbers all elements from 1 on, without holes.
    void Collapse();
    // Forgets all elements.
    void Clear();
    void Swap(ElementRun& other);
    // Makes an empty run a copy of another one that has plain numbers only; false if it has
    // elements.
    bool CopyNumbers(const ElementRun& other);

    // Calls `visit(AggregateElement*)` for each element in order.
    template <class Visit>
    void ForEach(Visit visit) const
    {
        for (int i = 0; i < m_span; ++i) {
            if (AggregateElement* element = ElementAt(i))
                visit(element);
        }
    }
    // The same without those that a plain number stands for.
    template <class Visit>
    void ForEachMade(Visit visit) const
    {
        for (int i = 0; i < m_span; ++i) {
            ElementSlot slot = m_slots[m_begin + i];
            if (!slot.IsEmpty() && !slot.IsNumber())
                visit(slot.element());
        }
    }
    // The next slot that is not empty, in order, and its number; an empty one at the end.
    // `place` is kept for the next call and starts as 0.
    ElementSlot Walk(int* place, int* number) const;

private:
    static constexpr int kNoPlace = -1;

    static int HolesAllowed(int count)
    {
        const int kAlwaysAllowed = 64;
        return kAlwaysAllowed + count / 4;
    }
    // Places count the slots from the first element on.
    int PlaceAtOrBehind(long long number) const;
    int PlaceAtOrInFrontOf(long long number) const;
    int NumberAt(int place) const { return place < 0 ? kNoNumber : m_first + place; }
    AggregateElement* ElementAt(int place) const
    {
        return place < 0 ? nullptr : ElementOf(&m_slots[m_begin + place]);
    }
    AggregateElement* ElementOf(ElementSlot* slot) const
    {
        return slot->IsNumber() ? MakeElement(slot) : slot->element();
    }
    AggregateElement* MakeElement(ElementSlot* slot) const;
    bool PutAnywhere(int number, ElementSlot slot);
    void Empty(int number);
    // Widens the span by free slots in front or behind; false if they would be too many.
    bool WidenInFront(long long slots);
    bool WidenBehind(long long slots);
    bool MakeRoom(long long front, long long behind);
    void Move(int capacity, int begin);
    void Trim();
    // Moves what stands from slot `from` on by `delta` slots. There is room for it.
    void MoveTail(int from, int delta);
    // Empties slots, whatever they hold. Places may be in front of and behind the span.
    void ClearSlots(int place, long long count);

    ElementSlot* m_slots = nullptr;  // owned
    int m_capacity = 0;
    int m_begin = 0;  // slot of the first element
    int m_span = 0;   // slots from the first to the last element
    int m_first = 0;  // number of the first element
    int m_count = 0;
};

#endif
