#ifndef ZEPH_IMAGE_SECTIONBYTES_H
#define ZEPH_IMAGE_SECTIONBYTES_H

class TaggedFile;

// The raw bytes of one table of a section, for as long as it takes to convert them.
//
// A count from the file is believed only as far as the file can keep it: before
// much memory is taken for one, the file is asked whether it holds that much.
class SectionBytes {
public:
    // Counts up to here are taken on trust.
    static constexpr int kTrusted = 65536;

    SectionBytes() {}
    SectionBytes(const SectionBytes&) = delete;
    SectionBytes& operator=(const SectionBytes&) = delete;
    ~SectionBytes();

    // Reads exactly `count` bytes at the read position; once for each object.
    // False on failure and on a short read, with the text in the file's error().
    bool Read(TaggedFile* file, long long count);
    // The same at an offset in the named section.
    bool Read(TaggedFile* file, int tag, int offset, long long count);
    const unsigned char* bytes() const { return m_bytes; }

    // The same into memory of the caller's, made for that count.
    static bool ReadInto(TaggedFile* file, void* target, long long count);
    // Whether memory may be taken for that many bytes at the read position.
    static bool MayRead(TaggedFile* file, long long count);

private:
    void MakeRoom(long long count);

    unsigned char m_local[512];  // for the small tables, which are most
    unsigned char* m_bytes = m_local;
};

#endif
