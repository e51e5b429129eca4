#ifndef ZEPH_TOOLS_IMAGE_TEXT_INSTRUCTIONSET_H
#define ZEPH_TOOLS_IMAGE_TEXT_INSTRUCTIONSET_H

// What a 32-bit operand, or a double, means to its instruction.
enum class OperandKind : unsigned char {
    kNone,
    kText,      // index in the dictionary
    kSystem,    // slot of a system variable
    kGlobal,    // slot of a global variable
    kLocal,     // slot of a local variable; of a global one outside of functions
    kFunction,  // index in the table of functions
    kJump,      // distance in bytes from the end of the instruction
    kInteger,
    kDouble,
};

// An instruction as it is written and read by people. Words may share a name.
struct Instruction {
    unsigned int word;
    const char* name;
    OperandKind kinds[2];

    int operands() const;
};

// All instructions, in rising order of their words.
int InstructionCount();
const Instruction& InstructionAt(int number);

// Null when there is none.
const Instruction* FindInstruction(unsigned int word);
// The first one of that name, and of that many operands unless it is -1.
const Instruction* FindInstruction(const char* name, int length, int operands);

// Bytes that the operand in that place (0 or 1) of any word takes, known or not,
// and the whole instruction.
int OperandSize(unsigned int word, int place);
int InstructionSize(unsigned int word);

// Whether a run may go on behind the instruction.
bool FallsThrough(unsigned int word);

#endif
