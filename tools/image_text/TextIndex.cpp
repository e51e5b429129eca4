#include "image_text/TextIndex.h"

#include "image/Dictionary.h"

namespace {

const int kOwner = 1;
const int kCaseMatters = 0;
const int kBucketBits = 12;
const int kBlock = 512;

}  // namespace

TextIndex::Table::Table(Dictionary* dictionary)
    : HashTable(kOwner, kCaseMatters, kBucketBits, kBlock), m_dictionary(dictionary)
{
}

const char* TextIndex::Table::Key(Known* known, int* length)
{
    return m_dictionary->Entry(known->entry, length);
}

TextIndex::TextIndex(Dictionary* dictionary) : m_table(dictionary) {}

// Of equal texts only the first is kept: it is the one to be found.
void TextIndex::Add(int entry)
{
    Known known = {entry};
    if (!m_table.Find(&known))
        m_table.Insert(new Known(known));
}

int TextIndex::Find(const char* text, int length) const
{
    Known* known = m_table.Find(text, length);
    return known ? known->entry : -1;
}
