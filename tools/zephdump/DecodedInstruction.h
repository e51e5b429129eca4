#ifndef ZEPH_TOOLS_ZEPHDUMP_DECODEDINSTRUCTION_H
#define ZEPH_TOOLS_ZEPHDUMP_DECODEDINSTRUCTION_H

#include "image/Segment.h"
#include "image_text/InstructionSet.h"

// What stands at one place in a segment.
struct DecodedInstruction {
    DecodedInstruction(const Segment& segment, int position);

    int end() const { return position + size; }
    // Where a jump by the operand in that place leads, as the machine adds.
    int Target(int place) const { return int(unsigned(end()) + unsigned(values[place])); }

    int position;
    unsigned int word = 0;
    const Instruction* known = nullptr;  // null for a word that is no instruction
    // Whether all of it lies within the segment. If not, size reaches to the end of
    // the segment and the operands are of no meaning.
    bool is_whole = false;
    int size;
    int values[2] = {0, 0};
    double number = 0;
};

#endif
