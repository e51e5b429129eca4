#include "image/SectionBytes.h"

#include <stdlib.h>

#include "image/TaggedFile.h"
#include "variables/allocation.h"

SectionBytes::~SectionBytes()
{
    if (m_bytes != m_local)
        free(m_bytes);
}

bool SectionBytes::Read(TaggedFile* file, long long count)
{
    if (!MayRead(file, count))
        return false;
    MakeRoom(count);
    return ReadInto(file, m_bytes, count);
}

bool SectionBytes::Read(TaggedFile* file, int tag, int offset, long long count)
{
    if (count > kTrusted && !file->Section_Holds(tag, offset, count))
        return false;
    MakeRoom(count);
    int got = file->Section_Read(tag, offset, reinterpret_cast<char*>(m_bytes), int(count));
    return got >= 0 && got == count;
}

void SectionBytes::MakeRoom(long long count)
{
    if (count > (long long)sizeof m_local)
        m_bytes = static_cast<unsigned char*>(GrownMemory(nullptr, size_t(count), 1));
}

bool SectionBytes::ReadInto(TaggedFile* file, void* target, long long count)
{
    int got = file->Section_Read(static_cast<char*>(target), int(count));
    return got >= 0 && got == count;
}

// A negative count is left to the read, which has the words for it.
bool SectionBytes::MayRead(TaggedFile* file, long long count)
{
    return count <= kTrusted || file->Section_Holds(count);
}
