#ifndef ZEPH_TOOLS_ZEPHASM_SLOTTABLE_H
#define ZEPH_TOOLS_ZEPHASM_SLOTTABLE_H

#include "image_text/Array.h"
#include "variables/VariableHash.h"

// The variables of one scope, in the order of their declaration. The dictionary is
// borrowed.
class SlotTable {
public:
    explicit SlotTable(NamePool* dictionary)
        : m_dictionary(dictionary), m_hash(dictionary, kBucketBits, kBlock)
    {
    }

    // A new slot, named by a dictionary index.
    int Declare(int name)
    {
        m_names.Add(name);
        return m_hash.Insert(name);
    }
    // The first slot of that name, in any letter case, or -1.
    int Find(const char* name, int length) { return m_hash.Seek(-1, name, length, nullptr); }
    // The dictionary index of each slot's name.
    const Array<int>& names() const { return m_names; }

    // Writes the table, with 2 to the power of `bits` buckets, as a section.
    bool Write(TaggedFile* file, int tag, int bits, String* error) const
    {
        VariableHash table(m_dictionary, bits, m_names.count());
        for (int i = 0; i < m_names.count(); ++i)
            table.Insert(m_names[i]);
        if (table.Write(file, tag))
            return true;
        *error = table.error();
        return false;
    }

private:
    static const int kBucketBits = 12;
    static const int kBlock = 64;

    NamePool* m_dictionary;  // borrowed
    VariableHash m_hash;     // for Find
    Array<int> m_names;      // dictionary index of each slot
};

#endif
