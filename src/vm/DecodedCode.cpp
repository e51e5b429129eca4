#include "vm/DecodedCode.h"

#include <stdlib.h>
#include <string.h>

#include "variables/allocation.h"
#include "vm/Instruction.h"
#include "vm/InstructionWord.h"
#include "vm/StepRun.h"

namespace {

const int kLess = DecodedStep::kLess;
const int kEqual = DecodedStep::kEqual;
const int kGreater = DecodedStep::kGreater;

// How a word is done.
struct Form {
    DecodedStep::Kind kind;
    unsigned char operation;
    int outcomes;
    unsigned char table;
};

Form Plain(DecodedStep::Kind kind, unsigned char table = 0)
{
    return {kind, 0, 0, table};
}

Form Arithmetic(DecodedStep::Operation operation)
{
    return {DecodedStep::kArithmetic, operation, 0, 0};
}

Form Comparison(int outcomes)
{
    return {DecodedStep::kCompare, 0, outcomes, 0};
}

Form ConditionalJump(int outcomes)
{
    return {DecodedStep::kJumpIf, 0, outcomes, 0};
}

// The form of an instruction that the loop has no short way for is the general one.
Form FormOf(unsigned int word)
{
    const bool kGivesSign = true;
    switch (word) {
        case kPushcWord:
            return Plain(DecodedStep::kPushConstant);
        case kPushiWord:
            return Plain(DecodedStep::kPushInteger);
        case kPushfWord:
            return Plain(DecodedStep::kPushDouble);
        case kPushlWord:
            return Plain(DecodedStep::kPushVariable, DecodedStep::kLocal);
        case kPushgWord:
            return Plain(DecodedStep::kPushVariable, DecodedStep::kGlobal);
        case kPoplWord:
            return Plain(DecodedStep::kPopVariable, DecodedStep::kLocal);
        case kPopgWord:
            return Plain(DecodedStep::kPopVariable, DecodedStep::kGlobal);
        case kPopWord:
            return Plain(DecodedStep::kPop);
        case kJmpWord:
            return Plain(DecodedStep::kJump);
        case kLinenoWord:
            return Plain(DecodedStep::kLine);
        case kIncgWord:
            return Plain(DecodedStep::kIncrement, DecodedStep::kGlobal);
        case kStoregiWord:
            return Plain(DecodedStep::kStoreInteger, DecodedStep::kGlobal);
        case kCallWord:
            return Plain(DecodedStep::kCall);
        case kRetWord:
            return Plain(DecodedStep::kReturn);
        case kAddWord:
            return Arithmetic(DecodedStep::kAdd);
        case kSubWord:
            return Arithmetic(DecodedStep::kSubtract);
        case kMulWord:
            return Arithmetic(DecodedStep::kMultiply);
        case kDivWord:
            return Arithmetic(DecodedStep::kDivide);
        case kCmpWord:
            return {DecodedStep::kCompare, kGivesSign, 0, 0};
        case kEqWord:
            return Comparison(kEqual);
        case kNeWord:
            return Comparison(kLess | kGreater);
        case kGeWord:
            return Comparison(kGreater | kEqual);
        case kLeWord:
            return Comparison(kLess | kEqual);
        case kLtWord:
            return Comparison(kLess);
        case kGtWord:
            return Comparison(kGreater);
        case kJmpEqWord:
            return ConditionalJump(kEqual);
        case kJmpLtWord:
            return ConditionalJump(kLess);
        case kJmpGtWord:
            return ConditionalJump(kGreater);
        case kJmpLeWord:
            return ConditionalJump(kLess | kEqual);
        case kJmpGeWord:
            return ConditionalJump(kGreater | kEqual);
        case kJmpNeWord:
            return ConditionalJump(kLess | kGreater);
    }
    return Plain(DecodedStep::kGeneral);
}

// Instructions that never go on to the next one.
bool EndsRun(const DecodedStep& step)
{
    return step.kind == DecodedStep::kJump || step.word == kRetWord || step.word == kRetnWord ||
           step.word == kExitWord || step.word == kSecondExitWord;
}

// Instructions behind which no sequence goes on, but that which ends a loop.
bool EndsStatement(const DecodedStep& step)
{
    return step.kind == DecodedStep::kPopVariable || step.kind == DecodedStep::kJumpIf ||
           step.kind == DecodedStep::kLine || step.kind == DecodedStep::kStoreInteger ||
           step.word == kStoreWord;
}

}  // namespace

