#include "image/SegmentManager.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "image/SectionBytes.h"
#include "image/Segment.h"
#include "image/TaggedFile.h"
#include "image/little_endian.h"
#include "variables/allocation.h"

namespace {

// The "segs" section.
//
//   0  4            entries  number of segments
//   4  4            start    number of the one at which execution starts
//   8  8 x entries  headers: 4 offset, from the end of the headers; 4 size in bytes
//      the rest     code
const int kTag = SectionTag('s', 'e', 'g', 's');
const int kListSize = 8;
const int kHeaderSize = 8;
const int kMaximumEntries = 0xFFFFFFF;

// Slots by which the table grows.
const int kBlock = 64;

// Segments may share bytes of the file, but each has memory of its own. So all
// together may take this much, or this many times the length of the file.
const long long kFreeTotal = 1 << 20;
const long long kSharing = 64;

void DeleteSegments(Segment** segments, int count)
{
    for (int i = 0; i < count; ++i)
        delete segments[i];
    free(segments);
}

}  // namespace

SegmentManager::SegmentManager() : m_capacity(kBlock) {}

SegmentManager::SegmentManager(SegmentManager& source)
    : m_capacity(source.m_capacity), m_count(source.m_count), m_start(source.m_start)
{
    if (!source.m_segments)
        return;
    MakeSlots();
    for (int i = 0; i < m_count; ++i)
        if (source.m_segments[i])
            m_segments[i] = new Segment(*source.m_segments[i]);
}

SegmentManager::~SegmentManager()
{
    if (m_segments)
        DeleteSegments(m_segments, m_count);
}

// An image that is read brings its own table, so the first one waits for use.
void SegmentManager::MakeSlots()
{
    if (!m_segments)
        m_segments = static_cast<Segment**>(ZeroedMemory(size_t(m_capacity), sizeof(Segment*)));
}

Segment* SegmentManager::Start()
{
    MakeSlots();
    if (!m_segments[m_start])
        m_segments[m_start] = new Segment(m_start);
    return m_segments[m_start];
}

Segment* SegmentManager::Segment_Add()
{
    MakeSlots();
    if (m_count == m_capacity) {
        size_t capacity = size_t(m_capacity) + kBlock;
        m_segments = static_cast<Segment**>(GrownMemory(m_segments, capacity, sizeof(Segment*)));
        memset(m_segments + m_capacity, 0, sizeof(Segment*) * kBlock);
        m_capacity = int(capacity);
    }
    Segment* segment = new Segment(m_count);
    m_segments[m_count++] = segment;
    return segment;
}

bool SegmentManager::Failed(const String& text)
{
    Error(text);
    return false;
}

bool SegmentManager::Read(TaggedFile* file)
{
    SectionBytes list;
    if (!list.Read(file, kTag, 0, kListSize))
        return Failed(file->error());
    int entries = GetDword(list.bytes());
    int start_number = GetDword(list.bytes() + 4);
    if (start_number < 0 || start_number > (long long)entries - 1)
        return Failed("segment_list.start out of range");
    if (entries < 0 || entries > kMaximumEntries)
        return Failed("segment_list.entries out of range");
    SectionBytes headers;
    if (!headers.Read(file, kTag, kListSize, (long long)kHeaderSize * entries))
        return Failed(file->error());
    Segment** segments = static_cast<Segment**>(calloc(size_t(entries), sizeof(Segment*)));
    if (!segments)
        return Failed("Allocation failed");
    if (!ReadSegments(file, segments, entries, headers.bytes())) {
        DeleteSegments(segments, entries);
        return false;
    }
    free(m_segments);
    m_segments = segments;
    m_capacity = m_count = entries;
    m_start = start_number;
    return true;
}

bool SegmentManager::ReadSegments(TaggedFile* file, Segment** segments, int entries,
                                  const unsigned char* headers)
{
    long long code = kListSize + (long long)kHeaderSize * entries;
    long long total = 0;
    for (int i = 0; i < entries; ++i) {
        const unsigned char* header = headers + (long long)kHeaderSize * i;
        int size = GetDword(header + 4);
        segments[i] = ReadSegment(file, i, code + GetDword(header), size);
        if (!segments[i])
            return false;
        total += size;
        if (total > kFreeTotal && total / kSharing > file->FileLength())
            return Failed("Allocation failed");
    }
    return true;
}

Segment* SegmentManager::ReadSegment(TaggedFile* file, int number, long long where, int size)
{
    if (size < 0) {
        Error("segment_header.size out of range");
        return nullptr;
    }
    char* code = ReadCode(file, where, size);
    return code ? new Segment(number, code, size, size) : nullptr;
}

char* SegmentManager::ReadCode(TaggedFile* file, long long where, int size)
{
    if (size > SectionBytes::kTrusted && !file->Section_Holds(kTag, where, size)) {
        Error(file->error());
        return nullptr;
    }
    char* code = Segment::AllocateCode(size);
    if (!code) {
        Error("Allocation failed");
        return nullptr;
    }
    // A place that no offset can name is as invalid as a negative one.
    int offset = where > INT_MAX ? -1 : int(where);
    if (file->Section_Read(kTag, offset, code, size) == size)
        return code;
    Error(file->error());
    free(code);
    return nullptr;
}

bool SegmentManager::Write(TaggedFile* file)
{
    MakeSlots();
    file->Section_Start(kTag);
    if (!WriteHeaders(file))
        return Failed(file->error());
    for (int i = 0; i < m_count; ++i)
        if (m_segments[i] && !m_segments[i]->Write(file))
            return Failed(file->error());
    file->Section_End();
    return true;
}

// An empty slot is written as a segment without code.
bool SegmentManager::WriteHeaders(TaggedFile* file)
{
    char list[kListSize];
    PutDword(list, m_count);
    PutDword(list + 4, m_start);
    if (file->Section_Write(list, kListSize) != kListSize)
        return false;
    long long offset = 0;
    for (int i = 0; i < m_count && offset <= INT_MAX; ++i) {
        int size = m_segments[i] ? m_segments[i]->size() : 0;
        char header[kHeaderSize];
        PutDword(header, int(offset));
        PutDword(header + 4, size);
        if (file->Section_Write(header, kHeaderSize) != kHeaderSize)
            return false;
        offset += size;
    }
    return offset <= INT_MAX;
}
