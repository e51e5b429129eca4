#ifndef ZEPH_VARIABLES_SEARCHABLELIST_H
#define ZEPH_VARIABLES_SEARCHABLELIST_H

#include "variables/List.h"

// A list whose values are also found by a key. A derived list supplies Compare.
template <class T, class K>
class SearchableList : public List<T> {
public:
    explicit SearchableList(int owner) : List<T>(owner) {}

    // The order of these is binary interface, behind the operations of List.

    // The first value for which Compare gives 0, from the head or from behind the
    // cursor. The cursor stays on it; null, and a cursor past the end, if there is none.
    virtual T* Find(K key)
    {
        this->m_current = this->m_first;
        return Scan(key);
    }
    virtual T* FindNext(K key)
    {
        if (this->m_current)
            this->m_current = this->m_current->next;
        return Scan(key);
    }
    virtual int Compare(K key, T* value) = 0;

private:
    T* Scan(K key)
    {
        while (this->m_current && Compare(key, this->m_current->value) != 0)
            this->m_current = this->m_current->next;
        return this->m_current ? this->m_current->value : nullptr;
    }
};

#endif
