#include <stdlib.h>

#include "image/BucketRecords.h"
#include "image/SectionBytes.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"
#include "variables/VariableHash.h"
#include "variables/allocation.h"

namespace {

// A table of variables: header and bucket records, then for each slot
//   0  4  dictionary index of the name
//   4  4  next slot of the chain, -1 at the end
const int kSlotSize = 8;

const BucketRecordRules kRules = {
    7,
    0x7FFFFFF,
    "variable_hash_header.bucket_bits out of range",
    "variable_hash_header.variable_count out of range",
    "variable_hash_header.bucket_entries out of range",
    "variable_hash_bucket.index out of range",
};

}  // namespace

bool VariableHash::Read(TaggedFile* file, int tag)
{
    if (!file->Section_Read_Start(tag, nullptr)) {
        Error(file->error());
        return false;
    }
    bool is_read = Read(file);
    file->Section_Read_End();
    return is_read;
}

bool VariableHash::Read(TaggedFile* file)
{
    BucketRecordHeader header;
    if (!ReadBucketHeader(file, kRules, &header, &m_error))
        return false;
    HashChains chains(header.bits);
    if (!ReadBuckets(file, kRules, header, &chains, &m_error))
        return false;
    SectionBytes records;
    if (!records.Read(file, (long long)kSlotSize * header.count)) {
        Error(file->error());
        return false;
    }
    _VH_Entry* entries = nullptr;
    if (header.count > 0) {
        chains.Grow(header.count);
        entries =
            static_cast<_VH_Entry*>(GrownMemory(nullptr, size_t(header.count), sizeof(_VH_Entry)));
    }
    for (int slot = 0; slot < header.count; ++slot) {
        const unsigned char* record = records.bytes() + (long long)kSlotSize * slot;
        entries[slot] = {GetDword(record), 0, nullptr};
        chains.SetNext(slot, GetDword(record + 4));
    }
    Dump();
    free(m_entries);
    m_entries = entries;
    m_capacity = m_count = header.count;
    m_block = 0;  // the first block was the file's
    m_chains = m_chains->Unshared();
    m_chains->Swap(chains);
    return true;
}

bool VariableHash::Write(TaggedFile* file, int tag)
{
    file->Section_Start(tag);
    bool is_written = Write(file);
    file->Section_End();
    return is_written;
}

bool VariableHash::Write(TaggedFile* file)
{
    if (!WriteBuckets(file, kRules, *m_chains, m_count, &m_error))
        return false;
    for (int slot = 0; slot < m_count; ++slot) {
        char record[kSlotSize];
        PutDword(record, m_entries[slot].dictionary_index);
        PutDword(record + 4, m_chains->Next(slot));
        if (!WriteSection(file, record, kSlotSize, &m_error))
            return false;
    }
    return true;
}
