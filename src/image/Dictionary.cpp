#include "image/Dictionary.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "image/SectionBytes.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"
#include "variables/allocation.h"

namespace {

// The "dict" section.
//
//   0  4            entries
//   4  4            data_size, in bytes
//   8  4            flags
//  12  8 x entries  per string: 4 offset in the data area, 4 size
//      data_size    the bytes of all strings; strings may share them
const int kTag = SectionTag('d', 'i', 'c', 't');
const int kHeaderSize = 12;
const int kPlaceSize = 8;
const int kMaximumEntries = 0x7FFFFFF;

// Blocks come in multiples of this (TF_DATA_BLOCK_SIZE).
const int kDataBlockSize = 8192;
const int kMaximumDataBlocks = 0x3FFFF;

const char* const kDataSizeFault =
    "( dictionary_header.data_size / TF_DATA_BLOCK_SIZE ) + 1 out of range";

// Entries by which the table grows.
const int kBlock = 128;

}  // namespace

Dictionary::Dictionary() : m_blocks(1) {}

Dictionary::Dictionary(Dictionary& source)
    : m_count(source.m_count), m_capacity(source.m_count), m_blocks(1), m_flags(source.m_flags)
{
    m_entries = static_cast<Place*>(GrownMemory(nullptr, size_t(m_count), sizeof(Place)));
    for (int i = 0; i < m_count; ++i) {
        const Place& place = source.m_entries[i];
        DictionaryDataBlock* block = new DictionaryDataBlock(*place.block);
        m_blocks.Insert(block, kListTail);
        m_entries[i] = {block, place.offset, place.size};
        if (place.block == source.m_receiving)
            m_receiving = block;
    }
}

Dictionary::~Dictionary()
{
    free(m_entries);
}

bool Dictionary::Failed(const String& text)
{
    Error(text);
    return false;
}

int Dictionary::Entry_Add(const char* text, int length)
{
    if (length < 0)
        length = int(strlen(text));
    int offset = m_receiving ? m_receiving->Add(text, length) : -1;
    if (offset < 0) {
        long long capacity = (long long)(length / kDataBlockSize) * kDataBlockSize + kDataBlockSize;
        m_receiving = new DictionaryDataBlock(capacity > INT_MAX ? INT_MAX : int(capacity));
        m_blocks.Insert(m_receiving, kListTail);
        offset = m_receiving->Add(text, length);
    }
    if (m_count == m_capacity) {
        m_capacity += kBlock;
        m_entries = static_cast<Place*>(GrownMemory(m_entries, size_t(m_capacity), sizeof(Place)));
    }
    m_entries[m_count] = {m_receiving, offset, length};
    return m_count++;
}

void Dictionary::Compress()
{
    long long used = PlaceBlocks();
    if (used > INT_MAX)
        return;  // more than the offsets into one block can tell apart
    DictionaryDataBlock* block = new DictionaryDataBlock(int(used));
    Place* places = static_cast<Place*>(GrownMemory(nullptr, size_t(m_count), sizeof(Place)));
    if (!FoldInto(block, places)) {
        delete block;
        free(places);
        return;
    }
    free(m_entries);
    m_entries = places;
    m_capacity = m_count;
    m_blocks.Dump();
    m_blocks.Insert(block, kListTail);
    m_receiving = block;
}

// The sum of all blocks nearly always has room for the entries. It has not when an
// entry comes in front of a longer one that it lay within.
bool Dictionary::FoldInto(DictionaryDataBlock* block, Place* places)
{
    for (int i = 0; i < m_count; ++i) {
        int size;
        const char* text = Entry(i, &size);
        int offset = block->Add(text, size);
        if (offset < 0) {
            if (size > INT_MAX - block->used())
                return false;
            block->Reserve(block->used() + size);
            offset = block->Add(text, size);
        }
        places[i] = {block, offset, size};
    }
    return true;
}

