#ifndef ZEPH_TOOLS_ZEPHDUMP_IMAGEDUMP_H
#define ZEPH_TOOLS_ZEPHDUMP_IMAGEDUMP_H

#include "image_text/TextBuffer.h"
#include "image_text/TextIndex.h"
#include "zephdump/NameLookup.h"

struct DecodedInstruction;
class Segment;

// Writes a compiled file as the assembly text from which the assembler makes it
// again.
//
// What only a damaged file has, such as chains that miss a name, is not in the text:
// the assembler makes it sound. Image and output are borrowed.
class ImageDump {
public:
    ImageDump(LoadedImage* image, TextBuffer* out);
    ~ImageDump();
    ImageDump(const ImageDump&) = delete;
    ImageDump& operator=(const ImageDump&) = delete;

    void Write();

private:
    // ImageDump.cpp: header, texts, variables, languages
    void WriteHeader();
    void WriteBuckets(const char* name, const TableRecords& table);
    void WriteTexts();
    void WriteScope(const char* directive, const TableRecords& table);
    void AddEntryText(int index);
    void AddEntryName(int index);
    void WriteLanguages();
    void WriteLocalizedTexts();
    bool IsUnbroken(int piece);
    void WriteRawEntries(int language, int end);
    void StartLocalized(int language, int entry);
    void AddPiece(const PieceRecord& piece);
    int WriteUnbroken(int language, int entry);
    void WritePiece(const PieceRecord& piece);

    // ImageDump_code.cpp: segments and functions
    void WriteSegments();
    void WriteSegment(const Segment& segment);
    void Mark(const Segment& segment);
    void FindInlineFunctions();
    void WriteFunctionsAt(int offset);
    void WritePlacedFunctions();
    void WriteFunction(int function, bool is_here);
    void AddParameters(const FunctionRecord& function);
    void AddFunctionFlags(int flags);
    void CloseFunction();
    void WriteInstruction(const DecodedInstruction& instruction, const Segment& segment);
    void WriteRaw(const DecodedInstruction& instruction, const Segment& segment);
    void AddOperand(const DecodedInstruction& instruction, int place);
    void AddSlot(NameLookup* names, int slot);
    void AddTarget(const DecodedInstruction& instruction, int place);
    void AddLabel(int offset);

    LoadedImage* m_image;  // borrowed
    TextBuffer* m_out;     // borrowed
    TextIndex m_texts;
    NameLookup m_system;
    NameLookup m_global;
    NameLookup m_languages;
    NameLookup m_functions;
    Array<int> m_written;  // for each language, how many texts are written

    // Of the segment in work: for each offset, and the end, a set of marks.
    Array<unsigned char> m_marks;
    int m_segment = 0;
    Array<char> m_inline;            // for each function: whether it stands with its code
    int m_next_function = 0;         // the first that is not written
    int m_next_inline = 0;           // the first of them that stands with its code
    bool m_is_open = false;          // a function is
    NameLookup* m_locals = nullptr;  // of the open function; owned
};

#endif
