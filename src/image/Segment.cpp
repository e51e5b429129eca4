#include "image/Segment.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "image/PreparedCode.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"
#include "variables/allocation.h"

namespace {

// The last multiple of a block that an int holds, and so the largest segment that
// can be written.
const int kLargest = INT_MAX / Segment::kBlock * Segment::kBlock;

}  // namespace

char* Segment::AllocateCode(int capacity)
{
    char* code = static_cast<char*>(malloc(size_t(capacity) + kSpareBytes));
    if (code)
        memset(code + capacity, 0, kSpareBytes);
    return code;
}

char* Segment::AllocateZeroedCode(int capacity)
{
    return static_cast<char*>(calloc(size_t(capacity) + kSpareBytes, 1));
}

Segment::Segment(int number)
    : m_number(number),
      m_code(static_cast<char*>(ZeroedMemory(size_t(kBlock) + kSpareBytes, 1))),
      m_capacity(kBlock),
      m_size(0)
{
}

Segment::Segment(int number, char* code, int capacity, int size)
    : m_number(number), m_code(code), m_capacity(capacity), m_size(size)
{
}

Segment::Segment(Segment& source)
    : m_number(source.m_number),
      m_code(static_cast<char*>(ZeroedMemory(size_t(source.m_capacity) + kSpareBytes, 1))),
      m_capacity(source.m_capacity),
      m_size(source.m_size)
{
    memcpy(m_code, source.m_code, size_t(m_capacity));
}

Segment::~Segment()
{
    delete m_prepared;
    free(m_code);
}

void Segment::SetPrepared(PreparedCode* prepared)
{
    if (prepared != m_prepared)
        delete m_prepared;
    m_prepared = prepared;
}

const char* Segment::Readable(int position, int width) const
{
    return position >= 0 && position <= m_size - width ? m_code + position : nullptr;
}

int Segment::Read_Byte(int position, unsigned char* out) const
{
    const char* place = Readable(position, 1);
    if (!place)
        return -1;
    *out = static_cast<unsigned char>(*place);
    return position + 1;
}

int Segment::Read_Word(int position, unsigned short* out) const
{
    const char* place = Readable(position, 2);
    if (!place)
        return -1;
    *out = static_cast<unsigned short>(GetWord(place));
    return position + 2;
}

int Segment::Read_Dword(int position, int* out) const
{
    const char* place = Readable(position, 4);
    if (!place)
        return -1;
    *out = GetDword(place);
    return position + 4;
}

int Segment::Read_Double(int position, double* out) const
{
    const char* place = Readable(position, 8);
    if (!place)
        return -1;
    *out = GetDouble(place);
    return position + 8;
}

char* Segment::Writable(int position, int width)
{
    if (position < 0 || position > kLargest - width)
        return nullptr;
    SetPrepared(nullptr);
    int end = position + width;
    if (end >= m_capacity)
        Grow(end);
    if (end > m_size)
        m_size = end;
    return m_code + position;
}

int Segment::Write_Byte(int position, unsigned char value)
{
    char* place = Writable(position, 1);
    if (!place)
        return -1;
    *place = static_cast<char>(value);
    return position + 1;
}

int Segment::Write_Word(int position, unsigned short value)
{
    char* place = Writable(position, 2);
    if (!place)
        return -1;
    PutWord(place, value);
    return position + 2;
}

int Segment::Write_Dword(int position, int value)
{
    char* place = Writable(position, 4);
    if (!place)
        return -1;
    PutDword(place, value);
    return position + 4;
}

int Segment::Write_Double(int position, double value)
{
    char* place = Writable(position, 8);
    if (!place)
        return -1;
    PutDouble(place, value);
    return position + 8;
}

void Segment::Grow(int wanted)
{
    if (wanted > kLargest)
        return;
    int capacity = (wanted / kBlock + (wanted % kBlock != 0)) * kBlock;
    if (capacity <= m_capacity)
        return;
    SetPrepared(nullptr);
    m_code = static_cast<char*>(GrownMemory(m_code, size_t(capacity) + kSpareBytes, 1));
    memset(m_code + m_capacity, 0, size_t(capacity - m_capacity) + kSpareBytes);
    m_capacity = capacity;
}

bool Segment::Write(TaggedFile* file) const
{
    return file->Section_Write(m_code, m_size) == m_size;
}
