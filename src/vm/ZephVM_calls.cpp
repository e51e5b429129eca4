// How functions are called and how they return.

#include <stdlib.h>
#include <string.h>

#include "app/LogParameter.h"
#include "app/Output.h"
#include "app/ZephApplication.h"
#include "config/ExternalCall.h"
#include "image/Function.h"
#include "image/FunctionManager.h"
#include "variables/LinkBuffer.h"
#include "variables/VariableHash.h"
#include "variables/allocation.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

namespace {

const int kCreate = 1;
const bool kOwn = true;
const bool kWithValue = true;

// Of a frame's error output: runtime errors show their message.
const int kShowsErrors = 4;

int ErrorOutput(int flags, int of_caller)
{
    if (flags & Function::kSetsErrorBit2)
        of_caller |= kShowsErrors;
    if (flags & Function::kClearsErrorBit2)
        of_caller &= ~kShowsErrors;
    return of_caller;
}

// A function that inherits writes compressed where its caller does either kind of that.
int StandardOutput(int flags, int of_caller)
{
    const int kEither = Output::kCompressFast | Output::kCompressFull;
    if (flags & Function::kInheritsOutput)
        return of_caller & kEither ? Output::kCompressFull : 0;
    return flags & Function::kSetsOutputBit0 ? Output::kCompressFast : 0;
}

}  // namespace

// The frame of a call under the present one, which it returns to behind the instruction
// that has been fetched.
ZephVM_FunctionFrame* ZephVM::NewFunctionFrame(Function* function)
{
    ZephVM_FunctionFrame* frame = SpareFrame(function);
    frame->return_segment = m_segment;
    frame->return_offset = int(m_pc);
    frame->error_output = ErrorOutput(function->flags(), m_frame->error_output);
    frame->standard_output = StandardOutput(function->flags(), m_frame->standard_output);
    frame->previous = m_frame;
    frame->next_step = nullptr;
    return frame;
}

// A frame that an earlier call of the function has left, or a new one.
ZephVM_FunctionFrame* ZephVM::SpareFrame(Function* function)
{
    ZephVM_FunctionFrame** spare = SpareFrames(function);
    if (spare && *spare) {
        ZephVM_FunctionFrame* frame = *spare;
        *spare = static_cast<ZephVM_FunctionFrame*>(frame->previous);
        return frame;
    }
    ZephVM_FunctionFrame* frame = new ZephVM_FunctionFrame(function);
    frame->Set_LocalVariable_Hash(new VariableHash(*function->locals()), kOwn);
    frame->Set_Stack(new ZephVM_Stack(this, ZephVM_Stack::kFrameCapacity), kOwn);
    return frame;
}

// Where the frames that calls of a function have left are kept, the first of a chain; null
// for a function that is not of this image.
ZephVM_FunctionFrame** ZephVM::SpareFrames(Function* function)
{
    int index = function->index();
    if (!m_functions || m_functions->Index(index) != function)
        return nullptr;
    if (index < m_spare_count)
        return &m_spare_frames[index];
    int count = m_functions->count();
    m_spare_frames = static_cast<ZephVM_FunctionFrame**>(
        GrownMemory(m_spare_frames, size_t(count), sizeof *m_spare_frames));
    memset(m_spare_frames + m_spare_count, 0,
           size_t(count - m_spare_count) * sizeof *m_spare_frames);
    m_spare_count = count;
    return &m_spare_frames[index];
}

// Keeps a frame whose call has ended for the next one. Its locals go first, as they would
// with the frame, and what ends may run script, which may move the table of frames. A call
// that has added names to its locals leaves nothing, nor does any while a tag is open: a tag
// knows its call by the frame, which must not be that of a later one.
bool ZephVM::KeepFrame(ZephVM_FunctionFrame* frame)
{
    Function* function = frame->function();
    if (m_trace_mask || m_features.Entries() > 0 || !frame->HasItsLocals() ||
        !SpareFrames(function))
        return false;
    frame->locals()->Recycle(function->PlainParameters());
    frame->stack()->Clear();
    ZephVM_FunctionFrame** first = SpareFrames(function);
    return m_features.Entries() == 0 && first && frame->JoinSpares(first);
}

