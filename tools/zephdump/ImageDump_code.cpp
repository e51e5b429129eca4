#include "image/Function.h"
#include "zephdump/DecodedInstruction.h"
#include "zephdump/ImageDump.h"

namespace {

// Marks of an offset: an instruction starts here, or the segment ends; a jump leads
// here.
const unsigned char kBoundary = 1;
const unsigned char kLabel = 2;

const struct {
    const char* name;
    int flag;
} kFunctionFlags[] = {
    {"external", Function::kExternal},
    {"output", Function::kSetsOutputBit0},
    {"showerrors", Function::kSetsErrorBit2},
    {"hideerrors", Function::kClearsErrorBit2},
    {"inheritoutput", Function::kInheritsOutput},
};

// Whether a parameter has the next local variable for its own.
bool HasOwnLocal(const FunctionRecord& function, int parameter, int local)
{
    const FunctionRecord::Parameter& record = function.parameters[parameter];
    const Array<TableRecords::Slot>& slots = function.locals.slots;
    return record.slot == local && local < slots.count() && slots[local].name == record.name;
}

// How many local variables the parameters declare.
int OwnLocals(const FunctionRecord& function)
{
    int locals = 0;
    for (int i = 0; i < function.parameters.count(); ++i)
        locals += HasOwnLocal(function, i, locals);
    return locals;
}

// Whether the function is the plain declaration of an external one.
bool IsDeclaration(const FunctionRecord& function)
{
    return (function.flags & Function::kExternal) && function.segment == -1 &&
           function.offset == -1 && OwnLocals(function) == function.locals.slots.count();
}

}  // namespace

void ImageDump::WriteSegments()
{
    const SegmentManager& segments = m_image->segments();
    FindInlineFunctions();
    WritePlacedFunctions();
    for (int i = 0; i < segments.count(); ++i) {
        m_segment = i;
        Mark(*segments.Get(i));
        m_out->Add("\n.segment");
        if (i > 0 && segments.start() == i)
            m_out->Add(" start");
        m_out->Format("  ; #%d\n", i);
        WriteSegment(*segments.Get(i));
        WritePlacedFunctions();
    }
}

// Functions are written in the order of their numbers, so one stands with its code
// only when that comes behind the code of those before it.
void ImageDump::FindInlineFunctions()
{
    const SegmentManager& segments = m_image->segments();
    m_inline.Fill(m_image->function_count(), 0);
    for (int i = 0; i < segments.count(); ++i) {
        Mark(*segments.Get(i));
        for (int k = 0; k < m_inline.count(); ++k) {
            const FunctionRecord& function = m_image->function(k);
            m_inline[k] |= function.segment == i && !IsDeclaration(function) &&
                           function.offset >= 0 && function.offset < m_marks.count() &&
                           (m_marks[function.offset] & kBoundary);
        }
    }
    const FunctionRecord* last = nullptr;
    for (int k = 0; k < m_inline.count(); ++k) {
        const FunctionRecord& function = m_image->function(k);
        if (last && (function.segment < last->segment ||
                     (function.segment == last->segment && function.offset < last->offset)))
            m_inline[k] = 0;
        if (m_inline[k])
            last = &function;
    }
}

void ImageDump::Mark(const Segment& segment)
{
    m_marks.Fill(segment.size() + 1, 0);
    for (int at = 0; at < segment.size(); at = DecodedInstruction(segment, at).end())
        m_marks[at] |= kBoundary;
    m_marks[segment.size()] |= kBoundary;
    for (int at = 0; at < segment.size();) {
        DecodedInstruction instruction(segment, at);
        for (int place = 0; place < 2 && instruction.is_whole && instruction.known; ++place) {
            if (instruction.known->kinds[place] != OperandKind::kJump)
                continue;
            int target = instruction.Target(place);
            if (target >= 0 && target <= segment.size() && (m_marks[target] & kBoundary))
                m_marks[target] |= kLabel;
        }
        at = instruction.end();
    }
}

void ImageDump::WriteSegment(const Segment& segment)
{
    for (int at = 0; at <= segment.size();) {
        WriteFunctionsAt(at);
        if (m_marks[at] & kLabel) {
            AddLabel(at);
            m_out->Add(":\n");
        }
        if (at == segment.size())
            break;
        DecodedInstruction instruction(segment, at);
        WriteInstruction(instruction, segment);
        at = instruction.end();
    }
    CloseFunction();
}

// The functions that start here, each with those in front of it that have no place
// of their own.
void ImageDump::WriteFunctionsAt(int offset)
{
    for (;;) {
        while (m_next_inline < m_inline.count() && !m_inline[m_next_inline])
            ++m_next_inline;
        if (m_next_inline == m_inline.count())
            return;
        const FunctionRecord& function = m_image->function(m_next_inline);
        if (function.segment != m_segment || function.offset != offset)
            return;
        CloseFunction();
        WritePlacedFunctions();
        WriteFunction(m_next_inline, true);
        ++m_next_inline;
    }
}

