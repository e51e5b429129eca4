#ifndef ZEPH_IMAGE_SEGMENTMANAGER_H
#define ZEPH_IMAGE_SEGMENTMANAGER_H

#include "variables/StringClass.h"

class Segment;
class TaggedFile;

// All code of one image, by segment number.
//
// Slot 0 of a new one is kept for the start segment, which is made on demand.
// Owns its segments. A failed read leaves what was there, with the text in error().
class SegmentManager {
public:
    SegmentManager();
    SegmentManager(SegmentManager& source);
    SegmentManager& operator=(const SegmentManager&) = delete;
    virtual ~SegmentManager();
    virtual const String& error() { return m_error; }
    virtual void Error(const String& text) { m_error = text; }

    int count() const { return m_count; }
    int capacity() const { return m_capacity; }
    // Number of the segment at which execution starts.
    int start() const { return m_start; }
    // A number that no segment has is ignored.
    void SetStart(int number)
    {
        if (number >= 0 && number < m_count)
            m_start = number;
    }

    // Null for a number out of range and for an empty slot.
    Segment* Get(int number) const
    {
        return m_segments && number >= 0 && number < m_count ? m_segments[number] : nullptr;
    }
    // The start segment, made if its slot is empty.
    Segment* Start();
    // A new empty segment under the next number.
    Segment* Segment_Add();

    // The "segs" section. What a successful read replaces is not deleted segment
    // by segment: code that runs may still stand in the old ones.
    bool Read(TaggedFile* file);
    bool Write(TaggedFile* file);

private:
    void MakeSlots();
    bool Failed(const String& text);
    bool ReadSegments(TaggedFile* file, Segment** segments, int entries,
                      const unsigned char* headers);
    Segment* ReadSegment(TaggedFile* file, int number, long long where, int size);
    char* ReadCode(TaggedFile* file, long long where, int size);
    bool WriteHeaders(TaggedFile* file);

    Segment** m_segments = nullptr;  // owned; null until the first is made
    int m_capacity;
    int m_count = 1;
    int m_start = 0;
    String m_error;
};

#endif
