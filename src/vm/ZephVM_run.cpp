// The loop. What is done without a call is what scripts do most, with operands of the usual
// kinds; all else is left to the handlers of the instructions, which do everything. A short
// way that does not fit its operands has changed nothing when it gives up.

#include "image/Dictionary.h"
#include "image/FunctionManager.h"
#include "image/Segment.h"
#include "primitives/number_text.h"
#include "variables/AggregateElementTree.h"
#include "variables/DirectValue.h"
#include "variables/VariableHash.h"
#include "app/LogParameter.h"
#include "vm/DecodedCode.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Frame.h"
#include "vm/ZephVM_Stack.h"

namespace {

// The counter and the flags belong to the application, and its heartbeat thread
// writes them under a mutex that the loop does not take.
int Polled(const int* flag)
{
    return __atomic_load_n(flag, __ATOMIC_RELAXED);
}

// The number that arithmetic, or a comparison, sees of an entry.
bool ArithmeticValue(const Stack_Entry& entry, double* out)
{
    if (entry.kind == Stack_Entry::kDouble) {
        *out = entry.real;
        return true;
    }
    if (entry.kind == Stack_Entry::kInteger) {
        *out = entry.integer;
        return true;
    }
    return entry.kind == Stack_Entry::kVariable && DirectValue::Double(entry.variable, out);
}

bool ComparedValue(const Stack_Entry& entry, double* out)
{
    if (entry.kind != Stack_Entry::kVariable)
        return ArithmeticValue(entry, out);
    return DirectValue::Comparable(entry.variable, out);
}

// An entry that is a number or a variable has been used.
void Drop(const Stack_Entry& entry)
{
    if (entry.kind == Stack_Entry::kVariable && entry.owned)
        DirectValue::DropCount(entry.variable);
}

double Calculated(int operation, double left, double right)
{
    switch (operation) {
        case DecodedStep::kAdd:
            return left + right;
        case DecodedStep::kSubtract:
            return left - right;
        case DecodedStep::kMultiply:
            return left * right;
    }
    // By the dividend, on purpose: nothing divided by anything is nothing.
    return left == 0.0 ? 0.0 : left / right;
}

// NaN is greater than anything, on either side.
int OutcomeOf(double left, double right)
{
    if (left == right)
        return DecodedStep::kEqual;
    return right > left ? DecodedStep::kLess : DecodedStep::kGreater;
}

int OutcomeOf(int sign)
{
    return sign == 0 ? DecodedStep::kEqual : sign < 0 ? DecodedStep::kLess : DecodedStep::kGreater;
}

void SetDouble(Stack_Entry* entry, double value)
{
    entry->kind = Stack_Entry::kDouble;
    entry->owned = 0;
    entry->real = value;
}

void SetInteger(Stack_Entry* entry, int value)
{
    entry->kind = Stack_Entry::kInteger;
    entry->owned = 0;
    entry->integer = value;
}

void SetVariable(Stack_Entry* entry, Variable* variable)
{
    DirectValue::AddCount(variable);
    entry->kind = Stack_Entry::kVariable;
    entry->owned = 1;
    entry->variable = variable;
}

// Whether Store can do it, if the variable lets it.
bool IsStorable(const Stack_Entry& entry)
{
    return entry.kind <= Stack_Entry::kDouble ||
           (entry.kind == Stack_Entry::kString && !entry.owned);
}

// Stores an entry that needs no releasing afterwards.
bool Store(Variable* variable, const Stack_Entry& entry)
{
    switch (entry.kind) {
        case Stack_Entry::kInteger:
            return DirectValue::SetInteger(variable, entry.integer);
        case Stack_Entry::kDouble:
            return DirectValue::SetDouble(variable, entry.real);
        case Stack_Entry::kString:
            return !entry.owned && DirectValue::SetText(variable, entry.string, entry.length);
    }
    return false;
}

// What the short ways need to know of the frame that runs.
struct Tables {
    VariableHash* by_kind[2];  // by DecodedStep::Table