void ImageDump::WritePlacedFunctions()
{
    while (m_next_function < m_inline.count() && !m_inline[m_next_function])
        WriteFunction(m_next_function, false);
}

// With its code behind it, or with the place of its code.
void ImageDump::WriteFunction(int number, bool is_here)
{
    const FunctionRecord& function = m_image->function(number);
    bool is_declaration = IsDeclaration(function);
    m_next_function = number + 1;
    m_out->Add(is_declaration ? "\n.external " : "\n.function ");
    AddEntryName(function.name);
    AddParameters(function);
    AddFunctionFlags(is_declaration ? function.flags & ~Function::kExternal : function.flags);
    if (!is_here && !is_declaration)
        m_out->Format(" at %d %d", function.segment, function.offset);
    m_out->Format("  ; #%d\n", number);
    for (int i = OwnLocals(function); i < function.locals.slots.count(); ++i) {
        m_out->Add(".local ");
        AddEntryName(function.locals.slots[i].name);
        m_out->Format("  ; #%d\n", i);
    }
    if (is_here) {
        m_is_open = true;
        m_locals = new NameLookup(m_image->dictionary(), function.locals);
    } else if (!is_declaration) {
        m_out->Add(".endfunction\n");
    }
}

void ImageDump::AddParameters(const FunctionRecord& function)
{
    int locals = 0;
    m_out->Add("(");
    for (int i = 0; i < function.parameters.count(); ++i) {
        const FunctionRecord::Parameter& parameter = function.parameters[i];
        if (i > 0)
            m_out->Add(", ");
        AddEntryName(parameter.name);
        if (parameter.flags == FunctionParameter::kByReference)
            m_out->Add(" var");
        else if (parameter.flags != 0)
            m_out->Format(" flags 0x%X", unsigned(parameter.flags));
        if (HasOwnLocal(function, i, locals))
            ++locals;
        else
            m_out->Format(" slot %d", parameter.slot);
    }
    m_out->Add(")");
}

void ImageDump::AddFunctionFlags(int flags)
{
    for (const auto& known : kFunctionFlags) {
        if (flags & known.flag)
            m_out->Format(" %s", known.name);
        flags &= ~known.flag;
    }
    if (flags != 0)
        m_out->Format(" 0x%X", unsigned(flags));
}

void ImageDump::CloseFunction()
{
    if (m_is_open)
        m_out->Add(".endfunction\n");
    m_is_open = false;
    delete m_locals;
    m_locals = nullptr;
}

void ImageDump::WriteInstruction(const DecodedInstruction& instruction, const Segment& segment)
{
    if (!instruction.known || !instruction.is_whole) {
        WriteRaw(instruction, segment);
        return;
    }
    const Instruction& known = *instruction.known;
    int length = 0;
    while (known.name[length])
        ++length;
    m_out->Format("    %s", known.name);
    if (FindInstruction(known.name, length, known.operands()) != &known)
        m_out->Format("/%04X", known.word);
    for (int place = 0; place < known.operands(); ++place) {
        m_out->Add(place == 0 ? " " : ", ");
        AddOperand(instruction, place);
    }
    m_out->Add("\n");
}

void ImageDump::WriteRaw(const DecodedInstruction& instruction, const Segment& segment)
{
    m_out->Add("    .byte");
    for (int at = instruction.position; at < instruction.end(); ++at)
        m_out->Format(" 0x%02X", unsigned(static_cast<unsigned char>(segment.code()[at])));
    m_out->Add(instruction.is_whole ? "  ; no instruction\n" : "  ; cut off\n");
}

void ImageDump::AddOperand(const DecodedInstruction& instruction, int place)
{
    int value = instruction.values[place];
    switch (instruction.known->kinds[place]) {
        case OperandKind::kNone:
            break;
        case OperandKind::kText:
            AddEntryText(value);
            break;
        case OperandKind::kSystem:
            AddSlot(&m_system, value);
            break;
        case OperandKind::kGlobal:
            AddSlot(&m_global, value);
            break;
        case OperandKind::kLocal:
            AddSlot(m_locals, value);
            break;
        case OperandKind::kFunction:
            AddSlot(&m_functions, value);
            break;
        case OperandKind::kJump:
            AddTarget(instruction, place);
            break;
        case OperandKind::kInteger:
            m_out->Format("%d", value);
            break;
        case OperandKind::kDouble:
            m_out->AddDouble(instruction.number);
            break;
    }
}

// Null names are those of a function that is not known.
void ImageDump::AddSlot(NameLookup* names, int slot)
{
    int length;
    const char* name = names ? names->Name(slot, &length) : nullptr;
    if (name)
        m_out->AddName(name, length);
    else
        m_out->Format("#%d", slot);
}

void ImageDump::AddTarget(const DecodedInstruction& instruction, int place)
{
    int target = instruction.Target(place);
    if (target >= 0 && target < m_marks.count() && (m_marks[target] & kLabel))
        AddLabel(target);
    else
        m_out->Format("%+d", instruction.values[place]);
}

void ImageDump::AddLabel(int offset)
{
    m_out->Format("L%d_%04X", m_segment, unsigned(offset));
}
