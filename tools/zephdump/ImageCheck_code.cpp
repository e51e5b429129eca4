#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

#include "vm/TagErrorSettings.h"
#include "zephdump/DecodedInstruction.h"
#include "zephdump/ImageCheck.h"

namespace {

const unsigned int kTagError = 0x504B;

// As qsort asks for.
int Order(int left, int right)
{
    return left < right ? -1 : left > right;
}

}  // namespace

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
    FindEntries();
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
    CheckEntries(segment);
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
    // The machine passes over a row that is not there.
    int row = instruction.values[0];
    if (instruction.word == kTagError && (row < 0 || row >= kTagErrorRows))
        CodeFault(instruction.position, "error setting %d does not exist", row);
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
        case OperandKind::kLocal:  // depends on the function: see FindEntries
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
void ImageCheck::FindEntries()
{
    m_entries.Add({m_image->segments().start(), m_image->global().slots.count(), -1, 0});
    for (int i = 0; i < m_image->function_count(); ++i) {
        const FunctionRecord& function = m_image->function(i);
        m_entries.Add({function.segment, function.locals.slots.count(), i, function.offset});
    }
    qsort(m_entries.items(), size_t(m_entries.count()), sizeof(Entry),
          [](const void* left, const void* right) {
              const Entry* a = static_cast<const Entry*>(left);
              const Entry* b = static_cast<const Entry*>(right);
              return a->segment != b->segment ? Order(a->segment, b->segment)
                     : a->locals != b->locals ? Order(a->locals, b->locals)
                                              : Order(a->function, b->function);
          });
}

void ImageCheck::CheckEntries(const Segment& segment)
{
    m_reached.Fill(segment.size(), 0);
    for (; m_next_entry < m_entries.count(); ++m_next_entry) {
        const Entry& entry = m_entries[m_next_entry];
        if (entry.segment > m_segment)
            return;
        if (entry.segment == m_segment && IsSound(entry))
            CheckRun(segment, entry);
    }
}

bool ImageCheck::IsSound(const Entry& entry)
{
    bool is_inside = entry.offset >= 0 && entry.offset < m_boundaries.count();
    if (!is_inside)
        Fault("function %d: its entry point, offset 0x%X, is not in segment %d", entry.function,
              unsigned(entry.offset), m_segment);
    else if (!m_boundaries[entry.offset])
        Fault("function %d: its entry point, offset 0x%X, lies in an instruction", entry.function,
              unsigned(entry.offset));
    return is_inside && m_boundaries[entry.offset];
}

// Follows every way from an entry point up to where another run has been: that had no
// more local variables, so every fault from there on is told already.
void ImageCheck::CheckRun(const Segment& segment, const Entry& entry)
{
    m_waiting.Clear();
    m_waiting.Add(entry.offset);
    while (m_waiting.count() > 0) {
        int at = m_waiting.TakeLast();
        if (at < 0 || at >= segment.size() || !m_boundaries[at] || m_reached[at])
            continue;
        m_reached[at] = 1;
        DecodedInstruction instruction(segment, at);
        if (!instruction.known || !instruction.is_whole)
            continue;
        OperandKind kind = instruction.known->kinds[0];
        int value = instruction.values[0];
        if (kind == OperandKind::kLocal && (value < 0 || value >= entry.locals))
            CodeFault(at, "local variable %d does not exist", value);
        if (kind == OperandKind::kJump)
            m_waiting.Add(instruction.Target(0));
        if (FallsThrough(instruction.word))
            m_waiting.Add(instruction.end());
    }
}
