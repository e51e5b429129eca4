#include "image/BucketRecords.h"

#include "image/SectionBytes.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"
#include "variables/HashChains.h"
#include "variables/StringClass.h"

namespace {

const int kRecordSize = 6;
const int kMaximumBits = 32;
const unsigned int kMaximumBuckets = 0x1FFFFFFF;
const int kMaximumIndex = 0x7FFF;

const int kBitsAt = 2;
const int kCountAt = 3;
const int kLargestHeader = 11;

// A 16-bit field read as signed.
int GetSignedWord(const unsigned char* place)
{
    int value = int(GetWord(place));
    return value > kMaximumIndex ? value - 0x10000 : value;
}

bool Failed(String* error, const char* text)
{
    *error = text;
    return false;
}

}  // namespace

bool ReadBucketHeader(TaggedFile* file, const BucketRecordRules& rules, BucketRecordHeader* header,
                      String* error)
{
    SectionBytes record;
    if (!record.Read(file, rules.header_size)) {
        *error = file->error();
        return false;
    }
    header->bits = record.bytes()[kBitsAt];
    header->count = GetDword(record.bytes() + kCountAt);
    header->bucket_entries = GetSignedWord(record.bytes());
    if (header->bits > kMaximumBits)
        return Failed(error, rules.bits_fault);
    if (HashChains(header->bits).buckets() > kMaximumBuckets)
        return Failed(error, "read_bucket_size out of range");
    if (header->count < 0 || header->count > rules.maximum)
        return Failed(error, rules.count_fault);
    return header->bucket_entries >= 0 || Failed(error, rules.entries_fault);
}

bool ReadBuckets(TaggedFile* file, const BucketRecordRules& rules, const BucketRecordHeader& header,
                 HashChains* chains, String* error)
{
    SectionBytes records;
    if (!records.Read(file, kRecordSize * header.bucket_entries)) {
        *error = file->error();
        return false;
    }
    for (int i = 0; i < header.bucket_entries; ++i) {
        const unsigned char* record = records.bytes() + kRecordSize * i;
        // Signed in every table, as each writer keeps its numbers below 0x8000.
        int index = GetSignedWord(record);
        if (index < 0 || unsigned(index) >= chains->buckets())
            return Failed(error, rules.index_fault);
        chains->SetHead(unsigned(index), GetDword(record + 2));
    }
    chains->SetOccupied(header.bucket_entries);
    return true;
}

bool WriteBuckets(TaggedFile* file, const BucketRecordRules& rules, const HashChains& chains,
                  int count, String* error)
{
    int heads = chains.CountHeads();
    if (heads > kMaximumIndex)
        return Failed(error, rules.entries_fault);
    unsigned char header[kLargestHeader] = {};
    PutWord(header, unsigned(heads));
    header[kBitsAt] = static_cast<unsigned char>(chains.bits());
    PutDword(header + kCountAt, count);
    if (!WriteSection(file, header, rules.header_size, error))
        return false;
    for (unsigned int bucket = 0; heads > 0; ++bucket) {
        if (chains.Head(bucket) < 0)
            continue;
        if (bucket > unsigned(kMaximumIndex))
            return Failed(error, rules.index_fault);
        unsigned char record[kRecordSize];
        PutWord(record, bucket);
        PutDword(record + 2, chains.Head(bucket));
        if (!WriteSection(file, record, kRecordSize, error))
            return false;
        --heads;
    }
    return true;
}

bool WriteSection(TaggedFile* file, const void* bytes, int count, String* error)
{
    if (file->Section_Write(static_cast<const char*>(bytes), count) == count)
        return true;
    *error = file->error();
    return false;
}
