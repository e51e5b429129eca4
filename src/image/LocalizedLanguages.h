#ifndef ZEPH_IMAGE_LOCALIZEDLANGUAGES_H
#define ZEPH_IMAGE_LOCALIZEDLANGUAGES_H

#include "variables/HashChains.h"
#include "variables/StringClass.h"

class LocalizedIndex;
class NamePool;
class TaggedFile;
class ZephApplication;
struct LocalizedIndexEntry;

// A language of an image.
struct LocalizedLanguage {
    int name;               // in the Dictionary
    LocalizedIndex* index;  // owned by the table; null until the language is needed
};

// The languages of an image, and the text of a key in the language of the moment.
//
// An index is read from the file when its language is first asked for, so the file
// must outlive the table's use; application, dictionary and file are borrowed. A
// language that is not in the file is no error. A failed read leaves what was
// there, with the text in error().
class LocalizedLanguages {
public:
    // `block` is how many languages a growth adds. The application may be null
    // where no language of the moment is asked for.
    LocalizedLanguages(ZephApplication* application, NamePool* dictionary, TaggedFile* file,
                       int bucket_bits, int block);
    LocalizedLanguages(const LocalizedLanguages&) = delete;
    LocalizedLanguages& operator=(const LocalizedLanguages&) = delete;
    virtual ~LocalizedLanguages();
    virtual const String& error() { return m_error; }
    virtual void Error(const String& text) { m_error = text; }

    int Entries() const { return m_count; }

    // The language of that name, in any letter case, with its index loaded; null
    // when there is none or its index cannot be read.
    LocalizedLanguage* Get_Language_Entry(const char* name, int length);
    // The text of a key in the application's language, else in its default
    // language; null for none.
    LocalizedIndexEntry* Get_Entry(int identifier);

    // Building: the text of a key in a language given by number, whose index must
    // be there; a new language, whose number is returned; a new key of a language,
    // with the first piece of its text. -1 for a language that does not exist.
    LocalizedIndexEntry* Get_Entry(int language, int identifier);
    int Add_Entry(const char* name, int length);
    int Add_Entry(int language, int identifier, int first);

    // The "locl" section. Write adds a section for each index that is loaded.
    bool Read();
    bool Write(TaggedFile* file);

private:
    // A language found for a value of the application's counter.
    struct Cached {
        bool is_valid = false;
        int count = 0;
        int language = -1;
    };

    bool ReadSection();
    bool ReadEntries(HashChains* chains, int count);
    int Find(const char* name, int length);
    bool LoadIndex(int language);
    LocalizedIndexEntry* Lookup(Cached* cached, const String& name, int count, int identifier);
    void Forget();
    bool Failed(const String& text);

    ZephApplication* m_application;  // borrowed
    NamePool* m_dictionary;          // borrowed
    TaggedFile* m_file;              // borrowed
    int m_block;
    HashChains m_chains;
    LocalizedLanguage* m_entries = nullptr;  // owned
    int m_capacity = 0;
    int m_count = 0;
    Cached m_current;
    Cached m_default;
    String m_error;
};

#endif
