#ifndef ZEPH_VM_DECODEDCODE_H
#define ZEPH_VM_DECODEDCODE_H

#include "image/PreparedCode.h"
#include "vm/InstructionWord.h"

class AggregateElement;
class StepRun;

// One step of the inner loop: an instruction with its operands taken apart, or several
// instructions in a row that are done as one.
//
// Steps stand in the order in which they are done. What a step of several consists of stands
// apart, behind the run: its parts, which may be steps of several themselves, down to the
// single steps of the same instructions, and a link back. Where such a step cannot do its
// work, the loop simply goes on with the parts.
//
//   [ a.x + b into c ] [ next ] ...   [ a.x ] [b] [add] [into c] [link]   [a] [x] [memb] [link]
//      parts ------------------------^   parts -----------------------^
//
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
        kAdd = kAddWord,
        kSubtract = kSubWord,
        kDivide = kDivWord,
        kMultiply = kMulWord
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
    unsigned short word;  // of the instruction, or of the first one of several
    // Of arithmetic; whether a comparison gives the result itself; whether the instruction
    // behind one that pushes takes just the number of it.
    unsigned char operation;
    unsigned char outcomes;  // those that jump, or that a comparison gives 1 for
    unsigned char left_table;
    unsigned char right_table;
    unsigned int offset;  // of the first byte of the first instruction
    unsigned int next;    // behind the last one
    int a;                // first operand; of several, the slot of the left operand
    int b;                // second operand; of several, the slot of the right one or a number
    int result;           // slot of the result; distance of a jump
    union {
        unsigned char result_table;
        bool is_backward;  // of a jump: it may be part of a loop
    };
    // Of a step of several: the steps from this one to its first part, and, where the parts
    // are read, to the second and the third one. A value that goes back into the variable
    // that the first part reads has that one as its third part.
    unsigned char parts;
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
//
// What runs once is not worth a step, and most of a page runs once: steps are made where a
// place is come to for the second time.
class DecodedCode : public PreparedCode {
public:
    // When to make steps. The last two are for tests.
    enum Eagerness {
        kWhenRepeated,
        kAlways,
        kNever
    };

    // The code is borrowed and has spare bytes behind its end.
    DecodedCode(const unsigned char* code, unsigned int size, Eagerness eagerness);
    ~DecodedCode() override;

    // The step at an offset that the run has come to in another way than step by step. Null
    // if it is to go on without: behind the end of the code, for the first time, or when there
    // are too many steps already.
    DecodedStep* At(unsigned int offset)
    {
        DecodedStep* known = offset < m_size ? Known(offset) : nullptr;
        return known ? known : Enter(offset);
    }

private:
    // No page of a site comes near these. They keep the memory that a hostile one can ask for
    // within bounds.
    static constexpr unsigned int kMostCode = 1 << 24;
    static constexpr int kMostSteps = 1 << 18;
    static constexpr unsigned int kPageBytes = 256;

    // In front of the steps that it holds.
    struct Chunk {
        Chunk* previous;
    };

    // The step of an offset within the code, null for none.
    DecodedStep* Known(unsigned int offset) const
    {
        DecodedStep** page = m_pages ? m_pages[offset / kPageBytes] : nullptr;
        DecodedStep* known = page ? page[offset % kPageBytes] : nullptr;
        return known == &s_entered_once ? nullptr : known;
    }
    DecodedStep** Place(unsigned int offset);
    DecodedStep* Enter(unsigned int offset);
    DecodedStep* Decode(unsigned int offset);
    bool IsEnd(unsigned int offset) const;
    // Takes an instruction apart.
    void Take(unsigned int offset, DecodedStep* step) const;
    DecodedStep* Keep(const StepRun& run);
    void AddChunk(int least);

    static DecodedStep s_entered_once;  // stands for a step that has not been made

    const unsigned char* m_code;
    unsigned int m_size;
    Eagerness m_eagerness;
    DecodedStep*** m_pages = nullptr;  // owned; for pages of the code, steps by offset
    Chunk* m_chunk = nullptr;          // the last one; owned, with those before it
    DecodedStep* m_free = nullptr;     // room in it
    int m_left = 0;                    // steps that there is room for
    int m_steps = 0;                   // all of them
};

#endif