    Variable* At(unsigned char table, int slot) const { return by_kind[table]->Made(slot); }
};

// The number of an index operand; below 1 for none that can be used.
int IndexOf(const Tables& tables, const DecodedStep* step)
{
    if (step->right_table == DecodedStep::kNumber)
        return step->b;
    Variable* variable = tables.At(step->right_table, step->b);
    int number = 0;
    return variable && DirectValue::Integer(variable, &number) ? number : 0;
}

// The member that a step names, kept in the step for as long as its structure has the same
// members.
AggregateElement* MemberOf(Dictionary* names, Variable* structure, DecodedStep* step)
{
    AggregateElementTree* members = DirectValue::Members(structure);
    if (!members)
        return nullptr;
    if (members->stamp() == step->stamp)
        return step->member;
    PermanentText name;
    name.data = names->Entry(step->b, &name.length);
    if (!name.data)
        return nullptr;
    AggregateElement* member = members->Find(AggregateIndex(name));
    step->stamp = members->stamp();
    step->member = member;
    return member;
}

// The texts that one step appends to a variable, taken from the single steps behind it.
class Pieces {
public:
    Pieces(const Tables& tables, Dictionary* texts, const DecodedStep* step)
        : m_tables(tables), m_texts(texts), m_step(step)
    {
    }

    // Whether all can be had without looking at what they are appended to.
    bool AreApartFrom(Variable* target) const
    {
        for (int i = 0; i < count(); ++i) {
            const DecodedStep& piece = at(i);
            switch (piece.kind) {
                case DecodedStep::kPushVariable: {
                    Variable* variable = m_tables.At(piece.left_table, piece.a);
                    if (!variable || variable == target || !DirectValue::IsPlainScalar(variable))
                        return false;
                    break;
                }
                case DecodedStep::kPushConstant:
                    if (!m_texts->Entry(piece.a, nullptr))
                        return false;
                    break;
                case DecodedStep::kPushDouble:
                    if (!HasShortText(piece.real))
                        return false;
                    break;
                default:
                    break;
            }
        }
        return true;
    }
    void AppendTo(Variable* target) const
    {
        for (int i = 0; i < count(); ++i)
            AppendOne(target, at(i));
    }

private:
    // Behind the step: the variable, then each piece with its concatenation.
    int count() const { return (m_step->skip - 3) / 2; }
    const DecodedStep& at(int i) const { return m_step[2 + 2 * i]; }

    void AppendOne(Variable* target, const DecodedStep& piece) const
    {
        char number[kShortDoubleRoom];
        if (piece.kind == DecodedStep::kPushVariable) {
            const String& text = m_tables.At(piece.left_table, piece.a)->value();
            DirectValue::Append(target, text.data(), text.length());
        } else if (piece.kind == DecodedStep::kPushConstant) {
            int length;
            const char* text = m_texts->Entry(piece.a, &length);
            DirectValue::Append(target, text, length);
        } else if (piece.kind == DecodedStep::kPushInteger) {
            DirectValue::Append(target, number, FormatInteger(piece.a, number));
        } else {
            DirectValue::Append(target, number, FormatShortest(piece.real, number));
        }
    }

    const Tables& m_tables;
    Dictionary* m_texts;
    const DecodedStep* m_step;
};

}  // namespace

// Whether the loop has to look up: a flag that another thread sets, or a handler's.
inline bool ZephVM::IsInterrupted() const
{
    return Polled(m_cancelled) || m_last_heartbeat != Polled(m_heartbeat);
}

// The flags are read wherever a run may go on without end: at jumps backward, at calls and
// behind every handler. What lies between can be done in no time.
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
    };
    DecodedCode* code;
    DecodedStep* step;
    Tables tables;
    Stack_Entry* base;
    Stack_Entry* top;    // behind the last entry
    Stack_Entry* limit;  // of what has memory; a handler gets more, or finds none
    int segment;
    tables.by_kind[DecodedStep::kGlobal] = m_global_variables;

// Goes on with a step.
#define ZEPH_DO(next_step)           \
    do {                             \
        step = (next_step);          \
        goto* kLabels[step->kind];   \
    } while (0)
// Goes on with the instruction itself where the short way does not fit.
#define ZEPH_UNLESS(fits) \
    if (!(fits))          \
    goto general
// The same for a step of several: its instructions stand behind it, one by one.
#define ZEPH_FUSED_UNLESS(fits) \
    if (!(fits))                \
    ZEPH_DO(step + 1)

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
    code = Decoded();
    step = code->At(m_pc);
take_frame:
    tables.by_kind[DecodedStep::kLocal] = m_frame->locals();
    base = m_stack->m_entries;
    top = base + m_stack->m_used;
    limit = base + m_stack->m_allocated;
    ZEPH_DO(step);

