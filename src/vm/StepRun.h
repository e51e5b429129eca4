#ifndef ZEPH_VM_STEPRUN_H
#define ZEPH_VM_STEPRUN_H

#include "vm/DecodedCode.h"
#include "vm/StepFusion.h"

// The steps of instructions in a row, put together before they get a place of their own.
class StepRun {
public:
    // Instructions of one run: it ends at the first end of a statement from the usual number
    // on, so that no sequence is cut. What is longer than the most stays in single steps there.
    static constexpr int kUsualInstructions = 40;
    static constexpr int kMostInstructions = 56;

    // The instructions one by one; `next` is the offset behind the last one, where the code
    // may have ended.
    StepRun(const DecodedStep* instructions, int count, unsigned int next, bool is_end);

    int count() const { return m_count; }
    // To room for count() steps.
    void CopyTo(DecodedStep* steps) const;

private:
    // Parts of parts are single instructions. Each level has all of them at most, and a link
    // behind the parts of each step of several, which has two instructions or more.
    static constexpr int kMostOfLevel = kMostInstructions + kMostInstructions / 2;
    static constexpr int kMostSteps = kMostInstructions + 1 + 2 * kMostOfLevel;
    static_assert(kMostSteps < 256, "steps count their way to others in bytes");

    // A step of several whose parts have not been added yet.
    struct Head {
        int place;
        int first;  // instruction
        Fusion fusion;
    };

    void Add(const DecodedStep& step) { m_steps[m_count++] = step; }
    void AddSequence(int first, int count);
    void AddParts(const Head& head);
    void AddLink(DecodedStep::Kind kind, unsigned int offset, int distance);

    const DecodedStep* m_instructions;
    DecodedStep m_steps[kMostSteps];
    int m_count = 0;
    Head m_heads[kMostInstructions];  // of two levels, with two instructions or more each
    int m_head_count = 0;
};

#endif
