// Script run by native code: the loop nests on the machine's stack.
//
// A function's nested run ends because its return position is the end of the segment that
// is under way; an expression's or another file's, because its code ends in a frame of
// its own.

#include "image/Function.h"
#include "image/FunctionManager.h"
#include "image/Segment.h"
#include "image/SegmentManager.h"
#include "variables/ImmutableVariable.h"
#include "variables/VariableHash.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

namespace {

const bool kOwn = true;
const int kAddRef = 1;
const int kOwned = 1;
const int kBorrowed = 0;

const char kProcessHook[] = "Zeph_ProcessFileUpload";
const char kValidateHook[] = "Zeph_ValidateFileUpload";
const int kProcessParameters = 6;
const int kValidateParameters = 3;
const int kNoAnswer = -1;

}  // namespace

// Where the code goes on, and the instruction that nests: its place, which an error of it
// shows, and its operands.
ZephVM::Registers ZephVM::SaveRegisters() const
{
    return {m_segment, m_pc, m_instruction_offset, m_a, m_b, m_double_a, m_double_b};
}

void ZephVM::RestoreRegisters(const Registers& saved)
{
    m_segment = saved.segment;
    m_pc = saved.pc;
    m_instruction_offset = saved.instruction_offset;
    m_a = saved.a;
    m_b = saved.b;
    m_double_a = saved.double_a;
    m_double_b = saved.double_b;
}

bool ZephVM::RunFunction(const char* name, int length, VariableList* arguments, Variable* result)
{
    Function* function = m_functions->Function_Get(name, length);
    if (!function)
        return false;
    if (arguments && function->parameters()->Entries() != arguments->Entries())
        return false;
    Variable* argument = arguments ? arguments->First() : nullptr;
    for (; argument; argument = arguments->Next())
        m_stack->PushV(argument, kAddRef, kOwned);
    if (!RunCalled(function))
        return false;
    if (result)
        m_stack->PopV(result);
    else
        m_stack->Pop();
    return true;
}

// Runs a function, whose arguments have been pushed, to its end. Without success when the
// machine halted or the script exited, and then nothing lies on the stack.
bool ZephVM::RunCalled(Function* function)
{
    Registers saved = SaveRegisters();
    // Before the first instruction no segment has been loaded.
    if (m_segment != m_loaded_segment && !Set_Segment())
        return false;
    ZephVM_Frame* calling_frame = m_calling_frame;
    m_calling_frame = m_frame;
    m_pc = m_code_size;
    CallFunction(function);
    bool is_loaded = Set_Segment();
    if (is_loaded)
        Go();
    m_calling_frame = calling_frame;
    if (!is_loaded)
        return false;
    RestoreRegisters(saved);
    return !m_halted && !*m_exit;
}

bool ZephVM::ProcessFileUpload(const char* text1, int length1, const char* text2, int length2,
                               const char* text3, int length3, const char* text4, int length4,
                               const char* text5, int length5, int number)
{
    Function* function = m_functions->Function_Get(kProcessHook, -1);
    if (!function)
        return true;
    if (function->parameters()->Entries() != kProcessParameters)
        return false;
    m_stack->PushS(text1, length1, length1, kBorrowed);
    m_stack->PushS(text2, length2, length2, kBorrowed);
    m_stack->PushS(text3, length3, length3, kBorrowed);
    m_stack->PushS(text4, length4, length4, kBorrowed);
    m_stack->PushS(text5, length5, length5, kBorrowed);
    m_stack->PushI(number);
    if (!RunCalled(function))
        return false;
    m_stack->Pop();
    return true;
}

