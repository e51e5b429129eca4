#ifndef ZEPH_VM_INSTRUCTION_H
#define ZEPH_VM_INSTRUCTION_H

#include "image/little_endian.h"

// One instruction as it stands in the code: a word, two bits of which say what each of the
// operands is.
//
//   15 14   first operand: 1 an integer, 2 a double, 0 or 3 none
//   13 12   second operand, likewise
//   11 -  0 operation
//
// Operands are taken by these bits alone, and may run past the end of the code: every code
// buffer has spare zeros for that.
struct Instruction {
    Instruction(const unsigned char* code, unsigned int offset)
    {
        const unsigned char* bytes = code + offset;
        word = static_cast<unsigned short>(GetWord(bytes));
        bytes = TakeOperand(bytes + 2, word >> 14, &a, &double_a);
        bytes = TakeOperand(bytes, word >> 12 & 3, &b, &double_b);
        next = unsigned(bytes - code);
    }

    unsigned short word;
    int a = 0;
    int b = 0;
    double double_a = 0;
    double double_b = 0;
    unsigned int next;  // offset behind it

private:
    static const unsigned char* TakeOperand(const unsigned char* bytes, unsigned int form,
                                            int* integer, double* real)
    {
        const unsigned int kInteger = 1;
        const unsigned int kDouble = 2;
        if (form == kInteger) {
            *integer = GetDword(bytes);
            return bytes + 4;
        }
        if (form == kDouble) {
            *real = GetDouble(bytes);
            return bytes + 8;
        }
        return bytes;
    }
};

#endif
