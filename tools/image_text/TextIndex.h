#ifndef ZEPH_TOOLS_IMAGE_TEXT_TEXTINDEX_H
#define ZEPH_TOOLS_IMAGE_TEXT_TEXTINDEX_H

#include "image_text/Array.h"
#include "variables/HashTable.h"

class Dictionary;

// Finds the first dictionary entry that is exactly a given text, letter case and
// all. The dictionary is borrowed; each of its entries is told to the index, in
// order, by Add.
class TextIndex {
public:
    explicit TextIndex(Dictionary* dictionary);

    void Add(int entry);
    // -1 when no entry is that text.
    int Find(const char* text, int length) const;

private:
    struct Known {
        int entry;
    };
    class Table : public HashTable<Known> {
    public:
        explicit Table(Dictionary* dictionary);

    protected:
        const char* Key(Known* known, int* length) override;

    private:
        Dictionary* m_dictionary;  // borrowed
    };

    Table m_table;
};

#endif
