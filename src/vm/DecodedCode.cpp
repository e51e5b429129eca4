#include "vm/DecodedCode.h"

#include <stdlib.h>
#include <string.h>

#include "image/little_endian.h"
#include "variables/allocation.h"
#include "vm/StepRun.h"

namespace {

// The two bits that say what an operand is; 0 and 3 mean none.
const unsigned int kIntegerOperand = 1;
const unsigned int kDoubleOperand = 2;

// Words that the steps know.
enum Word : unsigned short {
    kPopWord = 0x000B,
    kAddWord = 0x0016,
    kSubWord = 0x0017,
    kDivWord = 0x001F,
    kMulWord = 0x0020,
    kCmpWord = 0x002C,
    kEqWord = 0x0033,
    kNeWord = 0x0034,
    kGeWord = 0x0035,
    kLeWord = 0x0036,
    kLtWord = 0x0037,
    kGtWord = 0x0038,
    kRetWord = 0x003B,
    kRetnWord = 0x003C,
    kExitWord = 0x0043,
    kSecondExitWord = 0x0116,
    kPushcWord = 0x4001,
    kPushiWord = 0x4002,
    kPushgWord = 0x4005,
    kPushlWord = 0x4006,
    kPopgWord = 0x400D,
    kPoplWord = 0x400E,
    kJmpWord = 0x4025,
    kJmpEqWord = 0x4026,
    kJmpLtWord = 0x4027,
    kJmpGtWord = 0x4028,
    kJmpLeWord = 0x4029,
    kJmpGeWord = 0x402A,
    kJmpNeWord = 0x402B,
    kCallWord = 0x403D,
    kLinenoWord = 0x4044,
    kIncgWord = 0x5303,
    kStoregiWord = 0x5305,
    kPushfWord = 0x8003
};

const int kLess = DecodedStep::kLess;
const int kEqual = DecodedStep::kEqual;
const int kGreater = DecodedStep::kGreater;

// How a word is done, if the loop has a short way for it.
struct Form {
    unsigned short word;
    DecodedStep::Kind kind;
    unsigned char operation;
    int outcomes;
    unsigned char table;
};

const Form kForms[] = {
    {kPushcWord, DecodedStep::kPushConstant, 0, 0, 0},
    {kPushiWord, DecodedStep::kPushInteger, 0, 0, 0},
    {kPushfWord, DecodedStep::kPushDouble, 0, 0, 0},
    {kPushlWord, DecodedStep::kPushVariable, 0, 0, DecodedStep::kLocal},
    {kPushgWord, DecodedStep::kPushVariable, 0, 0, DecodedStep::kGlobal},
    {kPoplWord, DecodedStep::kPopVariable, 0, 0, DecodedStep::kLocal},
    {kPopgWord, DecodedStep::kPopVariable, 0, 0, DecodedStep::kGlobal},
    {kPopWord, DecodedStep::kPop, 0, 0, 0},
    {kAddWord, DecodedStep::kArithmetic, DecodedStep::kAdd, 0, 0},
    {kSubWord, DecodedStep::kArithmetic, DecodedStep::kSubtract, 0, 0},
    {kMulWord, DecodedStep::kArithmetic, DecodedStep::kMultiply, 0, 0},
    {kDivWord, DecodedStep::kArithmetic, DecodedStep::kDivide, 0, 0},
    {kCmpWord, DecodedStep::kCompare, 1, 0, 0},
    {kEqWord, DecodedStep::kCompare, 0, kEqual, 0},
    {kNeWord, DecodedStep::kCompare, 0, kLess | kGreater, 0},
    {kGeWord, DecodedStep::kCompare, 0, kGreater | kEqual, 0},
    {kLeWord, DecodedStep::kCompare, 0, kLess | kEqual, 0},
    {kLtWord, DecodedStep::kCompare, 0, kLess, 0},
    {kGtWord, DecodedStep::kCompare, 0, kGreater, 0},
    {kJmpWord, DecodedStep::kJump, 0, 0, 0},
    {kJmpEqWord, DecodedStep::kJumpIf, 0, kEqual, 0},
    {kJmpLtWord, DecodedStep::kJumpIf, 0, kLess, 0},
    {kJmpGtWord, DecodedStep::kJumpIf, 0, kGreater, 0},
    {kJmpLeWord, DecodedStep::kJumpIf, 0, kLess | kEqual, 0},
    {kJmpGeWord, DecodedStep::kJumpIf, 0, kGreater | kEqual, 0},
    {kJmpNeWord, DecodedStep::kJumpIf, 0, kLess | kGreater, 0},
    {kLinenoWord, DecodedStep::kLine, 0, 0, 0},
    {kIncgWord, DecodedStep::kIncrement, 0, 0, DecodedStep::kGlobal},
    {kStoregiWord, DecodedStep::kStoreInteger, 0, 0, DecodedStep::kGlobal},
    {kCallWord, DecodedStep::kCall, 0, 0, 0},
    {kRetWord, DecodedStep::kReturn, 0, 0, 0},
};

const Form* FormOf(unsigned int word)
{
    for (const Form& form : kForms) {
        if (form.word == word)
            return &form;
    }
    return nullptr;
}

// Instructions that never go on to the next one.
bool EndsRun(const DecodedStep& step)
{
    return step.kind == DecodedStep::kJump || step.word == kRetWord || step.word == kRetnWord ||
           step.word == kExitWord || step.word == kSecondExitWord;
}

}  // namespace

DecodedCode::DecodedCode(const unsigned char* code, unsigned int size)
    : m_code(code),
      m_size(size),
      m_at(static_cast<DecodedStep**>(ZeroedMemory(size, sizeof(DecodedStep*))))
{
}

DecodedCode::~DecodedCode()
{
    free(m_at);
    while (Chunk* chunk = m_chunk) {
        m_chunk = chunk->previous;
        free(chunk);
    }
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
           !(count > 0 && m_at[at])) {
        Take(at, &instructions[count]);
        is_open = !EndsRun(instructions[count]);
        at = instructions[count++].next;
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
    // Steps of several come before those that they consist of.
    for (int i = 0; i < run.count(); ++i) {
        bool is_instruction = steps[i].kind != DecodedStep::kLink && steps[i].kind != DecodedStep::kEnd;
        if (is_instruction && !m_at[steps[i].offset])
            m_at[steps[i].offset] = &steps[i];
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

// Operands are taken by the word's bits alone, and may run past the end of the code: every
// code buffer has spare zeros for that.
void DecodedCode::Take(unsigned int offset, DecodedStep* step) const
{
    const unsigned char* bytes = m_code + offset;
    *step = {};
    step->word = static_cast<unsigned short>(GetWord(bytes));
    step->offset = offset;
    bytes += 2;
    unsigned int word = step->word;
    unsigned int forms[] = {word >> 14, word >> 12 & 3};
    int* operands[] = {&step->a, &step->b};
    for (int i = 0; i < 2; ++i) {
        if (forms[i] == kIntegerOperand) {
            *operands[i] = GetDword(bytes);
            bytes += 4;
        } else if (forms[i] == kDoubleOperand) {
            step->real = GetDouble(bytes);
            bytes += 8;
        }
    }
    step->next = unsigned(bytes - m_code);
    step->result = step->a;
    if (const Form* form = FormOf(step->word)) {
        step->kind = form->kind;
        step->operation = form->operation;
        step->outcomes = static_cast<unsigned char>(form->outcomes);
        step->left_table = form->table;
        step->is_backward = step->next + unsigned(step->a) <= offset;
    }
}
