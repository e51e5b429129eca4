#ifndef ZEPH_TOOLS_ZEPHASM_IMAGEBUILDER_H
#define ZEPH_TOOLS_ZEPHASM_IMAGEBUILDER_H

#include "image/Dictionary.h"
#include "image/LocalizedDictionary.h"
#include "image/SegmentManager.h"
#include "image_text/TextBuffer.h"
#include "image_text/TextIndex.h"
#include "zephasm/SlotTable.h"

class FileManager;
class Function;
class FunctionManager;
class LocalizedLanguages;
class Segment;

// The hashed tables whose number of buckets the writer of a program may choose.
enum BucketTable {
    kSystemBuckets,
    kGlobalBuckets,
    kFunctionBuckets,
    kLanguageBuckets
};
inline constexpr int kBucketTables = 4;

// A compiled file in the making.
//
// Knows nothing of assembly text. Tables are given their final form when all is
// known, so their sizes may be told at any time before that.
class ImageBuilder {
public:
    static const int kIdentifierSize = 16;
    static const int kMostLanguages = 0x10000;  // their numbers stand in tags

    ImageBuilder();
    ImageBuilder(const ImageBuilder&) = delete;
    ImageBuilder& operator=(const ImageBuilder&) = delete;
    ~ImageBuilder();

    void SetVersion(int version) { m_version = version; }
    void SetIdentifier(const char* bytes);
    void SetBucketBits(BucketTable table, int bits) { m_bits[table] = bits; }
    // Whether a table, with the names that it has now, can be stored with that many
    // buckets; if not, the reason is in `fault`.
    bool BucketsFit(BucketTable table, TextBuffer* fault);
    void AddFlags(int flags) { m_dictionary.SetFlags(m_dictionary.flags() | flags); }

    // The first entry of exactly that text, made if there is none; and always a new
    // entry.
    int Text(const char* text, int length);
    int AddText(const char* text, int length);

    SlotTable* system() { return &m_system; }
    SlotTable* global() { return &m_global; }

    // The next segment. The start segment is the first one unless told otherwise.
    Segment* AddSegment();
    void SetStart(const Segment* segment);

    // The next function; without code until its SetCode. Names are dictionary
    // indices. Calls may be resolved once all functions are there: FindFunction gives
    // the index of the first one of that name, or -1, and ends the adding.
    Function* AddFunction(int name, int flags);
    void AddParameter(Function* function, int name, int flags, int slot);
    void AddParameter(Function* function, int name, int flags);
    int FindFunction(const char* name, int length);

    // The next language; the first of that name, in any letter case, or -1.
    int AddLanguage(int name);
    int FindLanguage(const char* name, int length);
    int languages() const { return m_language_names.count(); }
    // The next piece of localized text; and the first piece, or -1, for a key.
    void AddPiece(int type, int identifier, int next);
    int pieces() const { return m_pieces.Entries(); }
    void AddLocalized(int language, int key, int first);

    // Writes all into the file at `path`: see OutputFile. On failure false, with the
    // text in `error`, and `path` is as it was.
    bool Write(FileManager* manager, const char* path, String* error);

private:
    // A language's text for a key.
    struct Localized {
        int language;
        int key;
        int first;
    };

    void MakeFunctions();
    int NameCount(BucketTable table) const;
    const char* Name(BucketTable table, int number, int* length);
    bool WriteSections(TaggedFile* file, String* error);
    bool WriteLanguages(TaggedFile* file, String* error);

    int m_version = 0;  // 0 stands for the newest
    char m_identifier[kIdentifierSize] = {};
    int m_bits[kBucketTables];
    Dictionary m_dictionary;
    TextIndex m_texts;
    SlotTable m_system;
    SlotTable m_global;
    SegmentManager m_segments;
    int m_segment_count = 0;
    Array<Function*> m_functions;                 // owned until they are in the table
    FunctionManager* m_function_table = nullptr;  // owned; null until all are there
    SlotTable m_languages;                        // a list of names like any other
    Array<int> m_language_names;
    Array<Localized> m_localized;
    LocalizedDictionary m_pieces;
};

#endif