bool Dictionary::Read(TaggedFile* file)
{
    SectionBytes header;
    if (!file->Section_Read_Start(kTag, nullptr) || !header.Read(file, kHeaderSize))
        return Failed(file->error());
    int entries = GetDword(header.bytes());
    int data_size = GetDword(header.bytes() + 4);
    if (entries < 0 || entries > kMaximumEntries)
        return Failed("dictionary_header.entries out of range");
    int blocks = data_size / kDataBlockSize + 1;
    if (blocks < 0 || blocks > kMaximumDataBlocks)
        return Failed(kDataSizeFault);
    Place* places = ReadPlaces(file, entries, data_size);
    if (!places)
        return false;
    // Room is made only now, when the entries have shown to fit the data, and for no
    // more than these: additions go to a block of their own.
    DictionaryDataBlock* block = ReadBlock(file, data_size);
    if (!block) {
        free(places);
        return false;
    }
    for (int i = 0; i < entries; ++i)
        places[i].block = block;
    Replace(places, entries, block);
    m_flags = GetDword(header.bytes() + 8);
    return true;
}

void Dictionary::Replace(Place* places, int count, DictionaryDataBlock* block)
{
    free(m_entries);
    m_entries = places;
    m_count = m_capacity = count;
    m_blocks.Dump();
    m_blocks.Insert(block, kListTail);
    m_receiving = nullptr;  // additions go to a block of their own
}

Dictionary::Place* Dictionary::ReadPlaces(TaggedFile* file, int entries, int data_size)
{
    SectionBytes records;
    if (!records.Read(file, (long long)kPlaceSize * entries)) {
        Error(file->error());
        return nullptr;
    }
    Place* places = static_cast<Place*>(GrownMemory(nullptr, size_t(entries), sizeof(Place)));
    for (int i = 0; i < entries; ++i) {
        const unsigned char* record = records.bytes() + (long long)kPlaceSize * i;
        places[i] = {nullptr, GetDword(record), GetDword(record + 4)};
        if (!CheckPlace(places[i], data_size)) {
            free(places);
            return nullptr;
        }
    }
    return places;
}

// A negative size could bring the end back into the data; no text has one.
bool Dictionary::CheckPlace(const Place& place, int data_size)
{
    if (place.offset < 0 || place.offset > (long long)data_size - 1)
        return Failed("dictionary_entry.offset out of range");
    if (place.size < 0 || (long long)place.offset + place.size > data_size)
        return Failed("dictionary_entry.offset + dictionary_entry.size out of range");
    return true;
}

DictionaryDataBlock* Dictionary::ReadBlock(TaggedFile* file, int size)
{
    DictionaryDataBlock* block = nullptr;
    if (SectionBytes::MayRead(file, size)) {
        block = new DictionaryDataBlock(size < 0 ? 0 : size);
        if (SectionBytes::ReadInto(file, block->data(), size)) {
            block->SetUsed(size);
            return block;
        }
    }
    Error(file->error());
    delete block;
    return nullptr;
}

// Gives each block its place in the data area; the size of the area.
long long Dictionary::PlaceBlocks()
{
    long long total = 0;
    for (DictionaryDataBlock* block = m_blocks.First(); block; block = m_blocks.Next()) {
        block->file_offset = total > INT_MAX ? INT_MAX : int(total);
        total += block->used();
    }
    return total;
}

bool Dictionary::Write(TaggedFile* file)
{
    long long data_size = PlaceBlocks();
    if (data_size / kDataBlockSize + 1 > kMaximumDataBlocks)
        return Failed(kDataSizeFault);
    file->Section_Start(kTag);
    if (!WriteHeader(file, int(data_size)) || !WritePlaces(file))
        return Failed(file->error());
    for (DictionaryDataBlock* block = m_blocks.First(); block; block = m_blocks.Next())
        if (file->Section_Write(block->data(), block->used()) != block->used())
            return Failed(file->error());
    file->Section_End();
    return true;
}

bool Dictionary::WriteHeader(TaggedFile* file, int data_size)
{
    char header[kHeaderSize];
    PutDword(header, m_count);
    PutDword(header + 4, data_size);
    PutDword(header + 8, m_flags);
    return file->Section_Write(header, kHeaderSize) == kHeaderSize;
}

bool Dictionary::WritePlaces(TaggedFile* file)
{
    for (int i = 0; i < m_count; ++i) {
        char record[kPlaceSize];
        PutDword(record, m_entries[i].block->file_offset + m_entries[i].offset);
        PutDword(record + 4, m_entries[i].size);
        if (file->Section_Write(record, kPlaceSize) != kPlaceSize)
            return false;
    }
    return true;
}
