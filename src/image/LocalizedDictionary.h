#ifndef ZEPH_IMAGE_LOCALIZEDDICTIONARY_H
#define ZEPH_IMAGE_LOCALIZEDDICTIONARY_H

#include "variables/StringClass.h"

class TaggedFile;

// One piece of a localized text. The types are stored; do not renumber.
struct LocalizedDictionaryEntry {
    static constexpr int kVariable = 0;  // identifier is that of the variable's name
    static constexpr int kText = 1;      // identifier is that of the text

    int type;
    int identifier;  // in the Dictionary
    int next;        // entry with the following piece, -1 at the end
};

// The pieces of all localized texts of an image, in all languages, by number.
//
// Knows neither languages nor what the identifiers stand for. A failed read leaves
// what was there, with the text in error().
class LocalizedDictionary {
public:
    LocalizedDictionary() {}
    LocalizedDictionary(const LocalizedDictionary&) = delete;
    LocalizedDictionary& operator=(const LocalizedDictionary&) = delete;
    virtual ~LocalizedDictionary();
    virtual const String& error() { return m_error; }
    virtual void Error(const String& text) { m_error = text; }

    // Null for an index out of range.
    LocalizedDictionaryEntry* Entry(int index)
    {
        return index >= 0 && index < m_count ? &m_entries[index] : nullptr;
    }
    int Entries() const { return m_count; }
    // The new entry's index; pointers got before are void.
    int Entry_Add(int type, int identifier, int next);

    // The "locd" section.
    bool Read(TaggedFile* file);
    bool Write(TaggedFile* file);

private:
    bool ReadSection(TaggedFile* file);
    bool Failed(const String& text);

    LocalizedDictionaryEntry* m_entries = nullptr;  // owned
    int m_capacity = 0;
    int m_count = 0;
    String m_error;
};

#endif
