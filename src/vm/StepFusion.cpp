#include "vm/StepFusion.h"

#include <initializer_list>

#include "vm/DecodedCode.h"

namespace {

enum Word : unsigned short {
    kCatWord = 0x0018,
    kElemWord = 0x003E,
    kElemReadonlyWord = 0x003F,
    kMembWord = 0x0040,
    kMembReadonlyWord = 0x0041,
    kStoreWord = 0x0042,
    kCmpggWord = 0x5301,
    kCmpgiWord = 0x5302
};

// The most instructions of one sequence: what DecodedStep::skip can count.
const int kLongest = 30;

// The instructions at hand; those that are not there are of no kind.
class Steps {
public:
    Steps(const DecodedStep* steps, int count) : m_steps(steps), m_count(count) {}

    const DecodedStep& operator[](int i) const { return m_steps[i]; }
    bool Is(int i, DecodedStep::Kind kind) const { return i < m_count && m_steps[i].kind == kind; }
    bool IsWord(int i, unsigned short word) const { return i < m_count && m_steps[i].word == word; }
    bool IsVariable(int i) const { return Is(i, DecodedStep::kPushVariable); }
    bool IsNumber(int i) const
    {
        return Is(i, DecodedStep::kPushInteger) || Is(i, DecodedStep::kPushDouble);
    }
    double Number(int i) const
    {
        return m_steps[i].kind == DecodedStep::kPushInteger ? m_steps[i].a : m_steps[i].real;
    }

private:
    const DecodedStep* m_steps;
    int m_count;
};

// Starts the step of `count` instructions, the left operand of which is `steps[0]`.
void Start(const Steps& steps, int count, DecodedStep::Kind kind, DecodedStep* fused)
{
    *fused = steps[0];
    fused->kind = kind;
    fused->next = steps[count - 1].next;
    fused->skip = static_cast<unsigned char>(count + 1);
    fused->target = nullptr;
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
    if (compare.operation)
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
}

// variable, then text and concatenation as often as it comes, into the same variable.
int FuseAppend(const Steps& steps, DecodedStep* fused)
{
    int i = 1;
    while (i + 2 <= kLongest && steps.IsWord(i + 1, kCatWord) &&
           (steps.IsVariable(i) || steps.IsNumber(i) || steps.Is(i, DecodedStep::kPushConstant)))
        i += 2;
    if (i == 1 || !steps.Is(i, DecodedStep::kPopVariable) || steps[i].a != steps[0].a ||
        steps[i].left_table != steps[0].left_table)
        return 0;
    Start(steps, i + 1, DecodedStep::kAppend, fused);
    return i + 1;
}

int FuseArithmetic(const Steps& steps, DecodedStep* fused)
{
    bool is_number = steps.IsNumber(1);
    bool is_stored = steps.Is(3, DecodedStep::kPopVariable);
    DecodedStep::Kind kind =
        is_stored ? is_number ? DecodedStep::kArithmeticNumberStore
                              : DecodedStep::kArithmeticVariableStore
                  : is_number ? DecodedStep::kArithmeticNumber : DecodedStep::kArithmeticVariable;
    int count = is_stored ? 4 : 3;
    Start(steps, count, kind, fused);
    SetRight(steps, 1, fused);
    fused->operation = steps[2].operation;
    if (is_stored) {
        fused->result = steps[3].a;
        fused->result_table = steps[3].left_table;
    }
    return count;
}

int FuseCompareJump(const Steps& steps, DecodedStep* fused)
{
    Start(steps, 4, steps.IsNumber(1) ? DecodedStep::kCompareNumberJump
                                      : DecodedStep::kCompareVariableJump, fused);
    SetRight(steps, 1, fused);
    SetJump(steps[2], steps[3], fused);
    return 4;
}

// variable, index, and the element at it.
int FuseElement(const Steps& steps, DecodedStep* fused)
{
    int count = 0;
    DecodedStep::Kind kind = DecodedStep::kGeneral;
    if (steps.IsWord(2, kElemReadonlyWord)) {
        kind = DecodedStep::kPushElement;
        count = 3;
    } else if (steps.IsWord(2, kElemWord) && steps.IsWord(3, kStoreWord)) {
        kind = DecodedStep::kStoreElement;
        count = 4;
    }
    if (count == 0 || !(steps.IsVariable(1) || steps.Is(1, DecodedStep::kPushInteger)))
        return 0;
    Start(steps, count, kind, fused);
    SetRight(steps, 1, fused);
    return count;
}

// variable, name, and the member of it.
int FuseMember(const Steps& steps, DecodedStep* fused)
{
    int count = 0;
    DecodedStep::Kind kind = DecodedStep::kGeneral;
    if (steps.IsWord(2, kMembReadonlyWord)) {
        kind = DecodedStep::kPushMember;
        count = 3;
    } else if (steps.IsWord(2, kMembWord) && steps.IsWord(3, kStoreWord)) {
        kind = DecodedStep::kStoreMember;
        count = 4;
    }
    if (count == 0 || !steps.Is(1, DecodedStep::kPushConstant))
        return 0;
    Start(steps, count, kind, fused);
    fused->b = steps[1].a;
    fused->stamp = 0;
    fused->member = nullptr;
    return count;
}

int FuseVariable(const Steps& steps, DecodedStep* fused)
{
    int count = FuseAppend(steps, fused);
    if (count > 0)
        return count;
    if (steps.IsVariable(1) || steps.IsNumber(1)) {
        if (steps.Is(2, DecodedStep::kArithmetic))
            return FuseArithmetic(steps, fused);
        if (steps.Is(2, DecodedStep::kCompare) && steps.Is(3, DecodedStep::kJumpIf))
            return FuseCompareJump(steps, fused);
    }
    count = FuseElement(steps, fused);
    return count > 0 ? count : FuseMember(steps, fused);
}

// The compiler's own comparisons of globals.
int FuseGlobalCompareJump(const Steps& steps, DecodedStep* fused)
{
    bool is_number = steps[0].word == kCmpgiWord;
    Start(steps, 2, is_number ? DecodedStep::kCompareNumberJump : DecodedStep::kCompareVariableJump,
          fused);
    fused->left_table = DecodedStep::kGlobal;
    fused->right_table = DecodedStep::kGlobal;
    if (is_number) {
        fused->right_table = DecodedStep::kNumber;
        fused->real = steps[0].b;
    }
    fused->outcomes = steps[1].outcomes;
    fused->result = steps[1].result;
    return 2;
}

}  // namespace

int FuseSteps(const DecodedStep* first, int count, DecodedStep* fused)
{
    Steps steps(first, count);
    if (steps.IsVariable(0))
        return FuseVariable(steps, fused);
    if (!steps.Is(1, DecodedStep::kJumpIf))
        return 0;
    if (steps.Is(0, DecodedStep::kCompare)) {
        Start(steps, 2, DecodedStep::kCompareJump, fused);
        SetJump(steps[0], steps[1], fused);
        return 2;
    }
    if (steps.IsWord(0, kCmpggWord) || steps.IsWord(0, kCmpgiWord))
        return FuseGlobalCompareJump(steps, fused);
    return 0;
}
