#include "image/LocalizedLanguages.h"

#include <stdlib.h>
#include <string.h>

#include "app/ZephApplication.h"
#include "image/BucketRecords.h"
#include "image/LocalizedIndex.h"
#include "image/SectionBytes.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"
#include "variables/NameOrder.h"
#include "variables/NamePool.h"
#include "variables/allocation.h"

namespace {

// The "locl" section: header and bucket records, then per language
//   0  4  name  in the Dictionary
//   4  4  next  language of the chain, -1 at the end
const int kTag = SectionTag('l', 'o', 'c', 'l');
const int kRecordSize = 8;

// Of the index that each language gets.
const int kIndexBits = 12;
const int kIndexBlock = 128;

const BucketRecordRules kRules = {
    7,
    0xFFFFFFF,
    "localized_language_header.bucket_bits out of range",
    "localized_language_header.index_count out of range",
    "localized_language_header.bucket_entries out of range",
    "localized_language_bucket.index out of range",
};

}  // namespace

LocalizedLanguages::LocalizedLanguages(ZephApplication* application, NamePool* dictionary,
                                       TaggedFile* file, int bucket_bits, int block)
    : m_application(application),
      m_dictionary(dictionary),
      m_file(file),
      m_block(block),
      m_chains(bucket_bits)
{
}

LocalizedLanguages::~LocalizedLanguages()
{
    Forget();
}

// Ends the languages and all that was found in them.
void LocalizedLanguages::Forget()
{
    for (int i = 0; i < m_count; ++i)
        delete m_entries[i].index;
    free(m_entries);
    m_current = Cached();
    m_default = Cached();
}

bool LocalizedLanguages::Failed(const String& text)
{
    Error(text);
    return false;
}

int LocalizedLanguages::Find(const char* name, int length)
{
    if (length < 0)
        length = int(strlen(name));
    return FindName(m_chains, m_count, name, length, [this](int candidate, int* size) {
        return m_dictionary->Entry(m_entries[candidate].name, size);
    });
}

LocalizedLanguage* LocalizedLanguages::Get_Language_Entry(const char* name, int length)
{
    int language = Find(name, length);
    if (language < 0)
        return nullptr;
    LocalizedLanguage* entry = &m_entries[language];
    return entry->index || LoadIndex(language) ? entry : nullptr;
}

bool LocalizedLanguages::LoadIndex(int language)
{
    if (!m_file || !m_file->is_open())
        return false;
    LocalizedIndex* index = new LocalizedIndex(m_dictionary, language, kIndexBits, kIndexBlock);
    bool is_read = index->Read(m_file, LocalizedIndex::Tag(language));
    m_file->Deactivate();
    if (is_read) {
        m_entries[language].index = index;
        return true;
    }
    Error(index->error());
    delete index;
    return false;
}

LocalizedIndexEntry* LocalizedLanguages::Get_Entry(int identifier)
{
    LocalizedIndexEntry* found =
        Lookup(&m_current, m_application->language(), m_application->languagecount(), identifier);
    if (found)
        return found;
    return Lookup(&m_default, m_application->defaultlanguage(),
                  m_application->defaultlanguagecount(), identifier);
}

// A language that was not found is remembered too, until the counter changes.
LocalizedIndexEntry* LocalizedLanguages::Lookup(Cached* cached, const String& name, int count,
                                                int identifier)
{
    if (!cached->is_valid || cached->count != count) {
        LocalizedLanguage* entry = Get_Language_Entry(name.data(), name.length());
        *cached = {true, count, entry ? int(entry - m_entries) : -1};
    }
    return Get_Entry(cached->language, identifier);
}

LocalizedIndexEntry* LocalizedLanguages::Get_Entry(int language, int identifier)
{
    if (language < 0 || language >= m_count || !m_entries[language].index)
        return nullptr;
    return m_entries[language].index->Get_Entry(identifier);
}

int LocalizedLanguages::Add_Entry(const char* name, int length)
{
    if (length < 0)
        length = int(strlen(name));
    if (m_count == m_capacity) {
        m_capacity += m_block;
        m_entries = static_cast<LocalizedLanguage*>(
            GrownMemory(m_entries, size_t(m_capacity), sizeof(LocalizedLanguage)));
        m_chains.Grow(m_capacity);
    }
    LocalizedIndex* index = new LocalizedIndex(m_dictionary, m_count, kIndexBits, kIndexBlock);
    m_entries[m_count] = {m_dictionary->Entry_Add(name, length), index};
    LinkName(&m_chains, m_count, name, length, [this](int candidate, int* size) {
        return m_dictionary->Entry(m_entries[candidate].name, size);
    });
    return m_count++;
}

int LocalizedLanguages::Add_Entry(int language, int identifier, int first)
{
    if (language < 0 || language >= m_count || !m_entries[language].index)
        return -1;
    return m_entries[language].index->Add_Entry(identifier, first);
}

bool LocalizedLanguages::Read()
{
    if (!m_file->Section_Read_Start(kTag, nullptr))
        return Failed(m_file->error());
    bool is_read = ReadSection();
    m_file->Section_Read_End();
    return is_read;
}

bool LocalizedLanguages::ReadSection()
{
    BucketRecordHeader header;
    if (!ReadBucketHeader(m_file, kRules, &header, &m_error))
        return false;
    HashChains chains(header.bits);
    if (!ReadBuckets(m_file, kRules, header, &chains, &m_error))
        return false;
    if (!ReadEntries(&chains, header.count))
        return false;
    m_chains.Swap(chains);
    return true;
}

bool LocalizedLanguages::ReadEntries(HashChains* chains, int count)
{
    SectionBytes records;
    if (!records.Read(m_file, (long long)kRecordSize * count))
        return Failed(m_file->error());
    LocalizedLanguage* entries = static_cast<LocalizedLanguage*>(
        GrownMemory(nullptr, size_t(count), sizeof(LocalizedLanguage)));
    chains->Grow(count);
    for (int i = 0; i < count; ++i) {
        const unsigned char* record = records.bytes() + (long long)kRecordSize * i;
        entries[i] = {GetDword(record), nullptr};
        chains->SetNext(i, GetDword(record + 4));
    }
    Forget();
    m_entries = entries;
    m_capacity = m_count = count;
    return true;
}

bool LocalizedLanguages::Write(TaggedFile* file)
{
    file->Section_Start(kTag);
    if (!WriteBuckets(file, kRules, m_chains, m_count, &m_error))
        return false;
    for (int i = 0; i < m_count; ++i) {
        char record[kRecordSize];
        PutDword(record, m_entries[i].name);
        PutDword(record + 4, m_chains.Next(i));
        if (!WriteSection(file, record, kRecordSize, &m_error))
            return false;
    }
    file->Section_End();
    for (int i = 0; i < m_count; ++i) {
        LocalizedIndex* index = m_entries[i].index;
        if (index && !index->Write(file, LocalizedIndex::Tag(i)))
            return Failed(index->error());
    }
    return true;
}
