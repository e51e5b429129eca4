#ifndef ZEPH_TOOLS_ZEPHDUMP_NAMELOOKUP_H
#define ZEPH_TOOLS_ZEPHDUMP_NAMELOOKUP_H

#include "variables/VariableHash.h"
#include "zephdump/LoadedImage.h"

// Tells whether the name of a slot leads to that slot: whether no earlier slot has the
// same name in any letter case. The dictionary is borrowed.
class NameLookup {
public:
    NameLookup(Dictionary* dictionary, const TableRecords& table)
        : m_dictionary(dictionary), m_names(dictionary, kBucketBits, kBlock)
    {
        for (int i = 0; i < table.slots.count(); ++i) {
            m_indices.Add(table.slots[i].name);
            m_names.Insert(table.slots[i].name);
        }
    }

    // Null for a slot that can be told by its number only.
    const char* Name(int slot, int* length)
    {
        if (slot < 0 || slot >= m_indices.count())
            return nullptr;
        const char* name = m_dictionary->Entry(m_indices[slot], length);
        return name && m_names.Seek(-1, name, *length, nullptr) == slot ? name : nullptr;
    }

private:
    static const int kBucketBits = 12;
    static const int kBlock = 64;

    Dictionary* m_dictionary;  // borrowed
    VariableHash m_names;
    Array<int> m_indices;  // dictionary index of each slot
};

#endif
