#ifndef ZEPH_VARIABLES_STACK_H
#define ZEPH_VARIABLES_STACK_H

// A stack of pointers that can be walked from the top down. An owner deletes what
// it drops; what Pop returns belongs to the caller.
template <class T>
class Stack {
public:
    explicit Stack(int owner) : m_owner(owner) {}
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;

    // The order of these is binary interface.

    virtual ~Stack() { Stack::Dump(); }
    virtual int Entries() { return m_count; }
    // The cursor moves to the new value.
    virtual void Push(T* value)
    {
        m_top = new Node{m_top, value};
        m_cursor = m_top;
        ++m_count;
    }
    // Takes out and returns the value under the cursor and drops all above it: after
    // a walk by Peek, everything above the place that was reached. The cursor moves to
    // the new top. Null on an empty stack; a walk past the bottom drops everything.
    virtual T* Pop()
    {
        while (m_top && m_top != m_cursor)
            Drop();
        T* value = m_top ? Unlink() : nullptr;
        m_cursor = m_top;
        return value;
    }
    // The top value, or null; the cursor moves there.
    virtual T* Top()
    {
        m_cursor = m_top;
        return m_cursor ? m_cursor->value : nullptr;
    }
    // The value below the cursor, which moves there; null past the bottom.
    virtual T* Peek()
    {
        if (m_cursor)
            m_cursor = m_cursor->next;
        return m_cursor ? m_cursor->value : nullptr;
    }
    virtual void Dump()
    {
        while (m_top)
            Drop();
        m_cursor = nullptr;
    }

private:
    struct Node {
        Node* next;
        T* value;
    };

    T* Unlink()
    {
        Node* node = m_top;
        T* value = node->value;
        m_top = node->next;
        delete node;
        --m_count;
        return value;
    }
    void Drop()
    {
        T* value = Unlink();
        if (m_owner)
            delete value;
    }

    int m_owner;
    int m_count = 0;
    Node* m_top = nullptr;  // owned, as are all below it
    Node* m_cursor = nullptr;
};

#endif