void ZephVM::DeleteSpareFrames()
{
    for (int i = 0; i < m_spare_count; ++i) {
        while (ZephVM_Frame* frame = m_spare_frames[i]) {
            m_spare_frames[i] = static_cast<ZephVM_FunctionFrame*>(frame->previous);
            delete frame;
        }
    }
    free(m_spare_frames);
}

// Ends the current frame, with all that it still holds.
void ZephVM::DropFrame()
{
    ZephVM_Frame* frame = m_frame;
    m_frame = frame->previous;
    m_stack = m_frame->stack();
    if (!frame->Is(ZephVM_Frame::kFunction) ||
        !KeepFrame(static_cast<ZephVM_FunctionFrame*>(frame)))
        delete frame;
}

// The loop takes the code of the segment before the next instruction.
void ZephVM::EnterFrame(ZephVM_Frame* frame, int segment, int offset)
{
    m_frame = frame;
    m_stack = frame->stack();
    m_segment = segment;
    m_pc = unsigned(offset);
}

int ZephVM::call()
{
    Function* function = m_functions->Index(int(m_a));
    if (!function)
        return FatalError("Invalid function call");
    if (function->flags() & Function::kExternal)
        return CallExternalFunction(function);
    return CallFunction(function);
}

// The callee's frame becomes the current one even when an argument has failed: the machine
// is halted then, and ends with the frame in place.
int ZephVM::CallFunction(Function* function)
{
    ZephVM_FunctionFrame* frame = NewFunctionFrame(function);
    m_application->output()->SetFlags(frame->standard_output);
    if (Logs(kLogFunctionCall))
        LogEvent(kLogFunctionCall, {function->name()});
    bool passed = PassParameters(function, frame->locals());
    EnterFrame(frame, function->segment(), function->offset());
    return passed;
}

// From the last to the first: the last one is on top of the stack.
bool ZephVM::PassParameters(Function* function, VariableHash* locals)
{
    int plain = m_trace_mask == 0 ? function->PlainParameters() : -1;
    if (plain >= 0 && plain <= m_stack->Entries()) {
        PassPlainParameters(plain, locals);
        return true;
    }
    List<FunctionParameter>* parameters = function->parameters();
    for (FunctionParameter* parameter = parameters->Last(); parameter;
         parameter = parameters->Previous()) {
        if (!PassParameter(function, parameter, locals, kLogFunctionParameter))
            return false;
    }
    return true;
}

// By value, into the first slots, and all of them on the stack.
void ZephVM::PassPlainParameters(int count, VariableHash* locals)
{
    while (--count >= 0) {
        Variable* variable = locals->Get(count);
        if (!m_stack->PopNumber(variable))
            m_stack->PopV(variable);
    }
}

// Takes an argument off the caller's stack. False when the parameters before it are not to
// be passed any more. A reference to a slot that does not exist, and a value that is not
// on the stack, let them be passed, on purpose; the missing value has halted the machine.
bool ZephVM::PassParameter(Function* function, FunctionParameter* parameter, VariableHash* locals,
                           unsigned int event)
{
    Variable* variable;
    int owned = 0;
    if (parameter->flags() & FunctionParameter::kByReference) {
        // The stack may be another machine's, and then the fault has halted that one.
        if (!m_stack->PopV(&variable, &owned)) {
            m_halted = true;
            return false;
        }
        locals->SetVariable_Reference(parameter->slot(), variable);
    } else {
        variable = locals->Index(parameter->slot(), kCreate);
        if (!variable)
            return FatalError("Invalid parameter reference");
        m_stack->PopV(variable);
    }
    if (Logs(event))
        LogEvent(event, {function->name(), parameter->name(), variable});
    if (owned)
        variable->DecRefCount();
    return true;
}

