#ifndef ZEPH_TOOLS_ZEPHDUMP_LOADEDIMAGE_H
#define ZEPH_TOOLS_ZEPHDUMP_LOADEDIMAGE_H

#include "image/Dictionary.h"
#include "image/SegmentManager.h"
#include "image_text/Array.h"
#include "variables/StringClass.h"

class FileManager;
class TaggedFile;

// The records of one hashed table as they stand in the file.
struct TableRecords {
    struct Bucket {
        int number;
        int head;  // first slot of its chain
    };
    struct Slot {
        int name;   // dictionary index
        int next;   // slot of the same chain, -1 at the end
        int first;  // of a language's index: the first piece of the text
    };

    unsigned int bucket_count() const { return 1u << (bits & 31); }

    int bits = 0;
    Array<Bucket> buckets;
    Array<Slot> slots;
};

// A function as it stands in the file.
struct FunctionRecord {
    struct Parameter {
        int name;
        int flags;
        int slot;
    };

    int name;
    int flags;
    int segment;
    int offset;
    Array<Parameter> parameters;
    TableRecords locals;
};

// A piece of localized text as it stands in the file.
struct PieceRecord {
    int type;
    int identifier;
    int next;
};

// A compiled file with everything that is in it, tables in the form that they have in
// the file: chains and all.
//
// A file loads when all readers of the runtime accept it, every section being there.
// Indices within it may still be wrong. Otherwise the text is in error(). The runtime
// reads one language's index at a time; here all are held at once, so a file in which
// thousands of languages share their bytes is refused.
class LoadedImage {
public:
    static const int kIdentifierSize = 16;

    LoadedImage() {}
    LoadedImage(const LoadedImage&) = delete;
    LoadedImage& operator=(const LoadedImage&) = delete;
    ~LoadedImage();

    // Once for each object.
    bool Load(FileManager* manager, const char* path);
    const String& error() const { return m_error; }

    unsigned int version() const { return m_version; }
    const unsigned char* identifier() const;
    Dictionary* dictionary() { return &m_dictionary; }
    const SegmentManager& segments() const { return m_segments; }
    const TableRecords& system() const { return m_system; }
    const TableRecords& global() const { return m_global; }
    const TableRecords& languages() const { return m_languages; }
    // Null for a language without an index.
    const TableRecords* index(int language) const { return m_indexes[language]; }
    const Array<PieceRecord>& pieces() const { return m_pieces; }
    const TableRecords& functions() const { return m_function_table; }
    const FunctionRecord& function(int number) const { return *m_functions[number]; }
    int function_count() const { return m_functions.count(); }

private:
    bool Failed(const String& text);
    bool ReadAsRuntime(FileManager* manager, const char* path);
    bool ReadVariables(TaggedFile* file);
    bool ReadLanguages(TaggedFile* file);
    bool ReadFunctions(TaggedFile* file);
    bool FindSection(int tag, const unsigned char** start, const unsigned char** end) const;
    bool FindEntry(long long entry, const unsigned char** start, const unsigned char** end) const;
    void FindIndexes();
    bool FindIndex(int language, const unsigned char** start, const unsigned char** end) const;
    bool ChargeIndex(int language);
    bool TakeTables();
    bool TakeTable(int tag, TableRecords* table);
    bool TakeIndexes();
    bool TakePieces();
    bool TakeFunctions();

    String m_error;
    Array<char> m_bytes;  // the whole file
    unsigned int m_version = 0;
    Dictionary m_dictionary;
    SegmentManager m_segments;
    TableRecords m_system;
    TableRecords m_global;
    TableRecords m_languages;
    Array<int> m_index_entries;      // for each language: where the directory has its index
    int m_shared_index_entry = -1;   // that of an old file; -1 for none, as above
    long long m_index_bytes = 0;     // of the indexes of all languages up to the present
    Array<TableRecords*> m_indexes;  // owned
    Array<PieceRecord> m_pieces;
    TableRecords m_function_table;
    Array<FunctionRecord*> m_functions;  // owned
};

#endif
