#ifndef ZEPH_IMAGE_BUCKETRECORDS_H
#define ZEPH_IMAGE_BUCKETRECORDS_H

class HashChains;
class String;
class TaggedFile;

// The part that all hashed tables of a compiled file have in common: tables of
// variables, functions, languages and texts start alike and differ in the record
// that follows for each element.
//
//   0  2  bucket_entries  number of bucket records
//   2  1  bucket_bits     0 to 32; taken modulo 32, so that 32 gives one bucket
//   3  4  count           number of elements
//      (the index of a language: 4 bytes that nothing reads)
//   then bucket_entries records, for the buckets that are not empty:
//   0  2  index           number of the bucket, signed
//   2  4  value           first element of its chain

// What a table allows and how it words its faults.
struct BucketRecordRules {
    int header_size;  // 7, or more where unused bytes follow
    int maximum;      // of count
    const char* bits_fault;
    const char* count_fault;
    const char* entries_fault;
    const char* index_fault;
};

// Of a header that passed all tests.
struct BucketRecordHeader {
    int bits;
    int count;
    int bucket_entries;
};

// Read the header; then its bucket records, whose heads go into `chains`, empty
// and made with the header's bits. On failure false, with the text in `error`.
bool ReadBucketHeader(TaggedFile* file, const BucketRecordRules& rules, BucketRecordHeader* header,
                      String* error);
bool ReadBuckets(TaggedFile* file, const BucketRecordRules& rules, const BucketRecordHeader& header,
                 HashChains* chains, String* error);

// Write header and bucket records into the open section. A bucket that the two
// bytes of its number cannot hold is a failure.
bool WriteBuckets(TaggedFile* file, const BucketRecordRules& rules, const HashChains& chains,
                  int count, String* error);

// Whether all of `count` bytes went into the open section; if not, `error` gets
// the file's text.
bool WriteSection(TaggedFile* file, const void* bytes, int count, String* error);

#endif