// A function of a library has no frame: it runs in its caller's, and its arguments stand
// in the function's own table.
int ZephVM::CallExternalFunction(Function* function)
{
    ExternalCall* call = function->external_call();
    if (!call) {
        const String& name = function->name();
        call = m_external_calls->Lookup_External(name.data(), name.length());
        if (!call)
            return FatalError("Unresolved call to external function '" + name + "'");
        function->SetExternalCall(call);
    }
    if (call->parameters() != function->parameters()->Entries())
        return FatalError("Number of parameters mismatch in call to external function");
    if (Logs(kLogExternalCall))
        LogEvent(kLogExternalCall, {function->name()});
    // A library that calls script, which calls the function again, still needs its arguments.
    if (function->is_running()) {
        VariableHash nested(*function->locals());
        return CallBound(function, call, &nested);
    }
    function->SetRunning(true);
    int result = CallBound(function, call, function->locals());
    function->SetRunning(false);
    function->locals()->Dump();
    return result;
}

int ZephVM::CallBound(Function* function, ExternalCall* call, VariableHash* locals)
{
    const int kNoAddRef = 0;
    const int kOwned = 1;
    if (!PassExternalParameters(function, call, locals))
        return 0;
    Variable* result = call->Call(this, locals);
    result->IncRefCount();
    m_stack->PushV(result, kNoAddRef, kOwned);
    if (Logs(kLogExternalReturnValue))
        LogEvent(kLogExternalReturnValue, {function->name(), result});
    if (Logs(kLogExternalReturn))
        LogEvent(kLogExternalReturn, {function->name()});
    return 1;
}

bool ZephVM::PassExternalParameters(Function* function, ExternalCall* call, VariableHash* locals)
{
    List<FunctionParameter>* parameters = function->parameters();
    int index = call->parameters();
    for (FunctionParameter* parameter = parameters->Last(); parameter;
         parameter = parameters->Previous()) {
        if (call->ParameterFlags(--index) != parameter->flags())
            return FatalError("Parameter type mismatch in call to external function");
        if (!PassParameter(function, parameter, locals, kLogExternalParameter))
            return false;
    }
    return true;
}

int ZephVM::ret()
{
    return Return(kWithValue);
}

int ZephVM::retn()
{
    return Return(!kWithValue);
}

// The value moves to the caller's stack before the frame ends: an entry that borrows a
// local takes a count of it there, so that it survives the locals.
int ZephVM::Return(bool with_value)
{
    if (m_frame->Is(ZephVM_Frame::kAsync)) {
        *m_exit = 1;
        return 1;
    }
    if (!m_frame->Is(ZephVM_Frame::kFunction))
        return FatalError("Return outside of function");
    if (!m_frame->previous)
        return FatalError("Frame underflow");
    Function* function = static_cast<ZephVM_FunctionFrame*>(m_frame)->function();
    Cleanup_Function_Features(m_frame);
    m_segment = m_frame->return_segment;
    m_pc = unsigned(m_frame->return_offset);
    if (with_value) {
        m_stack->DetachTop();
        if (!m_frame->previous->stack()->TakeTop(m_stack))
            m_frame->previous->stack()->Push(m_stack, 1);
        if (!m_halted && Logs(kLogFunctionReturnValue))
            LogReturnValue(function, m_frame->previous->stack()->Peek());
    }
    if (Logs(kLogFunctionReturn))
        LogEvent(kLogFunctionReturn, {function->name()});
    DropFrame();
    m_application->output()->SetFlags(m_frame->standard_output);
    if (!with_value)
        m_stack->PushS("", 0, 0, 0);
    return 1;
}

void ZephVM::LogReturnValue(Function* function, Stack_Entry* entry)
{
    LogParameter value("", 0);
    if (entry && entry->kind == Stack_Entry::kInteger)
        value = LogParameter(entry->integer);
    else if (entry && entry->kind == Stack_Entry::kDouble)
        value = LogParameter(entry->real);
    else if (entry && entry->kind == Stack_Entry::kString)
        value = LogParameter(entry->string, entry->length);
    else if (entry && entry->kind == Stack_Entry::kVariable)
        value = LogParameter(entry->variable);
    else if (entry && entry->kind == Stack_Entry::kLinkBuffer) {
        int length;
        const char* text = entry->buffer->data(&length, nullptr);
        value = LogParameter(text, length);
    }
    LogEvent(kLogFunctionReturnValue, {function->name(), value});
}
