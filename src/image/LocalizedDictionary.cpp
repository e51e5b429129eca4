#include "image/LocalizedDictionary.h"

#include <stdlib.h>

#include "image/BucketRecords.h"
#include "image/SectionBytes.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"
#include "variables/allocation.h"

namespace {

// The "locd" section.
//
//   0  4             entries
//   4  12 x entries  per entry: 4 type, 4 identifier, 4 next
const int kTag = SectionTag('l', 'o', 'c', 'd');
const int kHeaderSize = 4;
const int kRecordSize = 12;
const int kMaximumEntries = 0xAAAAAAA;

// Entries by which the table grows.
const int kBlock = 128;

}  // namespace

LocalizedDictionary::~LocalizedDictionary()
{
    free(m_entries);
}

bool LocalizedDictionary::Failed(const String& text)
{
    Error(text);
    return false;
}

int LocalizedDictionary::Entry_Add(int type, int identifier, int next)
{
    if (m_count == m_capacity) {
        m_capacity += kBlock;
        m_entries = static_cast<LocalizedDictionaryEntry*>(
            GrownMemory(m_entries, size_t(m_capacity), sizeof(LocalizedDictionaryEntry)));
    }
    m_entries[m_count] = {type, identifier, next};
    return m_count++;
}

bool LocalizedDictionary::Read(TaggedFile* file)
{
    if (!file->Section_Read_Start(kTag, nullptr))
        return Failed(file->error());
    bool is_read = ReadSection(file);
    file->Section_Read_End();
    return is_read;
}

bool LocalizedDictionary::ReadSection(TaggedFile* file)
{
    SectionBytes header;
    if (!header.Read(file, kHeaderSize))
        return Failed(file->error());
    int count = GetDword(header.bytes());
    if (count < 0 || count > kMaximumEntries)
        return Failed("loc_dictionary_header.entries out of range");
    SectionBytes records;
    if (!records.Read(file, (long long)kRecordSize * count))
        return Failed(file->error());
    LocalizedDictionaryEntry* entries = static_cast<LocalizedDictionaryEntry*>(
        GrownMemory(nullptr, size_t(count), sizeof(LocalizedDictionaryEntry)));
    for (int i = 0; i < count; ++i) {
        const unsigned char* record = records.bytes() + (long long)kRecordSize * i;
        entries[i] = {GetDword(record), GetDword(record + 4), GetDword(record + 8)};
        if (unsigned(entries[i].type) > LocalizedDictionaryEntry::kText) {
            free(entries);
            return Failed("Invalid localized dictionary entry type");
        }
    }
    free(m_entries);
    m_entries = entries;
    m_capacity = m_count = count;
    return true;
}

bool LocalizedDictionary::Write(TaggedFile* file)
{
    file->Section_Start(kTag);
    char header[kHeaderSize];
    PutDword(header, m_count);
    if (!WriteSection(file, header, kHeaderSize, &m_error))
        return false;
    for (int i = 0; i < m_count; ++i) {
        char record[kRecordSize];
        PutDword(record, m_entries[i].type);
        PutDword(record + 4, m_entries[i].identifier);
        PutDword(record + 8, m_entries[i].next);
        if (!WriteSection(file, record, kRecordSize, &m_error))
            return false;
    }
    file->Section_End();
    return true;
}
