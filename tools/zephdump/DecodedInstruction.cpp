#include "zephdump/DecodedInstruction.h"

DecodedInstruction::DecodedInstruction(const Segment& segment, int start) : position(start)
{
    unsigned short first;
    size = segment.size() - position;
    int at = segment.Read_Word(position, &first);
    if (at < 0)
        return;
    word = first;
    known = FindInstruction(word);
    if (InstructionSize(word) > size)
        return;
    is_whole = true;
    size = InstructionSize(word);
    for (int place = 0; place < 2; ++place) {
        int width = OperandSize(word, place);
        if (width == 4)
            at = segment.Read_Dword(at, &values[place]);
        else if (width == 8)
            at = segment.Read_Double(at, &number);
    }
}
