#ifndef ZEPH_IMAGE_LOCALIZEDINDEX_H
#define ZEPH_IMAGE_LOCALIZEDINDEX_H

#include "variables/HashChains.h"
#include "variables/StringClass.h"

class NamePool;
class TaggedFile;

// Where the text of one key starts.
struct LocalizedIndexEntry {
    int key;    // in the Dictionary
    int first;  // LocalizedDictionary entry, -1 for none
};

// The texts of one language: from a key to the first piece of its text. Keys are
// compared by their dictionary text, without regard to letter case.
//
// The dictionary is borrowed. A failed read leaves what was there, with the text
// in error().
class LocalizedIndex {
public:
    // `block` is how many entries a growth adds.
    LocalizedIndex(NamePool* dictionary, int language, int bucket_bits, int block);
    LocalizedIndex(const LocalizedIndex&) = delete;
    LocalizedIndex& operator=(const LocalizedIndex&) = delete;
    virtual ~LocalizedIndex();
    virtual const String& error() { return m_error; }
    virtual void Error(const String& text) { m_error = text; }

    int language() const { return m_language; }
    int Entries() const { return m_count; }

    // Null when the key, an index in the dictionary, has no text here.
    LocalizedIndexEntry* Get_Entry(int identifier);
    // Adds a key with the first piece of its text; the entry's number. Pointers
    // got before are void.
    int Add_Entry(int identifier, int first);

    // The section of that tag. Read falls back on the one index of an old file,
    // and ends its section whatever the outcome: a language that is absent must
    // not be read from whichever section was selected last.
    bool Read(TaggedFile* file, int tag);
    bool Write(TaggedFile* file, int tag);

    // The tag of a language's index.
    static int Tag(int language) { return int(unsigned(language) << 16 | 0x584C); }

private:
    bool ReadSection(TaggedFile* file, int tag);
    bool ReadEntries(TaggedFile* file, HashChains* chains, int count);
    bool Failed(const String& text);

    NamePool* m_dictionary;  // borrowed
    int m_language;
    int m_block;
    HashChains m_chains;
    LocalizedIndexEntry* m_entries = nullptr;  // owned
    int m_capacity = 0;
    int m_count = 0;
    String m_error;
};

#endif