bool ZephVM::ValidateFileUpload(const char* text1, int length1, const char* text2, int length2,
                                const char* text3, int length3, int* result)
{
    *result = kNoAnswer;
    Function* function = m_functions->Function_Get(kValidateHook, -1);
    if (!function)
        return true;
    if (function->parameters()->Entries() != kValidateParameters)
        return false;
    m_stack->PushS(text1, length1, length1, kBorrowed);
    m_stack->PushS(text2, length2, length2, kBorrowed);
    m_stack->PushS(text3, length3, length3, kBorrowed);
    if (!RunCalled(function))
        return false;
    *result = m_stack->PopI();
    return true;
}

// Runs code in a frame that no call made, and ends whatever frames it left above: an exit
// or a fatal error inside a function leaves them.
int ZephVM::RunFrame(ZephVM_Frame* frame, Segment* segment)
{
    Registers saved = SaveRegisters();
    Segment* loaded = m_loaded;
    unsigned int code_size = m_code_size;
    int loaded_segment = m_loaded_segment;
    ZephVM_Frame* outer = m_frame;
    frame->return_segment = m_segment;
    frame->return_offset = int(m_pc);
    EnterFrame(frame, segment->number(), 0);
    m_loaded = segment;
    m_code_size = unsigned(segment->size());
    m_loaded_segment = m_segment;
    int result = Go();
    while (m_frame) {
        ZephVM_Frame* ended = m_frame;
        m_frame = ended->previous;
        delete ended;
    }
    m_frame = outer;
    m_stack = outer->stack();
    m_loaded = loaded;
    m_code_size = code_size;
    m_loaded_segment = loaded_segment;
    RestoreRegisters(saved);
    return result;
}

int ZephVM::Go_Recursive()
{
    ZephVM_Frame* frame = new ZephVM_Frame;
    frame->Set_LocalVariable_Hash(m_global_variables, !kOwn);
    frame->Set_Stack(new ZephVM_Stack(this, ZephVM_Stack::kFrameCapacity), kOwn);
    return RunFrame(frame, m_segments->Start());
}

// The segment itself is run, and need not be one of the image: but a function that it calls
// returns to it by its number.
int ZephVM::Execute_Dynamic_Expression(Segment* segment, ZephVM_Stack* stack, VariableHash* locals)
{
    ZephVM_Frame* frame = new ZephVM_Frame;
    frame->Set_LocalVariable_Hash(locals ? locals : m_frame->locals(), !kOwn);
    frame->Set_Stack(stack ? stack : m_stack, !kOwn);
    frame->standard_output = m_frame->standard_output;
    return RunFrame(frame, segment);
}

// Runs an expression and makes sure that its value is on `*stack`, which is set where it is
// null. A script that has exited on the way left none: then it is the NULL value.
int ZephVM::RunForValue(Segment* segment, ZephVM_Stack** stack, VariableHash* locals)
{
    if (!*stack)
        *stack = m_stack;
    int result = Execute_Dynamic_Expression(segment, *stack, locals);
    if (result && *m_exit)
        (*stack)->PushV(m_null, kAddRef, kOwned);
    return result;
}

int ZephVM::Execute_Dynamic_Expression(Segment* segment, Variable** variable, int* owned,
                                       ZephVM_Stack* stack, VariableHash* locals)
{
    *variable = nullptr;
    *owned = 0;
    int result = RunForValue(segment, &stack, locals);
    if (result)
        stack->PopV(variable, owned);
    return result;
}

int ZephVM::Execute_Dynamic_Expression(Segment* segment, const char** text, int* length,
                                       int* capacity, int* owned, ZephVM_Stack* stack,
                                       VariableHash* locals)
{
    *text = nullptr;
    *length = *owned = 0;
    if (capacity)
        *capacity = 0;
    int result = RunForValue(segment, &stack, locals);
    if (result)
        *text = stack->PopS(length, capacity, owned);
    return result;
}

int ZephVM::Execute_Dynamic_Expression(Segment* segment, int* truth, ZephVM_Stack* stack,
                                       VariableHash* locals)
{
    *truth = 0;
    int result = RunForValue(segment, &stack, locals);
    if (result)
        *truth = stack->PopBool();
    return result;
}
