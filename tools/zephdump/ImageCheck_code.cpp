#include <stdarg.h>
#include <stdio.h>

#include "zephdump/DecodedInstruction.h"
#include "zephdump/ImageCheck.h"

void ImageCheck::CodeFault(int offset, const char* format, ...)
{
    char text[160];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    Fault("segment %d offset 0x%X: %s", m_segment, unsigned(offset), text);
}

void ImageCheck::CheckCode()
{
    for (int i = 0; i < m_image->segments().count(); ++i) {
        m_segment = i;
        CheckSegment(*m_image->segments().Get(i));
    }
}

void ImageCheck::CheckSegment(const Segment& segment)
{
    m_boundaries.Fill(segment.size() + 1, 0);
    m_boundaries[segment.size()] = 1;
    for (int at = 0; at < segment.size(); at = DecodedInstruction(segment, at).end())
        m_boundaries[at] = 1;
    for (int at = 0; at < segment.size();) {
        DecodedInstruction instruction(segment, at);
        CheckInstruction(instruction);
        at = instruction.end();
    }
    CheckLocals(segment);
}

void ImageCheck::CheckInstruction(const DecodedInstruction& instruction)
{
    if (!instruction.is_whole) {
        CodeFault(instruction.position, "the instruction is cut off by the end of the segment");
        return;
    }
    if (!instruction.known) {
        CodeFault(instruction.position, "0x%04X is no instruction", instruction.word);
        return;
    }
    for (int place = 0; place < instruction.known->operands(); ++place)
        CheckOperand(instruction, place);
}

void ImageCheck::CheckOperand(const DecodedInstruction& instruction, int place)
{
    int value = instruction.values[place];
    auto check = [&](const char* what, bool exists) {
        if (!exists)
            CodeFault(instruction.position, "%s %d does not exist", what, value);
    };
    switch (instruction.known->kinds[place]) {
        case OperandKind::kText:
            check("dictionary entry", HasText(value));
            break;
        case OperandKind::kSystem:
            check("system variable", value >= 0 && value < m_image->system().slots.count());
            break;
        case OperandKind::kGlobal:
            check("global variable", value >= 0 && value < m_image->global().slots.count());
            break;
        case OperandKind::kFunction:
            check("function", value >= 0 && value < m_image->function_count());
            break;
        case OperandKind::kJump:
            CheckJump(instruction, place);
            break;
        case OperandKind::kLocal:  // depends on the function: see CheckRun
        case OperandKind::kNone:
        case OperandKind::kInteger:
        case OperandKind::kDouble:
            break;
    }
}

void ImageCheck::CheckJump(const DecodedInstruction& instruction, int place)
{
    int target = instruction.Target(place);
    if (target < 0 || target >= m_boundaries.count())
        CodeFault(instruction.position, "the jump by %d leads out of the segment",
                  instruction.values[place]);
    else if (!m_boundaries[target])
        CodeFault(instruction.position, "the jump leads to offset 0x%X, into an instruction",
                  unsigned(target));
}

// Which variables an instruction may name depends on how it is reached: from the start,
// where they are the global ones, or from the entry point of a function.
void ImageCheck::CheckLocals(const Segment& segment)
{
    m_runs.Fill(segment.size(), -2);
    if (m_segment == m_image->segments().start())
        CheckRun(segment, 0, -1, m_image->global().slots.count());
    for (int i = 0; i < m_image->function_count(); ++i) {
        const FunctionRecord& function = m_image->function(i);
        if (function.segment != m_segment)
            continue;
        if (function.offset < 0 || function.offset >= m_boundaries.count())
            Fault("function %d: its entry point, offset 0x%X, is not in segment %d", i,
                  unsigned(function.offset), m_segment);
        else if (!m_boundaries[function.offset])
            Fault("function %d: its entry point, offset 0x%X, lies in an instruction", i,
                  unsigned(function.offset));
        else
            CheckRun(segment, function.offset, i, function.locals.slots.count());
    }
}

// Follows every way from an entry point, each instruction once.
void ImageCheck::CheckRun(const Segment& segment, int entry, int number, int locals)
{
    m_waiting.Clear();
    m_waiting.Add(entry);
    while (m_waiting.count() > 0) {
        int at = m_waiting.TakeLast();
        if (at < 0 || at >= segment.size() || !m_boundaries[at] || m_runs[at] == number)
            continue;
        m_runs[at] = number;
        DecodedInstruction instruction(segment, at);
        if (!instruction.known || !instruction.is_whole)
            continue;
        OperandKind kind = instruction.known->kinds[0];
        int value = instruction.values[0];
        if (kind == OperandKind::kLocal && (value < 0 || value >= locals))
            CodeFault(at, "local variable %d does not exist", value);
        if (kind == OperandKind::kJump)
            m_waiting.Add(instruction.Target(0));
        if (FallsThrough(instruction.word))
            m_waiting.Add(instruction.end());
    }
}
