#ifndef ZEPH_VM_PLAINCALLS_H
#define ZEPH_VM_PLAINCALLS_H

#include "app/Output.h"
#include "app/ZephApplication.h"
#include "image/Function.h"
#include "variables/VariableHash.h"
#include "vm/DecodedCode.h"
#include "vm/StepValues.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

// A part of the loop, which alone includes it.
//
// How most functions are called and return: arguments by value and all of them on the stack,
// none of the flags that a function can have, nothing to log, and a frame that an earlier call
// has left. Anything else is done by CallFunction and Return.

// Of the output: it is not known how it treats white space.
const int kUnknownFlags = -1;

// The frame for such a call, or null.
inline ZephVM_FunctionFrame* ZephVM::FrameForPlainCall(int index, long long entries)
{
    if (unsigned(index) >= unsigned(m_spare_count))
        return nullptr;
    ZephVM_FunctionFrame* frame = m_spare_frames[index];
    return frame && frame->is_plain() && frame->plain_parameters() <= entries ? frame : nullptr;
}

inline void ZephVM::SetOutputFlags(int flags, int* known)
{
    if (*known == flags)
        return;
    m_application->output()->SetFlags(flags);
    *known = flags;
}

// False when there is more to do than to pass numbers: the registers then say where to go on.
inline bool ZephVM::EnterPlainFunction(ZephVM_FunctionFrame* frame, DecodedStep* call,
                                       int* output_flags)
{
    m_spare_frames[call->a] = static_cast<ZephVM_FunctionFrame*>(frame->previous);
    frame->return_segment = m_segment;
    frame->return_offset = int(call->next);
    frame->next_step = call + 1;
    frame->error_output = m_frame->error_output;
    frame->standard_output = 0;
    frame->previous = m_frame;
    SetOutputFlags(0, output_flags);
    int left = frame->plain_parameters();
    const _VH_Entry* locals = frame->locals()->entries();
    Stack_Entry* top = m_stack->m_top;
    while (left > 0 && locals[left - 1].variable &&
           ZephVM_Stack::TakeNumber(locals[left - 1].variable, top[-1])) {
        --left;
        --top;
    }
    m_stack->m_top = top;
    if (left > 0) {
        m_instruction_offset = call->offset;
        m_pc = call->next;
        PassPlainParameters(left, frame->locals());
        m_pc = unsigned(frame->function()->offset());
    }
    m_frame = frame;
    m_stack = frame->stack();
    return left == 0;
}

// Whether the frame has been entered so and leaves nothing but its value. A run within an
// instruction may have left it behind for the code of another segment.
inline bool ZephVM::CanLeavePlainFunction(const Stack_Entry& value)
{
    if (!m_frame->Is(ZephVM_Frame::kFunction))
        return false;
    ZephVM_FunctionFrame* frame = static_cast<ZephVM_FunctionFrame*>(m_frame);
    bool is_borrowed = value.kind == Stack_Entry::kVariable && !value.owned;
    return frame->next_step && frame->return_segment == m_segment && !is_borrowed &&
           m_features.Entries() == 0 && frame->HasItsLocals() &&
           frame->previous->stack()->HasRoom();
}

// The step behind the call.
inline DecodedStep* ZephVM::LeavePlainFunction(const Stack_Entry& value, int* output_flags)
{
    ZephVM_FunctionFrame* frame = static_cast<ZephVM_FunctionFrame*>(m_frame);
    m_frame = frame->previous;
    m_stack = m_frame->stack();
    Move(value, m_stack->m_top++);
    frame->stack()->m_top = frame->stack()->m_entries;
    frame->locals()->Recycle(frame->plain_parameters());
    DecodedStep* next = frame->next_step;
    if (!frame->JoinSpares(&m_spare_frames[frame->function()->index()]))
        delete frame;
    SetOutputFlags(m_frame->standard_output, output_flags);
    return next;
}

#endif
