#include "zephdump/LoadedImage.h"

#include <string.h>

#include "files/FileManager.h"
#include "image/FunctionManager.h"
#include "image/LocalizedDictionary.h"
#include "image/LocalizedIndex.h"
#include "image/LocalizedLanguages.h"
#include "image/TaggedFile.h"
#include "image/TaggedFileLayout.h"
#include "image/little_endian.h"
#include "image_text/WholeFile.h"
#include "variables/VariableHash.h"

namespace {

const int kSystemTag = SectionTag('s', 'y', 's', 't');
const int kGlobalTag = SectionTag('g', 'l', 'b', 'l');
const int kLanguagesTag = SectionTag('l', 'o', 'c', 'l');
const int kPiecesTag = SectionTag('l', 'o', 'c', 'd');
const int kFunctionsTag = SectionTag('f', 'u', 'n', 'c');

const struct {
    int tag;
    const char* name;
} kSections[] = {
    {SectionTag('d', 'i', 'c', 't'), "dict"},
    {kSystemTag, "syst"},
    {kGlobalTag, "glbl"},
    {kLanguagesTag, "locl"},
    {kPiecesTag, "locd"},
    {SectionTag('s', 'e', 'g', 's'), "segs"},
    {kFunctionsTag, "func"},
};

// Files up to this version may keep the index of their one language under tag 0.
const unsigned int kLastSingleIndexVersion = 0x10007;
const int kSharedIndexTag = 0;

const int kMostLanguages = 0x10000;  // their numbers stand in tags
const int kNoEntry = -1;

// How large the indexes of all languages may be together: what a small file may have,
// and how often a large one may repeat its bytes.
const long long kIndexBytes = 16 * 1024 * 1024;
const int kIndexRepeats = 16;

const int kBucketRecordSize = 6;
const int kIndexRecordSize = 12;

const int kBucketBits = 8;
const int kBlock = 64;

// Takes numbers from a range of bytes, one behind the other. Behind the end it gives
// zeros, and is short.
class ByteReader {
public:
    ByteReader(const unsigned char* start, const unsigned char* end) : m_at(start), m_end(end) {}

    int Byte() { return Holds(1) ? *m_at++ : 0; }
    int Word()
    {
        if (!Holds(2))
            return 0;
        m_at += 2;
        return int(GetWord(m_at - 2));
    }
    int Dword()
    {
        if (!Holds(4))
            return 0;
        m_at += 4;
        return GetDword(m_at - 4);
    }
    void Skip(int count) { m_at += Holds(count) ? count : 0; }
    // Whether that many records of a size stand here.
    bool HoldsRecords(int count, int size) { return count >= 0 && Holds((long long)count * size); }
    bool is_short() const { return m_is_short; }

private:
    bool Holds(long long count)
    {
        m_is_short |= m_end - m_at < count;
        return !m_is_short;
    }

    const unsigned char* m_at;
    const unsigned char* m_end;
    bool m_is_short = false;
};

// A table's header and buckets: all but its slots, whose count is the result.
int TakeBuckets(ByteReader* reader, int unused, TableRecords* table)
{
    int heads = reader->Word();
    table->bits = reader->Byte();
    int count = reader->Dword();
    reader->Skip(unused);
    for (int i = 0; i < heads && !reader->is_short(); ++i) {
        int number = reader->Word();
        table->buckets.Add({number, reader->Dword()});
    }
    return count;
}

// Slots of 4 bytes are only a link, those of 8 are a name and a link, and those of 12
// have the first piece as well.
void TakeSlots(ByteReader* reader, int count, int record_size, TableRecords* table)
{
    if (!reader->HoldsRecords(count, record_size))
        return;
    for (int i = 0; i < count; ++i) {
        TableRecords::Slot slot = {-1, -1, -1};
        if (record_size > 4)
            slot.name = reader->Dword();
        slot.next = reader->Dword();
        if (record_size > 8)
            slot.first = reader->Dword();
        table->slots.Add(slot);
    }
}

// How many entries of the directory lie within the file, and so are safe to look at.
int DirectoryEntries(const Array<char>& file)
{
    if (file.count() < kHeaderSize)
        return 0;
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(file.items());
    int offset = GetDword(bytes + kDirectoryOffsetAt);
    int entries = GetDword(bytes + kDirectoryEntriesAt);
    if (offset < 0 || offset > file.count())
        return 0;
    int held = (file.count() - offset) / kDirectoryEntrySize;
    return entries < held ? entries : held;
}

void TakeFunction(ByteReader* reader, FunctionRecord* function)
{
    function->name = reader->Dword();
    int parameters = reader->Dword();
    function->flags = reader->Dword();
    function->segment = reader->Dword();
    function->offset = reader->Dword();
    for (int i = 0; i < parameters && !reader->is_short(); ++i) {
        int name = reader->Dword();
        int flags = reader->Dword();
        function->parameters.Add({name, flags, reader->Dword()});
    }
    int locals = TakeBuckets(reader, 0, &function->locals);
    TakeSlots(reader, locals, 8, &function->locals);
}

}  // namespace

