#include "zephdump/ImageCheck.h"

#include <stdarg.h>
#include <stdio.h>

#include "image/Function.h"
#include "image/Segment.h"
#include "primitives/hash.h"
#include "primitives/memcmpi.h"

ImageCheck::ImageCheck(const char* file, LoadedImage* image, TextBuffer* out)
    : m_file(file), m_image(image), m_out(out)
{
}

int ImageCheck::Run()
{
    CheckTable("system variable", m_image->system());
    CheckTable("global variable", m_image->global());
    CheckLanguages();
    CheckPieces();
    CheckFunctions();
    CheckCode();
    return m_faults;
}

void ImageCheck::Fault(const char* format, ...)
{
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    m_out->Add(m_file);
    m_out->Format(": %s\n", text);
    ++m_faults;
}

// `what` is what the table calls one of its slots.
void ImageCheck::CheckTable(const char* what, const TableRecords& table)
{
    Array<int> reached;
    reached.Fill(table.slots.count(), 0);
    CheckBuckets(what, table, &reached);
    for (int slot = 0; slot < table.slots.count(); ++slot) {
        if (!HasText(table.slots[slot].name))
            Fault("%s %d: its name, dictionary entry %d, does not exist", what, slot,
                  table.slots[slot].name);
        else if (!reached[slot])
            Fault("%s %d: it is in no chain", what, slot);
    }
}

void ImageCheck::CheckBuckets(const char* what, const TableRecords& table, Array<int>* reached)
{
    Array<char> listed;
    listed.Fill(0x8000, 0);  // bucket numbers are 15 bits wide
    for (int i = 0; i < table.buckets.count(); ++i) {
        const TableRecords::Bucket& bucket = table.buckets[i];
        if (listed[bucket.number & 0x7FFF])
            Fault("%s: bucket %d is listed twice", what, bucket.number);
        listed[bucket.number & 0x7FFF] = 1;
        CheckChain(what, table, bucket, reached);
    }
}

void ImageCheck::CheckChain(const char* what, const TableRecords& table,
                            const TableRecords::Bucket& bucket, Array<int>* reached)
{
    int before = -1;
    int slot = bucket.head;
    if (slot == -1)
        Fault("%s: bucket %d is listed, but empty", what, bucket.number);
    while (slot != -1) {
        if (slot < 0 || slot >= table.slots.count()) {
            Fault("%s: the chain of bucket %d leads to %d, which does not exist", what,
                  bucket.number, slot);
            return;
        }
        if ((*reached)[slot]) {
            Fault("%s %d: the chain of bucket %d comes here a second time", what, slot,
                  bucket.number);
            return;
        }
        (*reached)[slot] = 1;
        if (CheckLink(what, table, bucket.number, before, slot))
            before = slot;
        slot = table.slots[slot].next;
    }
}

// Whether the slot has a name.
bool ImageCheck::CheckLink(const char* what, const TableRecords& table, int bucket, int before,
                           int slot)
{
    int length;
    const char* name = m_image->dictionary()->Entry(table.slots[slot].name, &length);
    if (!name)
        return false;
    unsigned int own = hashi(reinterpret_cast<const unsigned char*>(name), unsigned(length), 0) &
                       (table.bucket_count() - 1);
    if (own != unsigned(bucket))
        Fault("%s %d: it is in the chain of bucket %d, but its name belongs to bucket %u", what,
              slot, bucket, own);
    int before_length;
    const char* before_name =
        before < 0 ? nullptr
                   : m_image->dictionary()->Entry(table.slots[before].name, &before_length);
    if (before_name && (before_length > length ||
                        (before_length == length && memcmpi(before_name, name, length) > 0)))
        Fault("%s %d: it stands behind %d in its chain, against the order", what, slot, before);
    return true;
}

void ImageCheck::CheckLanguages()
{
    CheckTable("language", m_image->languages());
    for (int i = 0; i < m_image->languages().slots.count(); ++i) {
        const TableRecords* index = m_image->index(i);
        if (!index) {
            Fault("language %d: it has no index", i);
            continue;
        }
        char what[64];
        snprintf(what, sizeof what, "language %d: text", i);
        CheckTable(what, *index);
        for (int k = 0; k < index->slots.count(); ++k) {
            int first = index->slots[k].first;
            if (first < -1 || first >= m_image->pieces().count())
                Fault("%s %d: its first piece, %d, does not exist", what, k, first);
        }
    }
}

void ImageCheck::CheckPieces()
{
    const Array<PieceRecord>& pieces = m_image->pieces();
    for (int i = 0; i < pieces.count(); ++i) {
        if (!HasText(pieces[i].identifier))
            Fault("piece %d: its text, dictionary entry %d, does not exist", i,
                  pieces[i].identifier);
        if (pieces[i].next < -1 || pieces[i].next >= pieces.count())
            Fault("piece %d: the next piece, %d, does not exist", i, pieces[i].next);
    }
    CheckPieceChains();
}

// A chain that comes back to itself never ends. Each piece is marked with the walk that
// came to it first, so that one walk tells its own marks from those of others.
void ImageCheck::CheckPieceChains()
{
    const Array<PieceRecord>& pieces = m_image->pieces();
    Array<int> walks;
    walks.Fill(pieces.count(), -1);
    for (int start = 0; start < pieces.count(); ++start) {
        int piece = start;
        while (piece >= 0 && piece < pieces.count() && walks[piece] < 0) {
            walks[piece] = start;
            piece = pieces[piece].next;
        }
        if (piece >= 0 && piece < pieces.count() && walks[piece] == start)
            Fault("piece %d: its chain comes back to it", piece);
    }
}

void ImageCheck::CheckFunctions()
{
    CheckTable("function", m_image->functions());
    for (int i = 0; i < m_image->function_count(); ++i)
        CheckFunction(i);
}

// Where the code stands is looked at with the code.
void ImageCheck::CheckFunction(int number)
{
    const FunctionRecord& function = m_image->function(number);
    char what[64];
    snprintf(what, sizeof what, "function %d: local variable", number);
    CheckTable(what, function.locals);
    for (int i = 0; i < function.parameters.count(); ++i) {
        int slot = function.parameters[i].slot;
        if (slot < 0 || slot >= function.locals.slots.count())
            Fault("function %d: parameter %d: local variable %d does not exist", number, i, slot);
    }
    bool has_code = function.segment != -1 || function.offset != -1;
    if (has_code && !m_image->segments().Get(function.segment))
        Fault("function %d: segment %d does not exist", number, function.segment);
    if (!has_code && !(function.flags & Function::kExternal))
        Fault("function %d: it has no code and is not external", number);
}
