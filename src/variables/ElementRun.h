#ifndef ZEPH_VARIABLES_ELEMENTRUN_H
#define ZEPH_VARIABLES_ELEMENTRUN_H

class AggregateElement;

// Array elements whose numbers lie close together, as a run of slots:
//
//   number   m_first  +1    +2    +3        m_first + m_span - 1
//   slot     [ e ]   [ e ] [   ] [ e ] ...  [ e ]
//
// Holes are allowed as long as they are few beside the elements; the first and the last
// slot always have one. Borrows its elements and moves them by their index() only. An
// operation that would break these rules does nothing and gives false: the caller then
// keeps the elements in another way.
class ElementRun {
public:
    // A run with no more elements than this takes any that follow without a hole.
    static constexpr int kMaxEntries = 1 << 28;

    ElementRun() {}
    ElementRun(const ElementRun&) = delete;
    ElementRun& operator=(const ElementRun&) = delete;
    ~ElementRun();

    int Entries() const { return m_count; }
    // False after a removal that left too many holes.
    bool IsDense() const { return m_span - m_count <= HolesAllowed(m_count); }

    // The element of a number, null for none.
    AggregateElement* At(int number) const
    {
        // What lies in front of the first one wraps around to a large offset.
        unsigned int offset = unsigned(number) - unsigned(m_first);
        return offset < unsigned(m_span) ? m_slots[m_begin + int(offset)] : nullptr;
    }
    // The nearest element from a number on, upward or downward; null for none.
    AggregateElement* AtOrBehind(long long number) const;
    AggregateElement* AtOrInFrontOf(long long number) const;
    AggregateElement* First() const { return m_count ? m_slots[m_begin] : nullptr; }
    AggregateElement* Last() const { return m_count ? m_slots[m_begin + m_span - 1] : nullptr; }

    // Puts an element into the free slot of its number.
    bool Put(int number, AggregateElement* element);
    // Takes the element of a number out and returns it, null for none.
    AggregateElement* Take(int number);
    // Adds `delta` to the numbers from `start` on.
    bool Displace(int start, int delta);
    // Numbers all elements from 1 on, without holes.
    void Collapse();
    // Forgets all elements.
    void Clear();
    void Swap(ElementRun& other);

    // Calls `visit(AggregateElement*)` for each element in order.
    template <class Visit>
    void ForEach(Visit visit) const
    {
        for (int i = 0; i < m_span; ++i) {
            if (AggregateElement* element = m_slots[m_begin + i])
                visit(element);
        }
    }

private:
    static int HolesAllowed(int count)
    {
        const int kAlwaysAllowed = 64;
        return kAlwaysAllowed + count / 4;
    }
    // Widens the span by free slots in front or behind; false if they would be too many.
    bool WidenInFront(long long slots);
    bool WidenBehind(long long slots);
    bool MakeRoom(long long front, long long behind);
    void Move(int capacity, int begin);
    void Trim();
    // Moves what stands from slot `from` on by `delta` slots. There is room for it.
    void MoveTail(int from, int delta);

    AggregateElement** m_slots = nullptr;  // owned
    int m_capacity = 0;
    int m_begin = 0;  // slot of the first element
    int m_span = 0;   // slots from the first to the last element
    int m_first = 0;  // number of the first element
    int m_count = 0;
};

#endif
