#include "Image.h"

#include "image/TaggedFile.h"
#include "image/TaggedFileLayout.h"
#include "image/little_endian.h"

namespace {

const int kTexts = SectionTag('d', 'i', 'c', 't');
const int kSegments = SectionTag('s', 'e', 'g', 's');
const int kFunctions = SectionTag('f', 'u', 'n', 'c');
const int kSystem = SectionTag('s', 'y', 's', 't');
const int kGlobal = SectionTag('g', 'l', 'b', 'l');
const int kLanguages = SectionTag('l', 'o', 'c', 'l');
const int kIndexTag = 0x584C;  // the lower half of a language's tag

size_t OperandSize(int form)
{
    return form == 1 ? 4 : form == 2 ? 8 : 0;
}

}  // namespace

Image::Image(std::string bytes) : m_bytes(std::move(bytes))
{
    m_directory = size_t(Dword(kDirectoryOffsetAt));
    size_t entries = size_t(Dword(kDirectoryEntriesAt));
    for (size_t entry = m_directory; entries > 0; --entries, entry += kDirectoryEntrySize)
        m_sections.push_back(
            {Dword(entry), entry, size_t(Dword(entry + 4)), size_t(Dword(entry + 8))});
    for (const Section& section : m_sections) {
        if (section.tag == kTexts) {
            m_texts_begin = section.offset + 12 + 8 * size_t(Dword(section.offset));
            m_texts_end = section.offset + section.size;
        }
        if (section.tag == kSegments)
            FindCode(section);
    }
    FindTables();
}

int Image::Dword(const std::string& bytes, size_t at)
{
    return GetDword(bytes.data() + at);
}

void Image::SetDword(std::string* bytes, size_t at, unsigned int value)
{
    PutDword(bytes->data() + at, int(value));
}

void Image::SetWord(std::string* bytes, size_t at, unsigned int value)
{
    PutWord(bytes->data() + at, value);
}

std::string Image::TagText(int tag)
{
    std::string text;
    for (int shift = 0; shift < 32; shift += 8) {
        int byte = tag >> shift & 0xFF;
        if (byte >= ' ' && byte < 0x7F)
            text += char(byte);
        else
            text += "\\" + std::to_string(byte);
    }
    return text;
}

bool Image::IsStructure(size_t at) const
{
    bool in_texts = at >= m_texts_begin && at < m_texts_end;
    bool in_code = at >= m_code_begin && at < m_code_end;
    return !in_texts && !in_code;
}

void Image::FindCode(const Section& section)
{
    size_t entries = size_t(Dword(section.offset));
    size_t base = section.offset + 8 + 8 * entries;
    for (size_t i = 0; i < entries; ++i) {
        size_t header = section.offset + 8 + 8 * i;
        Code code = {header, base + size_t(Dword(header)), size_t(Dword(header + 4)), {}};
        FindInstructions(&code);
        m_code.push_back(code);
    }
    m_code_begin = base;
    m_code_end = section.offset + section.size;
}

void Image::FindInstructions(Code* code) const
{
    size_t end = code->at + code->size;
    size_t at = code->at;
    while (at + 2 <= end) {
        int word = int(GetWord(m_bytes.data() + at));
        size_t size = 2 + OperandSize(word >> 14 & 3) + OperandSize(word >> 12 & 3);
        if (at + size > end)
            return;
        code->instructions.push_back({at, word, size});
        at += size;
    }
}

// A table of names: header, bucket records, then records that have the successor at
// the offset `next`.
void Image::FindTable(size_t at, size_t header, size_t record, size_t next)
{
    size_t buckets = GetWord(m_bytes.data() + at);
    size_t count = size_t(Dword(at + 3));
    at += header;
    for (size_t i = 0; i < buckets; ++i, at += 6)
        m_links.push_back(at + 2);
    for (size_t i = 0; i < count; ++i, at += record)
        m_links.push_back(at + next);
}

// The tables of locals within the functions are left out.
void Image::FindTables()
{
    for (const Section& section : m_sections) {
        if (section.tag == kSystem || section.tag == kGlobal || section.tag == kLanguages)
            FindTable(section.offset, 7, 8, 4);
        else if (section.tag == kFunctions)
            FindTable(section.offset, 7, 4, 0);
        else if ((section.tag & 0xFFFF) == kIndexTag)
            FindTable(section.offset, 11, 12, 4);
    }
}
