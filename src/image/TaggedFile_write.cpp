#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "files/File.h"
#include "files/FileManager.h"
#include "image/TaggedFile.h"
#include "image/TaggedFileLayout.h"
#include "image/little_endian.h"
#include "variables/allocation.h"

namespace {

// Entries that the directory of a file being written has room for at first, and
// by which it grows.
const int kDirectoryBlock = 16;

}  // namespace

bool TaggedFile::Create(const char* path, const char* identifier, int version)
{
    Close();
    m_file = m_manager->Open(path, kOpenRead | kOpenWrite | kOpenCreate | kOpenTruncate);
    if (!m_file) {
        Error(m_manager->error());
        return false;
    }
    m_name.assign(path);
    m_version = version ? unsigned(version) : kLastVersion;
    memset(m_identifier, 0, sizeof m_identifier);
    if (identifier)
        memcpy(m_identifier, identifier, sizeof m_identifier);
    MakeDirectory(kDirectoryBlock);
    m_directory_entries = 0;
    m_directory_offset = 0;
    m_cursor = kHeaderSize;
    return WriteHeader();
}

bool TaggedFile::WriteAll(const char* data, int count)
{
    if (m_file->Write(data, count) == count)
        return true;
    Error(m_file->error());
    return false;
}

bool TaggedFile::WriteHeader()
{
    char header[kHeaderSize];
    memcpy(header, kMagic, sizeof kMagic);
    PutDword(header + kVersionAt, int(m_version));
    memcpy(header + kIdentifierAt, m_identifier, sizeof m_identifier);
    PutDword(header + kDirectoryOffsetAt, m_directory_offset);
    PutDword(header + kDirectoryEntriesAt, m_directory_entries);
    return WriteAll(header, kHeaderSize);
}

void TaggedFile::Section_Start(int tag)
{
    Section_End();
    m_is_writing_section = true;
    m_section_tag = tag;
    m_section_size = 0;
    m_section_offset = m_cursor;
}

int TaggedFile::Section_Write(const char* data, int count)
{
    if (count < 0 || count > INT_MAX - m_cursor) {
        Failed("Invalid size");
        return -1;
    }
    int written = m_file->Write(data, count);
    if (written < 0) {
        Error(m_file->error());
        return written;
    }
    m_cursor += written;
    m_section_size += written;
    return written;
}

void TaggedFile::Section_End()
{
    if (!m_is_writing_section)
        return;
    if (m_directory_entries == m_directory_capacity) {
        m_directory_capacity += kDirectoryBlock;
        m_directory = static_cast<Entry*>(
            GrownMemory(m_directory, size_t(m_directory_capacity), sizeof(Entry)));
    }
    m_directory[m_directory_entries++] = {m_section_tag, m_section_offset, m_section_size};
    m_is_writing_section = false;
    m_section_tag = 0;
    m_section_size = 0;
}

bool TaggedFile::Section_Flush()
{
    m_directory_offset = m_cursor;
    for (int i = 0; i < m_directory_entries; ++i) {
        char entry[kDirectoryEntrySize];
        PutDword(entry, m_directory[i].tag);
        PutDword(entry + 4, m_directory[i].offset);
        PutDword(entry + 8, m_directory[i].size);
        if (!WriteAll(entry, kDirectoryEntrySize))
            return false;
    }
    if (m_file->Seek(0) < 0) {
        Error(m_file->error());
        return false;
    }
    return WriteHeader();
}