call:
    if (Function* function = m_functions->Index(step->a)) {
        m_stack->m_used = int(top - base);
        m_instruction_offset = step->offset;
        m_pc = step->next;
        function->is_external() ? CallExternalFunction(function) : CallFunction(function);
        goto done;
    }
general:
    m_stack->m_used = int(top - base);
    m_instruction_offset = step->offset;
    m_pc = step->next;
    m_a = unsigned(step->a);
    m_b = unsigned(step->b);
    m_double_a = step->real;
    Execute(step->word);
done:
    // The end of the code is left to the look-up, which makes no step for it: native code
    // that calls script comes by there each time.
    if (m_halted || *m_exit || m_segment != segment || m_loaded_segment != segment ||
        static_cast<unsigned long long>(m_pc) + 1 >= m_code_size || IsInterrupted())
        goto resume;
    step = m_pc == step->next && step->skip ? step + 1 : code->At(m_pc);
    goto take_frame;

end:
    m_pc = step->offset;
    m_stack->m_used = int(top - base);
    goto resume;

link:
    if (!step->target)
        step->target = code->At(step->next);
    ZEPH_DO(step->target);

jump : {
    unsigned int to = step->next + unsigned(step->result);
    if (to <= step->offset && IsInterrupted()) {
        m_pc = to;
        m_stack->m_used = int(top - base);
        goto resume;
    }
    if (!step->target)
        step->target = code->At(to);
    ZEPH_DO(step->target);
}

jump_if:
    ZEPH_UNLESS(top > base && top[-1].kind == Stack_Entry::kInteger);
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
    ZEPH_UNLESS(text && top < limit);
    top->kind = Stack_Entry::kString;
    top->owned = 0;
    top->string = text;
    top->length = top->capacity = length;
    ++top;
    ZEPH_DO(step + 1);
}

push_integer:
    ZEPH_UNLESS(top < limit);
    SetInteger(top++, step->a);
    ZEPH_DO(step + 1);

push_double:
    ZEPH_UNLESS(top < limit);
    SetDouble(top++, step->real);
    ZEPH_DO(step + 1);

push_variable : {
    Variable* variable = tables.At(step->left_table, step->a);
    ZEPH_UNLESS(variable && top < limit);
    SetVariable(top++, variable);
    ZEPH_DO(step + 1);
}

pop_variable : {
    Variable* variable = tables.At(step->left_table, step->a);
    ZEPH_UNLESS(variable && top > base && Store(variable, top[-1]));
    --top;
    ZEPH_DO(step + 1);
}

pop:
    ZEPH_UNLESS(top > base && (!top[-1].owned || top[-1].kind == Stack_Entry::kVariable));
    --top;
    Drop(*top);
    ZEPH_DO(step + 1);

arithmetic : {
    double left, right;
    ZEPH_UNLESS(top - base >= 2 && ArithmeticValue(top[-1], &right) &&
                ArithmeticValue(top[-2], &left));
    --top;
    Drop(*top);
    Drop(top[-1]);
    SetDouble(top - 1, Calculated(step->operation, left, right));
    ZEPH_DO(step + 1);
}

compare : {
    double left, right;
    ZEPH_UNLESS(top - base >= 2 && ComparedValue(top[-2], &left) && ComparedValue(top[-1], &right));
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
    Variable* variable = tables.At(step->left_table, step->a);
    int value;
    ZEPH_UNLESS(variable && DirectValue::Integer(variable, &value) &&
                DirectValue::SetInteger(variable, int(unsigned(value) + unsigned(step->b))));
    ZEPH_DO(step + 1);
}

store_integer : {
    Variable* variable = tables.At(step->left_table, step->a);
    ZEPH_UNLESS(variable && DirectValue::SetInteger(variable, step->b));
    ZEPH_DO(step + 1);
}

arithmetic_variable : {
    Variable* left_variable = tables.At(step->left_table, step->a);
    Variable* right_variable = tables.At(step->right_table, step->b);
    double left, right;
    ZEPH_FUSED_UNLESS(left_variable && right_variable && limit - top >= 2 &&
                      DirectValue::Double(right_variable, &right) &&
                      DirectValue::Double(left_variable, &left));
    SetDouble(top++, Calculated(step->operation, left, right));
    ZEPH_DO(step + step->skip);
}

arithmetic_number : {
    Variable* variable = tables.At(step->left_table, step->a);
    double left;
    ZEPH_FUSED_UNLESS(variable && limit - top >= 2 && DirectValue::Double(variable, &left));
    SetDouble(top++, Calculated(step->operation, left, step->real));
    ZEPH_DO(step + step->skip);
}

