#ifndef ZEPH_TOOLS_ZEPHDUMP_IMAGECHECK_H
#define ZEPH_TOOLS_ZEPHDUMP_IMAGECHECK_H

#include "image_text/TextBuffer.h"
#include "zephdump/LoadedImage.h"

struct DecodedInstruction;
class Segment;

// Looks for what the readers of the runtime take on trust: chains, indices, jumps and
// entry points. Each fault is a line that begins with the name of the file.
//
// Image and output are borrowed.
class ImageCheck {
public:
    ImageCheck(const char* file, LoadedImage* image, TextBuffer* out);
    ImageCheck(const ImageCheck&) = delete;
    ImageCheck& operator=(const ImageCheck&) = delete;

    // The number of faults.
    int Run();

private:
    // Where execution comes into a segment from outside, and how many local variables
    // there are then.
    struct Entry {
        int segment;
        int locals;
        int function;  // -1 for the start of the image
        int offset;
    };

    void Fault(const char* format, ...) __attribute__((format(printf, 2, 3)));
    bool HasText(int index) { return m_image->dictionary()->Entry(index, nullptr) != nullptr; }

    // ImageCheck.cpp: tables
    void CheckTable(const char* what, const TableRecords& table);
    void CheckBuckets(const char* what, const TableRecords& table, Array<int>* reached);
    void CheckChain(const char* what, const TableRecords& table, const TableRecords::Bucket& bucket,
                    Array<int>* reached);
    bool CheckLink(const char* what, const TableRecords& table, int bucket, int before, int slot);
    void CheckLanguages();
    void CheckPieces();
    void CheckPieceChains();
    void CheckFunctions();
    void CheckFunction(int number);

    // ImageCheck_code.cpp
    void CheckCode();
    void CheckSegment(const Segment& segment);
    void CheckInstruction(const DecodedInstruction& instruction);
    void CheckOperand(const DecodedInstruction& instruction, int place);
    void CheckJump(const DecodedInstruction& instruction, int place);
    void FindEntries();
    void CheckEntries(const Segment& segment);
    bool IsSound(const Entry& entry);
    void CheckRun(const Segment& segment, const Entry& entry);
    void CodeFault(int offset, const char* format, ...) __attribute__((format(printf, 3, 4)));

    const char* m_file;
    LoadedImage* m_image;  // borrowed
    TextBuffer* m_out;     // borrowed
    int m_faults = 0;

    Array<Entry> m_entries;  // by segment, then by the number of local variables
    int m_next_entry = 0;    // the first that is not looked at

    // Of the segment in work.
    int m_segment = 0;
    Array<char> m_boundaries;  // for each offset and the end: whether one starts there
    Array<char> m_reached;     // for each offset: whether a run came there
    Array<int> m_waiting;      // offsets that a run has still to go on from
};

#endif
