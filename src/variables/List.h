#ifndef ZEPH_VARIABLES_LIST_H
#define ZEPH_VARIABLES_LIST_H

// Where a List inserts or removes. The numbers are known outside.
enum ListPosition {
    kListHead = 0,
    kListCursor = 1,
    kListTail = 2,
};

// A doubly linked list of pointers with a cursor of its own. A list that is an owner
// passes the values that it still holds at its end to Purge, which deletes them; a
// derived list that overrides Purge calls Dump() in its own destructor.
template <class T>
class List {
public:
    explicit List(int owner) : m_owner(owner) {}
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    // The order of these is binary interface.

    virtual ~List() { List::Dump(); }
    // Inserts at an end, or in front of the cursor; a cursor past the end inserts at
    // the tail. The cursor moves to the new node.
    virtual void Insert(T* value, ListPosition position)
    {
        Node* node = new Node{nullptr, nullptr, value};
        Node* behind = nullptr;
        if (position == kListHead)
            behind = m_first;
        else if (position == kListCursor)
            behind = m_current;
        LinkInFrontOf(node, behind);
        m_current = node;
        ++m_count;
    }
    // Takes a node out and returns its value, not deleted. At the cursor, the cursor
    // moves to the next node; at an end it moves only if it stood on that node.
    virtual T* Remove(ListPosition position)
    {
        // Counted before the list is looked at, on purpose: taking out what is not there,
        // from an empty list or at a cursor past an end, is a mistake of the caller.
        --m_count;
        Node* node = m_current;
        if (position != kListCursor)
            node = position == kListHead ? m_first : m_last;
        if (!node)
            return nullptr;
        if (node == m_current)
            m_current = position == kListTail ? node->previous : node->next;
        Unlink(node);
        T* value = node->value;
        delete node;
        return value;
    }
    virtual int Entries() { return m_count; }
    // Finds by identity, from the head, and leaves the cursor there; null if absent.
    virtual T* Seek(T* value)
    {
        m_current = m_first;
        while (m_current && m_current->value != value)
            m_current = m_current->next;
        return Current();
    }
    // These move the cursor and return the value there. Past an end the cursor stands
    // nowhere, and all but First and Last give null.
    virtual T* First()
    {
        m_current = m_first;
        return List::Current();
    }
    virtual T* Last()
    {
        m_current = m_last;
        return List::Current();
    }
    virtual T* Current() { return m_current ? m_current->value : nullptr; }
    virtual T* Next()
    {
        if (m_current)
            m_current = m_current->next;
        return List::Current();
    }
    virtual T* Previous()
    {
        if (m_current)
            m_current = m_current->previous;
        return List::Current();
    }
    // Empties the list; an owner purges the values, from first to last.
    virtual void Dump()
    {
        while (m_first) {
            Node* node = m_first;
            m_first = node->next;
            if (m_owner)
                Purge(node->value);
            delete node;
        }
        Forget();
    }
    // Ends a value that the list owns.
    virtual void Purge(T* value) { delete value; }
    // Empties the list; the values stay.
    virtual void RemoveAll()
    {
        while (m_first) {
            Node* node = m_first;
            m_first = node->next;
            delete node;
        }
        Forget();
    }

protected:
    struct Node {
        Node* previous;
        Node* next;
        T* value;
    };

    int m_owner;
    int m_count = 0;
    Node* m_first = nullptr;    // owned, as are all behind it
    Node* m_current = nullptr;  // the cursor; null past an end
    Node* m_last = nullptr;

private:
    // A null `behind` is the end of the list.
    void LinkInFrontOf(Node* node, Node* behind)
    {
        node->next = behind;
        node->previous = behind ? behind->previous : m_last;
        (node->previous ? node->previous->next : m_first) = node;
        (behind ? behind->previous : m_last) = node;
    }
    void Unlink(Node* node)
    {
        (node->previous ? node->previous->next : m_first) = node->next;
        (node->next ? node->next->previous : m_last) = node->previous;
    }
    void Forget()
    {
        m_count = 0;
        m_current = nullptr;
        m_last = nullptr;
    }
};

#endif
