#include "vm/StepFusion.h"

#include <initializer_list>

#include "vm/DecodedCode.h"
#include "vm/InstructionWord.h"

namespace {

// The instructions at hand; those that are not there are of no kind.
class Steps {
public:
    Steps(const DecodedStep* steps, int count) : m_steps(steps), m_count(count) {}

    const DecodedStep& operator[](int i) const { return m_steps[i]; }
    Steps From(int i) const { return Steps(m_steps + i, m_count - i); }
    bool Is(int i, DecodedStep::Kind kind) const { return i < m_count && m_steps[i].kind == kind; }
    bool IsWord(int i, unsigned short word) const { return i < m_count && m_steps[i].word == word; }
    bool IsVariable(int i) const { return Is(i, DecodedStep::kPushVariable); }
    bool IsNumber(int i) const
    {
        return Is(i, DecodedStep::kPushInteger) || Is(i, DecodedStep::kPushDouble);
    }
    bool IsSimple(int i) const { return IsVariable(i) || IsNumber(i); }
    double Number(int i) const
    {
        return m_steps[i].kind == DecodedStep::kPushInteger ? m_steps[i].a : m_steps[i].real;
    }
    // variable, index; variable, name.
    bool IsElementOf(int i) const
    {
        return IsVariable(i) && (IsVariable(i + 1) || Is(i + 1, DecodedStep::kPushInteger));
    }
    bool IsMemberOf(int i) const { return IsVariable(i) && Is(i + 1, DecodedStep::kPushConstant); }
    // Instructions that push what StepOperands::Number can take: a variable, a number, an
    // element or a member of a variable.
    int Operand(int i) const
    {
        if ((IsElementOf(i) && IsWord(i + 2, kElemReadonlyWord)) ||
            (IsMemberOf(i) && IsWord(i + 2, kMembReadonlyWord)))
            return 3;
        return IsSimple(i) ? 1 : 0;
    }
    // Instructions that store what is on top.
    int Store(int i) const
    {
        if (((IsElementOf(i) && IsWord(i + 2, kElemWord)) ||
             (IsMemberOf(i) && IsWord(i + 2, kMembWord))) &&
            IsWord(i + 3, kStoreWord))
            return 4;
        return Is(i, DecodedStep::kPopVariable) ? 1 : 0;
    }
    // Whether the instruction takes just the number of what is on top.
    bool TakesNumber(int i) const
    {
        return Is(i, DecodedStep::kArithmetic) || Is(i, DecodedStep::kCompare) ||
               Is(i, DecodedStep::kJumpIf);
    }

private:
    const DecodedStep* m_steps;
    int m_count;
};

// Starts the step of `count` instructions, the left operand of which is `steps[0]`.
void Start(const Steps& steps, int count, DecodedStep::Kind kind, DecodedStep* fused,
           Fusion* fusion)
{
    *fused = steps[0];
    fused->kind = kind;
    fused->operation = 0;
    fused->next = steps[count - 1].next;
    fused->target = nullptr;
    fusion->count = count;
    fusion->parts = 0;
    fusion->stores_into_left = false;
}

void SetParts(std::initializer_list<int> lengths, Fusion* fusion)
{
    for (int length : lengths)
        fusion->lengths[fusion->parts++] = length;
}

void SetRight(const Steps& steps, int i, DecodedStep* fused)
{
    if (steps.IsVariable(i)) {
        fused->right_table = steps[i].left_table;
        fused->b = steps[i].a;
    } else {
        fused->right_table = DecodedStep::kNumber;
        fused->b = steps[i].a;
        fused->real = steps.Number(i);
    }
}

// Whether a conditional jump is taken for each result of a comparison.
unsigned char JumpingOutcomes(const DecodedStep& compare, const DecodedStep& jump)
{
    // What compares globals gives the result itself, too.
    if (compare.kind != DecodedStep::kCompare || compare.operation)
        return jump.outcomes;
    int outcomes = 0;
    for (int outcome : {DecodedStep::kLess, DecodedStep::kEqual, DecodedStep::kGreater}) {
        // The number 1 is above 0.
        int pushed = compare.outcomes & outcome ? DecodedStep::kGreater : DecodedStep::kEqual;
        if (jump.outcomes & pushed)
            outcomes |= outcome;
    }
    return static_cast<unsigned char>(outcomes);
}

void SetJump(const DecodedStep& compare, const DecodedStep& jump, DecodedStep* fused)
{
    fused->outcomes = JumpingOutcomes(compare, jump);
    fused->result = jump.result;
    fused->is_backward = jump.is_backward;
}

// variable, then text and concatenation as often as it comes, into the same variable.
bool FuseAppend(const Steps& steps, DecodedStep* fused, Fusion* fusion)
{
    if (!steps.IsVariable(0))
        return false;
    int i = 1;
    while (steps.IsWord(i + 1, kCatWord) &&
           (steps.IsSimple(i) || steps.Is(i, DecodedStep::kPushConstant)))
        i += 2;
    if (i == 1 || !steps.Is(i, DecodedStep::kPopVariable) || steps[i].a != steps[0].a ||
        steps[i].left_table != steps[0].left_table)
        return false;
    Start(steps, i + 1, DecodedStep::kAppend, fused, fusion);
    fused->b = i / 2;
    return true;
}

// An element or a member of a variable, pushed or stored into.
bool FuseAccess(const Steps& steps, DecodedStep* fused, Fusion* fusion)
{
    bool is_read = steps.Operand(0) == 3;
    if (!is_read && steps.Store(0) != 4)
        return false;
    bool is_element = !steps.IsMemberOf(0);
    DecodedStep::Kind reading = is_element ? DecodedStep::kPushElement : DecodedStep::kPushMember;
    DecodedStep::Kind storing = is_element ? DecodedStep::kStoreElement : DecodedStep::kStoreMember;
    Start(steps, is_read ? 3 : 4, is_read ? reading : storing, fused, fusion);
    if (is_element) {
        SetRight(steps, 1, fused);
    } else {
        fused->b = steps[1].a;
        fused->stamp = 0;
        fused->member = nullptr;
    }
    fused->operation = is_read && steps.TakesNumber(3);
    return true;
}

// A comparison of a variable with a number and a conditional jump, behind the instructions
// that set the variable.
struct LoopEnd {
    LoopEnd(const Steps& steps, int i, unsigned char table, int slot)
    {
        if (steps.IsWord(i, kCmpgiWord) && steps.Is(i + 1, DecodedStep::kJumpIf)) {
            bool is_same = table == DecodedStep::kGlobal && steps[i].a == slot;
            count = is_same ? 2 : 0;
            number = steps[i].b;
            is_integer = true;
        } else if (steps.IsVariable(i) && steps.IsNumber(i + 1) &&
                   steps.Is(i + 2, DecodedStep::kCompare) &&
                   steps.Is(i + 3, DecodedStep::kJumpIf)) {
            bool is_same = steps[i].left_table == table && steps[i].a == slot;
            count = is_same ? 4 : 0;
            number = steps.Number(i + 1);
            is_integer = steps.Is(i + 1, DecodedStep::kPushInteger);
        }
    }