LoadedImage::~LoadedImage()
{
    for (int i = 0; i < m_indexes.count(); ++i)
        delete m_indexes[i];
    for (int i = 0; i < m_functions.count(); ++i)
        delete m_functions[i];
}

const unsigned char* LoadedImage::identifier() const
{
    return reinterpret_cast<const unsigned char*>(m_bytes.items()) + kIdentifierAt;
}

bool LoadedImage::Failed(const String& text)
{
    m_error = text;
    return false;
}

// The readers know every limit; what they accept is then taken record by record.
bool LoadedImage::Load(FileManager* manager, const char* path)
{
    return ReadAsRuntime(manager, path) && TakeTables();
}

bool LoadedImage::ReadAsRuntime(FileManager* manager, const char* path)
{
    TaggedFile file(manager);
    if (!file.Open(path, kOpenRead))
        return Failed(file.error());
    m_version = file.version();
    for (const auto& section : kSections)
        if (!file.Section_Exists(section.tag))
            return Failed(String("there is no section \"") + section.name + "\"");
    // Only now: what is no image may be of any size.
    if (!ReadWholeFile(manager, path, &m_bytes, &m_error))
        return false;
    if (!m_dictionary.Read(&file))
        return Failed("section \"dict\": " + m_dictionary.error());
    if (!ReadVariables(&file) || !ReadLanguages(&file))
        return false;
    if (!m_segments.Read(&file))
        return Failed("section \"segs\": " + m_segments.error());
    return ReadFunctions(&file);
}

bool LoadedImage::ReadVariables(TaggedFile* file)
{
    VariableHash table(&m_dictionary, kBucketBits, kBlock);
    if (!table.Read(file, kSystemTag))
        return Failed("section \"syst\": " + table.error());
    return table.Read(file, kGlobalTag) || Failed("section \"glbl\": " + table.error());
}

bool LoadedImage::ReadLanguages(TaggedFile* file)
{
    LocalizedLanguages languages(nullptr, &m_dictionary, file, kBucketBits, kBlock);
    if (!languages.Read())
        return Failed("section \"locl\": " + languages.error());
    LocalizedDictionary pieces;
    if (!pieces.Read(file))
        return Failed("section \"locd\": " + pieces.error());
    FindIndexes();
    const unsigned char* start;
    const unsigned char* end;
    for (int i = 0; i < languages.Entries() && i < kMostLanguages; ++i) {
        LocalizedIndex index(&m_dictionary, i, kBucketBits, kBlock);
        if (!FindIndex(i, &start, &end))
            continue;
        if (!index.Read(file, LocalizedIndex::Tag(i)))
            return Failed("index of a language: " + index.error());
        if (!ChargeIndex(i))
            return Failed("the indexes of the languages share too many bytes");
    }
    return true;
}

bool LoadedImage::ReadFunctions(TaggedFile* file)
{
    FunctionManager functions(&m_dictionary, kBucketBits);
    return functions.Read(file) || Failed("section \"func\": " + functions.error());
}

// What a directory entry stands for, of a file that the readers accept.
bool LoadedImage::FindEntry(long long entry, const unsigned char** start,
                            const unsigned char** end) const
{
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(m_bytes.items());
    long long size = m_bytes.count();
    const unsigned char* record =
        bytes + GetDword(bytes + kDirectoryOffsetAt) + entry * kDirectoryEntrySize;
    long long offset = GetDword(record + 4);
    long long section_end = offset + GetDword(record + 8);
    if (offset < 0 || section_end < offset)
        return false;
    *start = bytes + (offset < size ? offset : size);
    *end = bytes + (section_end < size ? section_end : size);
    return true;
}

// The directory's first entry of that tag, as in TaggedFile.
bool LoadedImage::FindSection(int tag, const unsigned char** start, const unsigned char** end) const
{
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(m_bytes.items());
    for (int i = 0; i < DirectoryEntries(m_bytes); ++i)
        if (GetDword(bytes + GetDword(bytes + kDirectoryOffsetAt) + i * kDirectoryEntrySize) == tag)
            return FindEntry(i, start, end);
    return false;
}