DecodedStep DecodedCode::s_entered_once;

DecodedCode::DecodedCode(const unsigned char* code, unsigned int size, Eagerness eagerness)
    : m_code(code), m_size(size), m_eagerness(size > kMostCode ? kNever : eagerness)
{
}

DecodedCode::~DecodedCode()
{
    for (unsigned int i = 0; m_pages && i <= m_size / kPageBytes; ++i)
        free(m_pages[i]);
    free(m_pages);
    while (Chunk* chunk = m_chunk) {
        m_chunk = chunk->previous;
        free(chunk);
    }
}

// Where the step of an offset within the code is kept.
DecodedStep** DecodedCode::Place(unsigned int offset)
{
    if (!m_pages)
        m_pages =
            static_cast<DecodedStep***>(ZeroedMemory(m_size / kPageBytes + 1, sizeof *m_pages));
    DecodedStep**& page = m_pages[offset / kPageBytes];
    if (!page)
        page = static_cast<DecodedStep**>(ZeroedMemory(kPageBytes, sizeof *page));
    return &page[offset % kPageBytes];
}

DecodedStep* DecodedCode::Enter(unsigned int offset)
{
    if (IsEnd(offset) || m_eagerness == kNever || m_steps >= kMostSteps)
        return nullptr;
    DecodedStep** place = Place(offset);
    if (!*place && m_eagerness == kWhenRepeated) {
        *place = &s_entered_once;
        return nullptr;
    }
    return Decode(offset);
}

// In 64 bits: a jump may have left any value in the program counter.
bool DecodedCode::IsEnd(unsigned int offset) const
{
    return static_cast<unsigned long long>(offset) + 1 >= m_size;
}

// The steps from an offset on, up to an instruction that never goes on, to the end of the
// code, or to what has been decoded already.
DecodedStep* DecodedCode::Decode(unsigned int offset)
{
    DecodedStep instructions[StepRun::kMostInstructions];
    int count = 0;
    unsigned int at = offset;
    bool is_open = true;
    while (is_open && count < StepRun::kMostInstructions && !IsEnd(at) &&
           !(count > 0 && Known(at))) {
        DecodedStep* step = &instructions[count++];
        Take(at, step);
        at = step->next;
        is_open =
            !EndsRun(*step) && !(count >= StepRun::kUsualInstructions && EndsStatement(*step));
    }
    return Keep(StepRun(instructions, count, at, IsEnd(at)));
}

DecodedStep* DecodedCode::Keep(const StepRun& run)
{
    if (m_left < run.count())
        AddChunk(run.count());
    DecodedStep* steps = m_free;
    run.CopyTo(steps);
    m_free += run.count();
    m_left -= run.count();
    m_steps += run.count();
    // Steps of several come before those that they consist of.
    for (int i = 0; i < run.count(); ++i) {
        bool is_instruction =
            steps[i].kind != DecodedStep::kLink && steps[i].kind != DecodedStep::kEnd;
        if (is_instruction && !Known(steps[i].offset))
            *Place(steps[i].offset) = &steps[i];
    }
    return steps;
}

void DecodedCode::AddChunk(int least)
{
    const int kUsual = 80;
    m_left = least > kUsual ? least : kUsual;
    Chunk* chunk = static_cast<Chunk*>(
        GrownMemory(nullptr, 1, sizeof(Chunk) + size_t(m_left) * sizeof(DecodedStep)));
    chunk->previous = m_chunk;
    m_chunk = chunk;
    m_free = reinterpret_cast<DecodedStep*>(chunk + 1);
}

void DecodedCode::Take(unsigned int offset, DecodedStep* step) const
{
    Instruction instruction(m_code, offset);
    Form form = FormOf(instruction.word);
    *step = {};
    step->kind = form.kind;
    step->word = instruction.word;
    step->operation = form.operation;
    step->outcomes = static_cast<unsigned char>(form.outcomes);
    step->left_table = form.table;
    step->offset = offset;
    step->next = instruction.next;
    step->a = instruction.a;
    step->b = instruction.b;
    step->result = instruction.a;
    step->is_backward = instruction.next + unsigned(instruction.a) <= offset;
    step->real = instruction.double_a;
}