    int count = 0;  // instructions; 0 if there is no such end
    double number = 0;
    bool is_integer = false;
};

// Adds the end to the step that sets the variable.
void FuseLoop(const Steps& steps, const LoopEnd& end, DecodedStep::Kind kind, DecodedStep* fused,
              Fusion* fusion)
{
    int set = fusion->count;
    int count = set + end.count;
    SetParts({set, end.count}, fusion);
    fusion->count = count;
    fused->kind = kind;
    fused->next = steps[count - 1].next;
    SetJump(steps[count - 2], steps[count - 1], fused);
}

// Adds the end of a loop to the step that sets a variable by itself and another operand, if
// there is one. Besides its operand the step has room for the number, or for an integer.
void FuseCount(const Steps& steps, bool is_number, DecodedStep* fused, Fusion* fusion)
{
    LoopEnd end(steps, fusion->count, fused->left_table, fused->a);
    if (end.count == 0 || (is_number && !end.is_integer))
        return;
    if (is_number)
        fused->b = int(end.number);
    else
        fused->real = end.number;
    FuseLoop(steps, end,
             is_number ? DecodedStep::kCalculateNumberLoop : DecodedStep::kCalculateVariableLoop,
             fused, fusion);
}

// operand, operand, operation of simple operands, maybe into a variable.
bool FuseSimpleArithmetic(const Steps& steps, DecodedStep* fused, Fusion* fusion)
{
    bool is_number = steps.IsNumber(1);
    bool is_stored = steps.Is(3, DecodedStep::kPopVariable);
    DecodedStep::Kind kind = is_stored   ? is_number ? DecodedStep::kArithmeticNumberStore
                                                     : DecodedStep::kArithmeticVariableStore
                             : is_number ? DecodedStep::kArithmeticNumber
                                         : DecodedStep::kArithmeticVariable;
    Start(steps, is_stored ? 4 : 3, kind, fused, fusion);
    SetRight(steps, 1, fused);
    fused->operation = steps[2].operation;
    if (!is_stored)
        return true;
    fused->result = steps[3].a;
    fused->result_table = steps[3].left_table;
    if (fused->result == fused->a && fused->result_table == fused->left_table)
        FuseCount(steps, is_number, fused, fusion);
    return true;
}

// Whether a store is into the variable, or the member, that the left operand is.
bool IsStoreInto(const Steps& steps, int left, int at, int store)
{
    bool is_member = left == 3 && store == 4 && steps.IsMemberOf(0) && steps.IsMemberOf(at);
    bool is_variable = left == 1 && store == 1 && steps.IsVariable(0);
    return (is_variable || (is_member && steps[1].a == steps[at + 1].a)) &&
           steps[0].a == steps[at].a && steps[0].left_table == steps[at].left_table;
}

bool FuseArithmetic(const Steps& steps, int left, int right, DecodedStep* fused, Fusion* fusion)
{
    int store = steps.Store(left + right + 1);
    if (steps.IsVariable(0) && left == 1 && right == 1 && store <= 1)
        return FuseSimpleArithmetic(steps, fused, fusion);
    Start(steps, left + right + 1 + store,
          store ? DecodedStep::kCalculateStore : DecodedStep::kCalculate, fused, fusion);
    fused->operation = steps[left + right].operation;
    // The operation itself lies between the second and the third part.
    if (!store) {
        SetParts({left, right + 1}, fusion);
        return true;
    }
    SetParts({left, right + 1, store}, fusion);
    fusion->stores_into_left = IsStoreInto(steps, left, left + right + 1, store);
    return true;
}

bool FuseCompareJump(const Steps& steps, int left, int right, DecodedStep* fused, Fusion* fusion)
{
    int count = left + right + 2;
    bool is_simple = steps.IsVariable(0) && left == 1 && right == 1;
    DecodedStep::Kind simple =
        steps.IsNumber(1) ? DecodedStep::kCompareNumberJump : DecodedStep::kCompareVariableJump;
    Start(steps, count, is_simple ? simple : DecodedStep::kCompareOperandsJump, fused, fusion);
    if (is_simple)
        SetRight(steps, 1, fused);
    else
        SetParts({left, right + 2}, fusion);
    SetJump(steps[left + right], steps[left + right + 1], fused);
    return true;
}

// operand, operand, and what is done with them.
bool FuseOperation(const Steps& steps, DecodedStep* fused, Fusion* fusion)
{
    int left = steps.Operand(0);
    int right = left > 0 ? steps.Operand(left) : 0;
    if (right == 0)
        return false;
    int behind = left + right;
    if (steps.Is(behind, DecodedStep::kArithmetic))
        return FuseArithmetic(steps, left, right, fused, fusion);
    if (steps.Is(behind, DecodedStep::kCompare) && steps.Is(behind + 1, DecodedStep::kJumpIf))
        return FuseCompareJump(steps, left, right, fused, fusion);
    return false;
}

// The compiler's own comparisons of globals.
bool FuseGlobalCompareJump(const Steps& steps, DecodedStep* fused, Fusion* fusion)
{
    bool is_number = steps[0].word == kCmpgiWord;
    Start(steps, 2, is_number ? DecodedStep::kCompareNumberJump : DecodedStep::kCompareVariableJump,
          fused, fusion);
    fused->left_table = DecodedStep::kGlobal;
    fused->right_table = DecodedStep::kGlobal;
    if (is_number) {
        fused->right_table = DecodedStep::kNumber;
        fused->real = steps[0].b;
    }
    SetJump(steps[0], steps[1], fused);
    return true;
}

bool FuseIncrement(const Steps& steps, DecodedStep* fused, Fusion* fusion)
{
    LoopEnd end(steps, 1, steps[0].left_table, steps[0].a);
    if (end.count == 0)
        return false;
    Start(steps, 1, DecodedStep::kIncrement, fused, fusion);
    fused->real = end.number;
    FuseLoop(steps, end, DecodedStep::kIncrementLoop, fused, fusion);
    return true;
}

}  // namespace

bool FuseSteps(const DecodedStep* first, int count, DecodedStep* fused, Fusion* fusion)
{
    Steps steps(first, count);
    if (steps.IsSimple(0)) {
        return FuseAppend(steps, fused, fusion) || FuseOperation(steps, fused, fusion) ||
               FuseAccess(steps, fused, fusion);
    }
    if (steps.Is(0, DecodedStep::kIncrement))
        return FuseIncrement(steps, fused, fusion);
    if (!steps.Is(1, DecodedStep::kJumpIf))
        return false;
    if (steps.Is(0, DecodedStep::kCompare)) {
        Start(steps, 2, DecodedStep::kCompareJump, fused, fusion);
        SetJump(steps[0], steps[1], fused);
        return true;
    }
    if (steps.IsWord(0, kCmpggWord) || steps.IsWord(0, kCmpgiWord))
        return FuseGlobalCompareJump(steps, fused, fusion);
    return false;
}
