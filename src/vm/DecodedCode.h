#ifndef ZEPH_VM_DECODEDCODE_H
#define ZEPH_VM_DECODEDCODE_H

#include "image/PreparedCode.h"

class AggregateElement;

// One step of the inner loop: an instruction with its operands taken apart, or several
// instructions in a row that are done as one.
//
// A step of several stands in front of the steps of its parts, and those in the end are the
// single steps of the same instructions: where it cannot do its work, the loop simply goes on
// to the next step.
//
//   [ a.x + b into c.x ] [ a.x ] [a] [x] [memb] [b] [add] [ into c.x ] [c] [x] [memb] [store]
struct DecodedStep {
    // What the loop does. Its table of labels has the same order.
    enum Kind : unsigned short {
        // One instruction.
        kGeneral,  // by the word, as every instruction can be done
        kPushConstant,
        kPushInteger,
        kPushDouble,
        kPushVariable,
        kPopVariable,
        kPop,
        kJump,
        kJumpIf,
        kLine,
        kArithmetic,
        kCompare,
        kIncrement,
        kStoreInteger,
        kCall,
        kReturn,
        // No instruction.
        kEnd,   // the code has ended here
        kLink,  // goes on at `target`
        // Several instructions; the left operand is a variable.
        kArithmeticVariable,       // variable, variable, operation
        kArithmeticNumber,         // variable, number, operation
        kArithmeticVariableStore,  // the same, and into `result`
        kArithmeticNumberStore,
        kCompareVariableJump,  // variable, variable, comparison, conditional jump
        kCompareNumberJump,
        kCompareJump,  // comparison of what is on the stack, conditional jump
        kAppend,       // variable, then texts and concatenations, into the same variable
        kPushElement,  // variable, index, element
        kStoreElement,
        kPushMember,  // variable, name, member
        kStoreMember,
        // The same with operands of any kind: see StepOperands::Number.
        kCalculate,       // operand, operand, operation
        kCalculateStore,  // the same, and into a variable, an element or a member
        kCompareOperandsJump,
        // A variable is set, compared with a number, and a conditional jump: how loops count.
        kIncrementLoop,
        kCalculateNumberLoop,
        kCalculateVariableLoop
    };
    // Arithmetic, by the word of the instruction.
    enum Operation : unsigned char {
        kAdd = 0x16,
        kSubtract = 0x17,
        kDivide = 0x1F,
        kMultiply = 0x20
    };
    // Results of a comparison, or signs of a number, as bits.
    enum Outcome : unsigned char {
        kLess = 1,
        kEqual = 2,
        kGreater = 4
    };
    // Where the slot of a variable is.
    enum Table : unsigned char {
        kLocal = 0,
        kGlobal = 1
    };
    // Of an index: where its number comes from, or a Table.
    static constexpr unsigned char kNumber = 2;

    Kind kind;
    unsigned short word;      // of the instruction, or of the first one of several
    // Of arithmetic; whether a comparison gives the result itself; whether the instruction
    // behind one that pushes takes just the number of it.
    unsigned char operation;
    unsigned char outcomes;   // those that jump, or that a comparison gives 1 for
    unsigned char left_table;
    unsigned char right_table;
    unsigned int offset;  // of the first byte of the first instruction
    unsigned int next;    // behind the last one
    int a;                // first operand; of several, the slot of the left operand
    int b;                // second operand; of several, the slot of the right one or a number
    int result;           // slot of the result; distance of a jump
    unsigned char result_table;
    // Steps to the one behind those that this one stands for; 0 when none is behind it, since
    // the instruction never goes on there.
    unsigned char skip;
    // Of parts that are steps of several themselves: the steps from this one to the second and
    // to the third part. The first one is the next step.
    unsigned char second;
    unsigned char third;
    union {
        double real;               // operand, or the number of several
        unsigned long long stamp;  // of the tree in which `member` was found
    };
    union {
        DecodedStep* target;  // of a jump or a call; null until it is known
        AggregateElement* member;
    };
};

// The code of one segment as steps, made as far as the run gets, from any byte on: a jump
// may land within what was meant as an operand. Steps stay where they are.
class DecodedCode : public PreparedCode {
public:
    // The code is borrowed and has spare bytes behind its end.
    DecodedCode(const unsigned char* code, unsigned int size);
    ~DecodedCode() override;

    // The step at an offset, which may be at or behind the end of the code.
    DecodedStep* At(unsigned int offset)
    {
        DecodedStep* known = offset < m_size ? m_at[offset] : nullptr;
        return known ? known : Decode(offset);
    }

private:
    // Instructions that are taken apart in one go, and the steps that they can give.
    static constexpr int kRunLength = 40;
    static constexpr int kMostSteps = 2 * kRunLength + 1;
    static constexpr int kChunkSteps = 4 * kMostSteps;

    struct Chunk {
        Chunk* previous;
        DecodedStep steps[kChunkSteps];
    };

    DecodedStep* Decode(unsigned int offset);
    bool IsEnd(unsigned int offset) const;
    // Takes an instruction apart.
    void Take(unsigned int offset, DecodedStep* step) const;
    DecodedStep* Add(const DecodedStep& step);
    void AddRun(const DecodedStep* run, int count);
    int AddNext(const DecodedStep* run, int count);
    // From a step of the last chunk to the next one that is added to it.
    int StepsSince(const DecodedStep* step) const { return int(m_chunk->steps + m_used - step); }

    const unsigned char* m_code;
    unsigned int m_size;
    DecodedStep** m_at;        // owned; first steps, by offset
    Chunk* m_chunk = nullptr;  // the last one; owned, with those before it
    int m_used = kChunkSteps;  // steps of it
};

#endif