arithmetic_variable_store : {
    Variable* left_variable = tables.At(step->left_table, step->a);
    Variable* right_variable = tables.At(step->right_table, step->b);
    Variable* result = tables.At(step->result_table, step->result);
    double left, right;
    ZEPH_FUSED_UNLESS(left_variable && right_variable && result && limit - top >= 2 &&
                      DirectValue::Double(right_variable, &right) &&
                      DirectValue::Double(left_variable, &left) &&
                      DirectValue::SetDouble(result, Calculated(step->operation, left, right)));
    ZEPH_DO(step + step->skip);
}

arithmetic_number_store : {
    Variable* variable = tables.At(step->left_table, step->a);
    Variable* result = tables.At(step->result_table, step->result);
    double left;
    ZEPH_FUSED_UNLESS(variable && result && limit - top >= 2 &&
                      DirectValue::Double(variable, &left) &&
                      DirectValue::SetDouble(result,
                                             Calculated(step->operation, left, step->real)));
    ZEPH_DO(step + step->skip);
}

compare_variable_jump : {
    Variable* left_variable = tables.At(step->left_table, step->a);
    Variable* right_variable = tables.At(step->right_table, step->b);
    double left, right;
    ZEPH_FUSED_UNLESS(left_variable && right_variable && limit - top >= 2 &&
                      DirectValue::Comparable(left_variable, &left) &&
                      DirectValue::Comparable(right_variable, &right));
    if (step->outcomes & OutcomeOf(left, right))
        goto jump;
    ZEPH_DO(step + step->skip);
}

compare_number_jump : {
    Variable* variable = tables.At(step->left_table, step->a);
    double left;
    ZEPH_FUSED_UNLESS(variable && limit - top >= 2 && DirectValue::Comparable(variable, &left));
    if (step->outcomes & OutcomeOf(left, step->real))
        goto jump;
    ZEPH_DO(step + step->skip);
}

compare_jump : {
    double left, right;
    ZEPH_FUSED_UNLESS(top - base >= 2 && ComparedValue(top[-2], &left) &&
                      ComparedValue(top[-1], &right));
    top -= 2;
    Drop(top[0]);
    Drop(top[1]);
    if (step->outcomes & OutcomeOf(left, right))
        goto jump;
    ZEPH_DO(step + step->skip);
}

append : {
    Variable* variable = tables.At(step->left_table, step->a);
    Pieces pieces(tables, m_dictionary, step);
    ZEPH_FUSED_UNLESS(variable && limit - top >= 2 && DirectValue::IsPlainScalar(variable) &&
                      pieces.AreApartFrom(variable));
    pieces.AppendTo(variable);
    ZEPH_DO(step + step->skip);
}

push_element : {
    Variable* array = tables.At(step->left_table, step->a);
    Variable* element = nullptr;
    if (array && limit - top >= 2)
        element = DirectValue::Element(array, IndexOf(tables, step));
    ZEPH_FUSED_UNLESS(element);
    SetVariable(top++, element);
    ZEPH_DO(step + step->skip);
}

store_element : {
    Variable* array = tables.At(step->left_table, step->a);
    Variable* element = nullptr;
    // Nothing is made for a value that cannot be stored: the index may be a part of it.
    if (array && top > base && limit - top >= 2 && IsStorable(top[-1]))
        element = DirectValue::MadeElement(array, IndexOf(tables, step));
    ZEPH_FUSED_UNLESS(element && Store(element, top[-1]));
    --top;
    ZEPH_DO(step + step->skip);
}

push_member : {
    Variable* structure = tables.At(step->left_table, step->a);
    AggregateElement* member = nullptr;
    if (structure && limit - top >= 2)
        member = MemberOf(m_dictionary, structure, step);
    ZEPH_FUSED_UNLESS(member);
    SetVariable(top++, member->var());
    ZEPH_DO(step + step->skip);
}

store_member : {
    Variable* structure = tables.At(step->left_table, step->a);
    AggregateElement* member = nullptr;
    if (structure && top > base && limit - top >= 2)
        member = MemberOf(m_dictionary, structure, step);
    ZEPH_FUSED_UNLESS(member && Store(member->var(), top[-1]));
    --top;
    ZEPH_DO(step + step->skip);
}

#undef ZEPH_DO
#undef ZEPH_UNLESS
#undef ZEPH_FUSED_UNLESS
}