// In one walk for all languages, of which there may be as many as entries. From the
// last entry to the first, as the first of one tag counts.
void LoadedImage::FindIndexes()
{
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(m_bytes.items());
    const int kTagBits = 16;
    const unsigned int any_index = unsigned(LocalizedIndex::Tag(0));
    m_index_entries.Fill(kMostLanguages, kNoEntry);
    for (int i = DirectoryEntries(m_bytes) - 1; i >= 0; --i) {
        unsigned int tag = unsigned(
            GetDword(bytes + GetDword(bytes + kDirectoryOffsetAt) + i * kDirectoryEntrySize));
        if ((tag & 0xFFFF) == any_index)
            m_index_entries[int(tag >> kTagBits)] = i;
        if (tag == kSharedIndexTag)
            m_shared_index_entry = i;
    }
}

// A language without an index is sound for the readers.
bool LoadedImage::FindIndex(int language, const unsigned char** start,
                            const unsigned char** end) const
{
    if (language >= kMostLanguages)
        return false;
    int entry = m_index_entries[language];
    if (entry == kNoEntry && m_version <= kLastSingleIndexVersion)
        entry = m_shared_index_entry;
    return entry != kNoEntry && FindEntry(entry, start, end);
}

// Whether there is room for a language's index beside those before it.
bool LoadedImage::ChargeIndex(int language)
{
    const unsigned char* start;
    const unsigned char* end;
    if (!FindIndex(language, &start, &end))
        return true;
    ByteReader reader(start, end);
    int heads = reader.Word();
    reader.Skip(1);
    m_index_bytes += (long long)kBucketRecordSize * heads;
    m_index_bytes += (long long)kIndexRecordSize * reader.Dword();
    long long limit = (long long)kIndexRepeats * m_bytes.count();
    return m_index_bytes <= (limit > kIndexBytes ? limit : kIndexBytes);
}

bool LoadedImage::TakeTables()
{
    if (TakeTable(kSystemTag, &m_system) && TakeTable(kGlobalTag, &m_global) &&
        TakeTable(kLanguagesTag, &m_languages) && TakeIndexes() && TakePieces() && TakeFunctions())
        return true;
    return Failed("the file has changed while it was read");
}

// One whose slots have a name and no more.
bool LoadedImage::TakeTable(int tag, TableRecords* table)
{
    const unsigned char* start;
    const unsigned char* end;
    if (!FindSection(tag, &start, &end))
        return false;
    ByteReader reader(start, end);
    TakeSlots(&reader, TakeBuckets(&reader, 0, table), 8, table);
    return !reader.is_short();
}

bool LoadedImage::TakeIndexes()
{
    const int kUnused = 4;
    const unsigned char* start;
    const unsigned char* end;
    for (int i = 0; i < m_languages.slots.count(); ++i) {
        if (!FindIndex(i, &start, &end)) {
            m_indexes.Add(nullptr);
            continue;
        }
        TableRecords* table = new TableRecords;
        m_indexes.Add(table);
        ByteReader reader(start, end);
        TakeSlots(&reader, TakeBuckets(&reader, kUnused, table), kIndexRecordSize, table);
        if (reader.is_short())
            return false;
    }
    return true;
}

bool LoadedImage::TakePieces()
{
    const unsigned char* start;
    const unsigned char* end;
    if (!FindSection(kPiecesTag, &start, &end))
        return false;
    ByteReader reader(start, end);
    int count = reader.Dword();
    if (!reader.HoldsRecords(count, 12))
        return false;
    for (int i = 0; i < count; ++i) {
        int type = reader.Dword();
        int identifier = reader.Dword();
        m_pieces.Add({type, identifier, reader.Dword()});
    }
    return true;
}

bool LoadedImage::TakeFunctions()
{
    const unsigned char* start;
    const unsigned char* end;
    if (!FindSection(kFunctionsTag, &start, &end))
        return false;
    ByteReader reader(start, end);
    int count = TakeBuckets(&reader, 0, &m_function_table);
    TakeSlots(&reader, count, 4, &m_function_table);
    for (int i = 0; i < count && !reader.is_short(); ++i) {
        FunctionRecord* function = new FunctionRecord;
        m_functions.Add(function);
        TakeFunction(&reader, function);
        m_function_table.slots[i].name = function->name;
    }
    return !reader.is_short();
}
