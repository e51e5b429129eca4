// The loop. What is done without a call is what scripts do most, with operands of the usual
// kinds; all else is left to the handlers of the instructions, which do everything. A short
// way that does not fit its operands has changed nothing when it gives up.

#include "app/LogParameter.h"
#include "image/Dictionary.h"
#include "image/Function.h"
#include "image/FunctionManager.h"
#include "image/Segment.h"
#include "variables/DirectValue.h"
#include "variables/VariableHash.h"
#include "vm/AppendedPieces.h"
#include "vm/DecodedCode.h"
#include "vm/PlainCalls.h"
#include "vm/StepOperands.h"
#include "vm/StepValues.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

namespace {

// A flag that another thread sets may be noticed that many turns of a loop late, as long as
// nothing is done in them that could take time.
const int kTurnsBetweenLooks = 32;
// Bytes that are copied in the time of a turn, or less: a power of two.
const int kTextOfTurn = 10;

}  // namespace

// The flags are read wherever a run may go on without end: behind every handler and, now and
// then, at jumps backward and at calls.
int ZephVM::Go()
{
    // In the order of DecodedStep::Kind.
    static const void* const kLabels[] = {
        &&general,
        &&push_constant,
        &&push_integer,
        &&push_double,
        &&push_variable,
        &&pop_variable,
        &&pop,
        &&jump,
        &&jump_if,
        &&line,
        &&arithmetic,
        &&compare,
        &&increment,
        &&store_integer,
        &&call,
        &&ret,
        &&end,
        &&link,
        &&arithmetic_variable,
        &&arithmetic_number,
        &&arithmetic_variable_store,
        &&arithmetic_number_store,
        &&compare_variable_jump,
        &&compare_number_jump,
        &&compare_jump,
        &&append,
        &&push_element,
        &&store_element,
        &&push_member,
        &&store_member,
        &&calculate,
        &&calculate_store,
        &&compare_operands_jump,
        &&increment_loop,
        &&calculate_number_loop,
        &&calculate_variable_loop,
    };
    DecodedCode* code;
    DecodedStep* step;
    StepOperands operands(m_dictionary);
    Stack_Entry* top;  // behind the last entry
    int segment;
    int output_flags = kUnknownFlags;  // those that the output is known to have
    int turns = kTurnsBetweenLooks;    // until the next look

// Goes on with a step.
#define ZEPH_DO(next_step)         \
    do {                           \
        step = (next_step);        \
        goto* kLabels[step->kind]; \
    } while (0)
// Goes on with the instruction itself where the short way does not fit.
#define ZEPH_UNLESS(fits) \
    if (!(fits))          \
    goto general
// The same for a step of several: its parts do what it cannot.
#define ZEPH_FUSED_UNLESS(fits)           \
    if (top >= operands.limit_of_several) \
        goto roomless;                    \
    if (!(fits))                          \
    ZEPH_DO(step + step->parts)

    goto resume;

    // A step of several wants room for what its parts push.
roomless:
    m_stack->m_top = top;
    if (!m_stack->GrowAhead())
        ZEPH_DO(step + step->parts);
    goto take_frame;

resume:
    if (Polled(m_cancelled))
        return TimedOut();
    if (m_last_heartbeat != Polled(m_heartbeat))
        Heartbeat();
    if (m_halted)
        return 0;
    if (*m_exit)
        return 1;
    if (m_segment != m_loaded_segment && !Set_Segment())
        return 0;
    m_instruction_offset = m_pc;
    // In 64 bits: a jump may have left any value in the program counter.
    // Running off the end of the code is how every run ends.
    if (static_cast<unsigned long long>(m_pc) + 1 >= m_code_size) {
        if (EndOfSegment())
            return 1;
        goto resume;
    }
    segment = m_segment;
    // The first look is not worth a table of steps: many a page just runs to its end.
    if (!m_has_run) {
        m_has_run = true;
        goto once;
    }
    code = Decoded();
    step = code->At(m_pc);
    if (!step)
        goto once;
take_tables:
    operands.SetTable(DecodedStep::kGlobal, m_global_variables);
take_frame:
    operands.SetTable(DecodedStep::kLocal, m_frame->locals());
    operands.SetStack(m_stack->m_entries, m_stack->m_limit);
    top = m_stack->m_top;
    ZEPH_DO(step);

call : {
    ZephVM_FunctionFrame* frame = FrameForPlainCall(step->a, top - operands.base);
    ZEPH_UNLESS(frame && frame->function()->segment() == segment && --turns >= 0);
    m_stack->m_top = top;
    if (!EnterPlainFunction(frame, step, &output_flags))
        goto done;
    if (!step->target) {
        m_pc = unsigned(frame->function()->offset());
        if (!(step->target = code->At(m_pc)))
            goto once;
    }
    step = step->target;
    goto take_frame;
}

ret:
    ZEPH_UNLESS(top - operands.base == 1 && CanLeavePlainFunction(*operands.base));
    step = LeavePlainFunction(*operands.base, &output_flags);
    goto take_frame;

general:
    m_stack->m_top = top;
    m_instruction_offset = step->offset;
    m_pc = step->next;
    m_a = unsigned(step->a);
    m_b = unsigned(step->b);
    m_double_a = step->real;
    Execute(step->word);
done:
    output_flags = kUnknownFlags;
    turns = kTurnsBetweenLooks;
    // The end of the code is left to the look-up, which makes no step for it: native code
    // that calls script comes by there each time.
    if (m_halted || *m_exit || m_segment != segment || m_loaded_segment != segment ||
        static_cast<unsigned long long>(m_pc) + 1 >= m_code_size || IsInterrupted())
        goto resume;
    step = m_pc == step->next ? step + 1 : code->At(m_pc);
    if (step)
        goto take_tables;

    // Where no steps have been made, instructions are done from their bytes.
once:
    RunOnce();
    output_flags = kUnknownFlags;
    turns = kTurnsBetweenLooks;
    goto resume;

end:
    m_pc = step->offset;
    m_stack->m_top = top;
    goto resume;

link:
    if (!step->target && !(step->target = code->At(step->next))) {
        m_pc = step->next;
        m_stack->m_top = top;
        goto once;
    }
    ZEPH_DO(step->target);

jump:
    if (step->is_backward && --turns < 0) {
        turns = kTurnsBetweenLooks;
        if (IsInterrupted()) {
            m_pc = step->next + unsigned(step->result);
            m_stack->m_top = top;
            goto resume;
        }
    }
    if (!step->target) {
        m_pc = step->next + unsigned(step->result);
        m_stack->m_top = top;
        if (!(step->target = code->At(m_pc)))
            goto once;
    }
    ZEPH_DO(step->target);

jump_if:
    ZEPH_UNLESS(top > operands.base && top[-1].kind == Stack_Entry::kInteger);
    --top;
    if (step->outcomes & OutcomeOf(top->integer))
        goto jump;
    ZEPH_DO(step + 1);

line:
    ZEPH_UNLESS(!(m_trace_mask & kLogTrace));
    m_line = step->a;
    ZEPH_DO(step + 1);

push_constant : {
    int length;
    const char* text = m_dictionary->Entry(step->a, &length);
    ZEPH_UNLESS(text && top < operands.limit);
    top->kind = Stack_Entry::kString;
    top->owned = 0;
    top->string = text;
    top->length = top->capacity = length;
    ++top;
    ZEPH_DO(step + 1);
}

push_integer:
    ZEPH_UNLESS(top < operands.limit);
    SetInteger(top++, step->a);
    ZEPH_DO(step + 1);

push_double:
    ZEPH_UNLESS(top < operands.limit);
    SetDouble(top++, step->real);
    ZEPH_DO(step + 1);

push_variable : {
    Variable* variable = operands.Left(step);
    ZEPH_UNLESS(variable && top < operands.limit);
    SetVariable(top++, variable);
    ZEPH_DO(step + 1);
}

pop_variable : {
    Variable* variable = operands.Left(step);
    ZEPH_UNLESS(variable && top > operands.base && Store(variable, top[-1]));
    --top;
    ZEPH_DO(step + 1);
}

pop:
    ZEPH_UNLESS(top > operands.base && (!top[-1].owned || top[-1].kind == Stack_Entry::kVariable));
    --top;
    Drop(*top);
    ZEPH_DO(step + 1);

arithmetic : {
    double left, right;
    ZEPH_UNLESS(top - operands.base >= 2 && ArithmeticValue(top[-1], &right) &&
                ArithmeticValue(top[-2], &left));
    --top;
    Drop(*top);
    Drop(top[-1]);
    SetDouble(top - 1, Calculated(step->operation, left, right));
    ZEPH_DO(step + 1);
}

compare : {
    double left, right;
    ZEPH_UNLESS(top - operands.base >= 2 && ComparedValue(top[-2], &left) &&
                ComparedValue(top[-1], &right));
    --top;
    Drop(top[-1]);
    Drop(*top);
    int outcome = OutcomeOf(left, right);
    if (step->operation)
        SetInteger(top - 1, (outcome == DecodedStep::kGreater) - (outcome == DecodedStep::kLess));
    else
        SetInteger(top - 1, (step->outcomes & outcome) != 0);
    ZEPH_DO(step + 1);
}

increment : {
    Variable* variable = operands.Left(step);
    int value;
    ZEPH_UNLESS(variable && DirectValue::Integer(variable, &value) &&
                DirectValue::SetInteger(variable, int(unsigned(value) + unsigned(step->b))));
    ZEPH_DO(step + 1);
}

store_integer : {
    Variable* variable = operands.Left(step);
    ZEPH_UNLESS(variable && DirectValue::SetInteger(variable, step->b));
    ZEPH_DO(step + 1);
}

arithmetic_variable : {
    Variable* left_variable = operands.Left(step);
    Variable* right_variable = operands.Right(step);
    double left, right;
    ZEPH_FUSED_UNLESS(left_variable && right_variable &&
                      DirectValue::Double(right_variable, &right) &&
                      DirectValue::Double(left_variable, &left));
    SetDouble(top++, Calculated(step->operation, left, right));
    ZEPH_DO(step + 1);
}

arithmetic_number : {
    Variable* variable = operands.Left(step);
    double left;
    ZEPH_FUSED_UNLESS(variable && DirectValue::Double(variable, &left));
    SetDouble(top++, Calculated(step->operation, left, step->real));
    ZEPH_DO(step + 1);
}

arithmetic_variable_store : {
    Variable* left_variable = operands.Left(step);
    Variable* right_variable = operands.Right(step);
    Variable* result = operands.Result(step);
    double left, right;
    ZEPH_FUSED_UNLESS(left_variable && right_variable && result &&
                      DirectValue::Double(right_variable, &right) &&
                      DirectValue::Double(left_variable, &left) &&
                      DirectValue::SetDouble(result, Calculated(step->operation, left, right)));
    ZEPH_DO(step + 1);
}

arithmetic_number_store : {
    Variable* variable = operands.Left(step);
    Variable* result = operands.Result(step);
    double left;
    ZEPH_FUSED_UNLESS(
        variable && result && DirectValue::Double(variable, &left) &&
        DirectValue::SetDouble(result, Calculated(step->operation, left, step->real)));
    ZEPH_DO(step + 1);
}

compare_variable_jump : {
    Variable* left_variable = operands.Left(step);
    Variable* right_variable = operands.Right(step);
    double left, right;
    ZEPH_FUSED_UNLESS(left_variable && right_variable &&
                      DirectValue::Comparable(left_variable, &left) &&
                      DirectValue::Comparable(right_variable, &right));
    if (step->outcomes & OutcomeOf(left, right))
        goto jump;
    ZEPH_DO(step + 1);
}

compare_number_jump : {
    Variable* variable = operands.Left(step);
    double left;
    ZEPH_FUSED_UNLESS(variable && DirectValue::Comparable(variable, &left));
    if (step->outcomes & OutcomeOf(left, step->real))
        goto jump;
    ZEPH_DO(step + 1);
}

compare_jump : {
    double left, right;
    ZEPH_FUSED_UNLESS(top - operands.base >= 2 && ComparedValue(top[-2], &left) &&
                      ComparedValue(top[-1], &right));
    top -= 2;
    Drop(top[0]);
    Drop(top[1]);
    if (step->outcomes & OutcomeOf(left, right))
        goto jump;
    ZEPH_DO(step + 1);
}

append : {
    Variable* variable = operands.Left(step);
    AppendedPieces pieces(operands, m_dictionary, step);
    ZEPH_FUSED_UNLESS(variable && DirectValue::IsPlainScalar(variable) &&
                      (pieces.IsOneConstant() || pieces.AreApartFrom(variable)));
    // Long texts take their time.
    turns -= pieces.AppendTo(variable) >> kTextOfTurn;
    if (turns < 0 && IsInterrupted()) {
        m_pc = step->next;
        m_stack->m_top = top;
        goto resume;
    }
    ZEPH_DO(step + 1);
}

push_element : {
    Variable* array = operands.Left(step);
    ZEPH_FUSED_UNLESS(array);
    int index = operands.Index(step);
    // Where just the number is asked for, the element need not be had as a variable.
    if (step->operation) {
        int integer;
        double real;
        switch (DirectValue::ElementNumber(array, index, &integer, &real)) {
            case Variable::kInteger:
                SetInteger(top++, integer);
                ZEPH_DO(step + 1);
            case Variable::kDouble:
                SetDouble(top++, real);
                ZEPH_DO(step + 1);
            default:
                break;
        }
    }
    Variable* element = DirectValue::Element(array, index);
    ZEPH_FUSED_UNLESS(element);
    SetVariable(top++, element);
    ZEPH_DO(step + 1);
}

store_element : {
    ZEPH_FUSED_UNLESS(top > operands.base);
    if (top[-1].kind == Stack_Entry::kInteger) {
        ZEPH_FUSED_UNLESS(operands.SetElement(step, top[-1].integer));
    } else if (top[-1].kind == Stack_Entry::kDouble) {
        ZEPH_FUSED_UNLESS(operands.SetElement(step, top[-1].real));
    } else {
        Variable* array = operands.Left(step);
        Variable* element = nullptr;
        // Nothing is made for a value that cannot be stored: the index may be a part of it.
        if (array && top[-1].kind == Stack_Entry::kString && !top[-1].owned)
            element = DirectValue::MadeElement(array, operands.Index(step));
        ZEPH_FUSED_UNLESS(element && Store(element, top[-1]));
    }
    --top;
    ZEPH_DO(step + 1);
}

push_member : {
    Variable* member = operands.Member(step);
    ZEPH_FUSED_UNLESS(member);
    SetVariable(top++, member);
    ZEPH_DO(step + 1);
}

store_member : {
    ZEPH_FUSED_UNLESS(top > operands.base);
    Variable* member = operands.Member(step);
    ZEPH_FUSED_UNLESS(member && Store(member, top[-1]));
    --top;
    ZEPH_DO(step + 1);
}

calculate : {
    double left, right;
    Variable *of_left, *of_right;
    ZEPH_FUSED_UNLESS(operands.Number(step + step->parts, &left, &of_left) &&
                      operands.Number(step + step->second, &right, &of_right));
    SetDouble(top++, Calculated(step->operation, left, right));
    ZEPH_DO(step + 1);
}

calculate_store : {
    double left, right;
    Variable *of_left, *of_right;
    ZEPH_FUSED_UNLESS(operands.Number(step + step->parts, &left, &of_left) &&
                      operands.Number(step + step->second, &right, &of_right));
    left = Calculated(step->operation, left, right);
    // Mostly the left operand's own variable is set.
    ZEPH_FUSED_UNLESS(step->third == step->parts ? DirectValue::SetDouble(of_left, left)
                                                 : operands.Store(step + step->third, left));
    ZEPH_DO(step + 1);
}

compare_operands_jump : {
    double left, right;
    ZEPH_FUSED_UNLESS(operands.Comparable(step + step->parts, &left) &&
                      operands.Comparable(step + step->second, &right));
    if (step->outcomes & OutcomeOf(left, right))
        goto jump;
    ZEPH_DO(step + 1);
}

increment_loop : {
    Variable* variable = operands.Left(step);
    int value;
    ZEPH_FUSED_UNLESS(variable && DirectValue::Integer(variable, &value));
    value = int(unsigned(value) + unsigned(step->b));
    ZEPH_FUSED_UNLESS(DirectValue::SetInteger(variable, value));
    if (step->outcomes & OutcomeOf(value, step->real))
        goto jump;
    ZEPH_DO(step + 1);
}

calculate_number_loop : {
    Variable* variable = operands.Left(step);
    double value;
    ZEPH_FUSED_UNLESS(variable && DirectValue::Double(variable, &value));
    value = Calculated(step->operation, value, step->real);
    ZEPH_FUSED_UNLESS(DirectValue::SetDouble(variable, value));
    if (step->outcomes & OutcomeOf(value, step->b))
        goto jump;
    ZEPH_DO(step + 1);
}

calculate_variable_loop : {
    Variable* left_variable = operands.Left(step);
    Variable* right_variable = operands.Right(step);
    double left, right;
    ZEPH_FUSED_UNLESS(left_variable && right_variable &&
                      DirectValue::Double(right_variable, &right) &&
                      DirectValue::Double(left_variable, &left));
    left = Calculated(step->operation, left, right);
    ZEPH_FUSED_UNLESS(DirectValue::SetDouble(left_variable, left));
    if (step->outcomes & OutcomeOf(left, step->real))
        goto jump;
    ZEPH_DO(step + 1);
}

#undef ZEPH_DO
#undef ZEPH_UNLESS
#undef ZEPH_FUSED_UNLESS
}
