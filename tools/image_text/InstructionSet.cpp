#include "image_text/InstructionSet.h"

#include <string.h>

namespace {

using enum OperandKind;

// The first operand of a word. What is not named here is a plain number.
constexpr OperandKind FirstKind(unsigned int word)
{
    switch (word) {
        case 0x4001:  // pushc
        case 0x400A:  // pushnc
        case 0x4012:  // popnc
        case 0x404A:  // sourcefile
        case 0x404D:  // poplvnc
        case 0x404E:  // localize
        case 0x404F:  // localizev
        case 0x4056:  // poprnc
        case 0x5008:  // pushdc
        case 0x5010:  // popdc
            return kText;
        case 0x4004:  // pushs
        case 0x400C:  // pops
            return kSystem;
        case 0x4005:  // pushg
        case 0x400D:  // popg
        case 0x4053:  // poprg
        case 0x5301:  // cmpgg
        case 0x5302:  // cmpgi
        case 0x5303:  // incg
        case 0x5304:  // modgg
        case 0x5305:  // storegi
            return kGlobal;
        case 0x4006:  // pushl
        case 0x400E:  // popl
        case 0x4054:  // poprl
            return kLocal;
        case 0x403D:  // call
            return kFunction;
        case 0x4002:  // pushi
        case 0x4044:  // lineno
        case 0x404C:  // erroutput
        case 0x4050:  // stdoutput
        case 0x504B:  // tagerror
        case 0x505C:  // swapn
            return kInteger;
    }
    // The rest are jumps, and tags that branch past their body or back to it.
    return kJump;
}

constexpr OperandKind SecondKind(unsigned int word)
{
    switch (word) {
        case 0x5008:  // pushdc
        case 0x5010:  // popdc
            return kText;
        case 0x5301:  // cmpgg
        case 0x5304:  // modgg
            return kGlobal;
    }
    return kInteger;
}

// The two bits of a word that tell an operand's form.
constexpr unsigned int Form(unsigned int word, int place)
{
    return word >> (place == 0 ? 14 : 12) & 3;
}

constexpr OperandKind KindOf(unsigned int word, int place)
{
    unsigned int form = Form(word, place);
    if (form == 2)
        return kDouble;
    if (form != 1)
        return kNone;
    return place == 0 ? FirstKind(word) : SecondKind(word);
}

constexpr Instruction Made(unsigned int word, const char* name)
{
    return {word, name, {KindOf(word, 0), KindOf(word, 1)}};
}

constexpr Instruction kInstructions[] = {
#define ZEPH_OP(word, name, call) Made(word, name),
#define ZEPH_WORD(word, name) Made(word, name),
#include "vm/Instructions.def"
#undef ZEPH_OP
#undef ZEPH_WORD
};

constexpr int kCount = int(sizeof kInstructions / sizeof kInstructions[0]);

}  // namespace

int Instruction::operands() const
{
    return (kinds[0] != kNone) + (kinds[1] != kNone);
}

int InstructionCount()
{
    return kCount;
}

const Instruction& InstructionAt(int number)
{
    return kInstructions[number];
}

const Instruction* FindInstruction(unsigned int word)
{
    int low = 0;
    int high = kCount;
    while (low < high) {
        int middle = (low + high) / 2;
        if (kInstructions[middle].word < word)
            low = middle + 1;
        else
            high = middle;
    }
    return low < kCount && kInstructions[low].word == word ? &kInstructions[low] : nullptr;
}

const Instruction* FindInstruction(const char* name, int length, int operands)
{
    for (const Instruction& instruction : kInstructions)
        if (strlen(instruction.name) == size_t(length) &&
            memcmp(instruction.name, name, size_t(length)) == 0 &&
            (operands < 0 || instruction.operands() == operands))
            return &instruction;
    return nullptr;
}

int OperandSize(unsigned int word, int place)
{
    switch (Form(word, place)) {
        case 1:
            return 4;
        case 2:
            return 8;
    }
    return 0;
}

int InstructionSize(unsigned int word)
{
    return 2 + OperandSize(word, 0) + OperandSize(word, 1);
}

bool FallsThrough(unsigned int word)
{
    switch (word) {
        case 0x4025:  // jmp
        case 0x003B:  // ret
        case 0x003C:  // retn
        case 0x0043:  // exit
        case 0x0116:  // exit
            return false;
    }
    return true;
}
