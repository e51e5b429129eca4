#include "image/LocalizedIndex.h"

#include <stdlib.h>

#include "image/BucketRecords.h"
#include "image/SectionBytes.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"
#include "variables/NameOrder.h"
#include "variables/NamePool.h"
#include "variables/allocation.h"

namespace {

// A language's section: header and bucket records, then per entry
//   0  4  key    in the Dictionary
//   4  4  next   entry of the chain, -1 at the end
//   8  4  first  LocalizedDictionary entry, -1 for none
const int kRecordSize = 12;

// Files up to this version may have one index only, under tag 0.
const unsigned int kLastSingleIndexVersion = 0x10007;
const int kSingleIndexTag = 0;

const BucketRecordRules kRules = {
    11,
    0xFFFFFFF,
    "localized_index_header.bucket_bits out of range",
    "localized_index_header.index_count out of range",
    "localized_index_header.bucket_entries out of range",
    "localized_index_bucket.index out of range",
};

}  // namespace

LocalizedIndex::LocalizedIndex(NamePool* dictionary, int language, int bucket_bits, int block)
    : m_dictionary(dictionary), m_language(language), m_block(block), m_chains(bucket_bits)
{
}

LocalizedIndex::~LocalizedIndex()
{
    free(m_entries);
}

bool LocalizedIndex::Failed(const String& text)
{
    Error(text);
    return false;
}

LocalizedIndexEntry* LocalizedIndex::Get_Entry(int identifier)
{
    int length;
    const char* name = m_dictionary->Entry(identifier, &length);
    if (!name)
        return nullptr;
    int slot = FindName(m_chains, m_count, name, length, [this](int candidate, int* size) {
        return m_dictionary->Entry(m_entries[candidate].key, size);
    });
    return slot < 0 ? nullptr : &m_entries[slot];
}

int LocalizedIndex::Add_Entry(int identifier, int first)
{
    if (m_count == m_capacity) {
        m_capacity += m_block;
        m_entries = static_cast<LocalizedIndexEntry*>(
            GrownMemory(m_entries, size_t(m_capacity), sizeof(LocalizedIndexEntry)));
        m_chains.Grow(m_capacity);
    }
    m_entries[m_count] = {identifier, first};
    int length;
    const char* name = m_dictionary->Entry(identifier, &length);
    if (name)
        LinkName(&m_chains, m_count, name, length, [this](int candidate, int* size) {
            return m_dictionary->Entry(m_entries[candidate].key, size);
        });
    return m_count++;
}

bool LocalizedIndex::Read(TaggedFile* file, int tag)
{
    file->Section_Read_End();
    if (file->version() <= kLastSingleIndexVersion && !file->Section_Exists(tag))
        tag = kSingleIndexTag;
    bool is_read = ReadSection(file, tag);
    file->Section_Read_End();
    return is_read;
}

bool LocalizedIndex::ReadSection(TaggedFile* file, int tag)
{
    if (!file->Section_Read_Start(tag, nullptr))
        return Failed(file->error());
    BucketRecordHeader header;
    if (!ReadBucketHeader(file, kRules, &header, &m_error))
        return false;
    HashChains chains(header.bits);
    if (!ReadBuckets(file, kRules, header, &chains, &m_error))
        return false;
    if (!ReadEntries(file, &chains, header.count))
        return false;
    m_chains.Swap(chains);
    return true;
}

bool LocalizedIndex::ReadEntries(TaggedFile* file, HashChains* chains, int count)
{
    SectionBytes records;
    if (!records.Read(file, (long long)kRecordSize * count))
        return Failed(file->error());
    LocalizedIndexEntry* entries = static_cast<LocalizedIndexEntry*>(
        GrownMemory(nullptr, size_t(count), sizeof(LocalizedIndexEntry)));
    chains->Grow(count);
    for (int i = 0; i < count; ++i) {
        const unsigned char* record = records.bytes() + (long long)kRecordSize * i;
        entries[i] = {GetDword(record), GetDword(record + 8)};
        chains->SetNext(i, GetDword(record + 4));
    }
    free(m_entries);
    m_entries = entries;
    m_capacity = m_count = count;
    return true;
}

bool LocalizedIndex::Write(TaggedFile* file, int tag)
{
    file->Section_Start(tag);
    if (!WriteBuckets(file, kRules, m_chains, m_count, &m_error))
        return false;
    for (int i = 0; i < m_count; ++i) {
        char record[kRecordSize];
        PutDword(record, m_entries[i].key);
        PutDword(record + 4, m_chains.Next(i));
        PutDword(record + 8, m_entries[i].first);
        if (!WriteSection(file, record, kRecordSize, &m_error))
            return false;
    }
    file->Section_End();
    return true;
}
