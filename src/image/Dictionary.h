#ifndef ZEPH_IMAGE_DICTIONARY_H
#define ZEPH_IMAGE_DICTIONARY_H

#include "variables/List.h"
#include "variables/NamePool.h"
#include "variables/StringClass.h"

class TaggedFile;

// A buffer of text bytes that dictionary entries point into, sharing bytes where
// they can.
class DictionaryDataBlock {
public:
    explicit DictionaryDataBlock(int capacity);
    DictionaryDataBlock(const DictionaryDataBlock& source);
    DictionaryDataBlock& operator=(const DictionaryDataBlock&) = delete;
    ~DictionaryDataBlock();

    char* data() const { return m_bytes; }
    int capacity() const { return m_capacity; }
    int used() const { return m_used; }
    void SetUsed(int used) { m_used = used; }

    // Where the bytes stand in this block, put there if they are not found among
    // those in use; -1 when they are neither there nor fit.
    int Add(const char* bytes, int length);
    // Makes room; what was got from data() is void.
    void Reserve(int capacity);

    // Where the block's bytes start in the data area of a file being written.
    int file_offset = 0;

private:
    char* m_bytes;  // owned
    int m_capacity;
    int m_used = 0;
};

// The strings of an image, which code and tables know by index only. A string is
// counted, may hold any bytes, and has no terminator.
//
// Owns its blocks. A failed read leaves what was there, with the text in error().
class Dictionary final : public NamePool {
public:
    // Bit of flags(): the script takes no trace logging. Others are only carried.
    static constexpr int kNoTrace = 1;

    Dictionary();
    // A copy that shares nothing with its source, and in which every entry has a
    // block of its own.
    Dictionary(Dictionary& source);
    Dictionary& operator=(const Dictionary&) = delete;
    ~Dictionary() override;

    const char* Entry(int index, int* size) override
    {
        if (index < 0 || index >= m_count) {
            if (size)
                *size = 0;
            return nullptr;
        }
        const Place& place = m_entries[index];
        if (size)
            *size = place.size;
        return place.block->data() + place.offset;
    }
    int Entry_Add(const char* text, int length) override;
    Dictionary* Clone() override { return new Dictionary(*this); }

    bool IsPermanent() override { return m_is_permanent; }
    // Promises that the dictionary lives until no variable is used any more, and is
    // neither read again nor compressed.
    void SetPermanent() { m_is_permanent = true; }

    // Folds all text into one block, so that strings lie within earlier ones where
    // they can. Indices stay; pointers got before are void.
    void Compress();

    // The "dict" section. Read leaves the section selected.
    bool Read(TaggedFile* file);
    bool Write(TaggedFile* file);
    const String& error() { return m_error; }
    void Error(const String& text) { m_error = text; }

    int Entries() const { return m_count; }
    int flags() const { return m_flags; }
    void SetFlags(int flags) { m_flags = flags; }

private:
    struct Place {
        DictionaryDataBlock* block;  // in m_blocks
        int offset;
        int size;
    };

    bool Failed(const String& text);
    Place* ReadPlaces(TaggedFile* file, int entries, int data_size);
    bool CheckPlace(const Place& place, int data_size);
    DictionaryDataBlock* ReadBlock(TaggedFile* file, int size);
    void Replace(Place* places, int count, DictionaryDataBlock* block);
    bool FoldInto(DictionaryDataBlock* block, Place* places);
    long long PlaceBlocks();
    bool WriteHeader(TaggedFile* file, int data_size);
    bool WritePlaces(TaggedFile* file);

    Place* m_entries = nullptr;  // owned
    int m_count = 0;
    int m_capacity = 0;
    List<DictionaryDataBlock> m_blocks;          // owned
    DictionaryDataBlock* m_receiving = nullptr;  // block for additions, in m_blocks
    int m_flags = 0;
    bool m_is_permanent = false;
    String m_error;
};

#endif
