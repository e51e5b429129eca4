#ifndef ZEPH_TOOLS_ZEPHASM_ASSEMBLER_H
#define ZEPH_TOOLS_ZEPHASM_ASSEMBLER_H

#include "image_text/InstructionSet.h"
#include "image_text/TextBuffer.h"
#include "variables/HashTable.h"
#include "variables/List.h"
#include "variables/StringClass.h"
#include "zephasm/ImageBuilder.h"
#include "zephasm/SourceLine.h"

// Reads one file of assembly text into an image.
//
// A faulty line is reported, as FILE:LINE:COLUMN: and a sentence, and left out; the
// rest is still read, up to kMaximumErrors faults. Image and messages are borrowed.
class Assembler {
public:
    static const int kMaximumErrors = 20;

    // `file` is the name for messages.
    Assembler(const char* file, ImageBuilder* image, TextBuffer* messages);
    Assembler(const Assembler&) = delete;
    Assembler& operator=(const Assembler&) = delete;

    // Reads a whole file; true without a fault. Once for each object.
    bool Assemble(const char* text, long long length);

private:
    // A place in the source.
    struct Place {
        int line;
        int column;
    };
    struct Label {
        String name;
        int segment;
        int offset;
    };
    class LabelTable : public HashTable<Label> {
    public:
        LabelTable() : HashTable(1, 0, 10, 64) {}

    protected:
        const char* Key(Label* label, int* length) override
        {
            *length = label->name.length();
            return label->name.data();
        }
    };
    // An operand that names a label or function, to be set when all are known.
    struct Fixup {
        OperandKind kind;
        String name;
        Place place;
        Segment* segment;
        int operand;  // its position
        int end;      // position behind the instruction
    };
    // An operand as it was read.
    struct Operand {
        OperandKind kind;
        int value = 0;
        double number = 0;
        const Token* name = nullptr;  // of a Fixup to be made; null for none
    };
    struct Directive {
        const char* name;
        void (Assembler::*read)();
    };
    static const Directive kDirectives[];

    // Assembler.cpp: lines, labels, instructions
    void ReadLine(const char* line, int length);
    void ReadStatement();
    void ReadDirective();
    void ReadLabel();
    void ReadInstruction();
    const Instruction* TakeInstruction();
    void Emit(const Instruction& instruction, Operand* operands);
    int EmitOperand(int position, const Operand& operand, int end);
    void SetFixups();
    void SetJump(const Fixup& fixup);
    void SetCall(const Fixup& fixup);
    void CheckBuckets();

    // Assembler_operands.cpp: tokens and what they stand for
    bool Error(int column, const char* format, ...) __attribute__((format(printf, 3, 4)));
    bool ErrorAt(Place place, const TextBuffer& text);
    bool Expected(const char* what);
    const Token& Peek() { return m_line.At(m_next); }
    bool PeekMark(char mark) { return PeekIs(TokenKind::kMark, mark); }
    bool PeekIs(TokenKind kind, char c);
    bool PeekName();
    bool AtEnd();
    bool Skip(const char* word);
    bool TakeMark(char mark, const char* what);
    bool TakeNumber(long long low, long long high, const char* what, int* value);
    bool TakeDouble(double* value);
    bool TakeIndex(int* index);
    bool TakeText(const char* what, int* index);
    bool TakeString(const char* what, const Token** token);
    bool TakeSlot(SlotTable* table, const char* what, int* slot);
    bool TakeLocal(int* slot);
    bool TakeName(Operand* operand, const char* what);
    bool TakeJump(Operand* operand);
    bool TakeOperand(Operand* operand);

    // Assembler_directives.cpp
    void Version();
    void Flags();
    void Identifier();
    void Buckets();
    void Text();
    void System();
    void Global();
    void Local();
    void StartSegment();
    void StartFunction();
    void EndFunction();
    void External();
    void Bytes();
    void Words();
    void Language();
    void Localized();
    void Piece();
    bool NeedsSegment();
    void Numbers(int width, long long high, const char* what);
    bool TakePiece(int* type, int* identifier);
    bool TakeFirst(int* first);
    void CloseFunction(const char* where);
    bool TakeFunction(int flags, Function** function);
    bool TakeParameters(Function* function);
    bool TakeParameter(Function* function);
    bool TakeFunctionFlags(int* flags);

    const char* m_file;
    ImageBuilder* m_image;   // borrowed
    TextBuffer* m_messages;  // borrowed
    SourceLine m_line;
    int m_line_number = 0;
    int m_next = 0;  // token to be read
    int m_errors = 0;
    Segment* m_segment = nullptr;  // receiving code; borrowed from the image
    bool m_has_start = false;
    Function* m_function = nullptr;  // open; borrowed from the image
    Place m_function_place = {0, 0};
    Place m_bucket_places[kBucketTables] = {};  // of the last .buckets of each table
    LabelTable m_labels;
    List<Fixup> m_fixups;  // owned
};

#endif
