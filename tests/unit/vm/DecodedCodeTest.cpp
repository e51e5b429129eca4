#include "vm/DecodedCode.h"

#include <vector>

#include "TestMachine.h"

namespace {

// Code with spare bytes behind it, and its steps.
class Steps {
public:
    explicit Steps(const std::string& code, DecodedCode::Eagerness eagerness = DecodedCode::kAlways)
        : m_size(unsigned(code.size())),
          m_code(code + std::string(16, '\0')),
          m_decoded(reinterpret_cast<const unsigned char*>(m_code.data()), m_size, eagerness)
    {
    }
    DecodedStep* At(unsigned int offset) { return m_decoded.At(offset); }
    unsigned int size() const { return m_size; }

private:
    unsigned int m_size;
    std::string m_code;
    DecodedCode m_decoded;
};

std::vector<int> KindsFrom(const DecodedStep* step)
{
    std::vector<int> kinds;
    do
        kinds.push_back(step->kind);
    while (step++->kind != DecodedStep::kLink && kinds.back() != DecodedStep::kEnd);
    return kinds;
}

using Kinds = std::vector<int>;

TEST(DecodedCode, StepsAreMadeTheSecondTime)
{
    Steps steps(Op(kPushI, 1) + Op(kPushI, 2) + Op(kAdd), DecodedCode::kWhenRepeated);
    EXPECT_EQ(steps.At(0), nullptr);
    EXPECT_EQ(steps.At(6), nullptr) << "each place is counted for itself";
    DecodedStep* first = steps.At(0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(steps.At(0), first);
    EXPECT_EQ(first->offset, 0u);
    DecodedStep* second = steps.At(6);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->offset, 6u);
    EXPECT_EQ(second->a, 2);
}

TEST(DecodedCode, WhatARunHasComeByIsKnownAtOnce)
{
    Steps steps(Op(kPushI, 1) + Op(kNoop) + Op(kPushI, 2), DecodedCode::kWhenRepeated);
    EXPECT_EQ(steps.At(0), nullptr);
    DecodedStep* first = steps.At(0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(steps.At(8), first + 2);
}

TEST(DecodedCode, ARunGoesOnFromAPlaceThatWasEnteredOnce)
{
    Steps steps(Op(kPushI, 1) + Op(kNoop) + Op(kPushI, 2), DecodedCode::kWhenRepeated);
    EXPECT_EQ(steps.At(8), nullptr);
    EXPECT_EQ(steps.At(0), nullptr);
    EXPECT_EQ(KindsFrom(steps.At(0)), (Kinds{DecodedStep::kPushInteger, DecodedStep::kGeneral,
                                             DecodedStep::kPushInteger, DecodedStep::kEnd}));
}

TEST(DecodedCode, ThereAreNoneWhereNoneAreWanted)
{
    Steps steps(Op(kPushI, 1), DecodedCode::kNever);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(steps.At(0), nullptr);
}

TEST(DecodedCode, ThereAreNoneBehindTheEnd)
{
    for (auto eagerness : {DecodedCode::kAlways, DecodedCode::kWhenRepeated}) {
        Steps steps(Op(kPushI, 1) + Op(kNoop), eagerness);
        for (unsigned int offset : {7u, 8u, 9u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            SCOPED_TRACE(offset);
            EXPECT_EQ(steps.At(offset), nullptr);
            EXPECT_EQ(steps.At(offset), nullptr);
        }
        steps.At(6);
        EXPECT_NE(steps.At(6), nullptr) << "the last two bytes are an instruction";
    }
    Steps none("");
    EXPECT_EQ(none.At(0), nullptr);
}

TEST(DecodedCode, AnInstructionAcrossTheEndIsTheLastOne)
{
    Steps steps(Op(kNoop) + Op(kPushI));
    DecodedStep* step = steps.At(0);
    EXPECT_EQ(KindsFrom(step),
              (Kinds{DecodedStep::kGeneral, DecodedStep::kPushInteger, DecodedStep::kEnd}));
    EXPECT_EQ(step[2].offset, 8u);
}

TEST(DecodedCode, AnyByteMayBeEntered)
{
    // push 0x00004025, so that a jump word stands within the operand.
    Steps steps(Op(kPushI, 0x00004025) + Integer(0));
    DecodedStep* first = steps.At(0);
    DecodedStep* within = steps.At(2);
    EXPECT_EQ(first->kind, DecodedStep::kPushInteger);
    EXPECT_EQ(within->kind, DecodedStep::kJump);
    EXPECT_EQ(within->next, 8u);
    EXPECT_EQ(steps.At(0), first);
    EXPECT_EQ(steps.At(2), within);
}

TEST(DecodedCode, ALongCodeIsTakenApartInRuns)
{
    std::string code;
    for (int i = 0; i < 5000; ++i)
        code += Op(kIncG, 0, i);
    Steps steps(code);
    DecodedStep* step = steps.At(0);
    for (int i = 0; i < 5000; ++i) {
        if (step->kind == DecodedStep::kLink)
            step = steps.At(step->next);
        ASSERT_EQ(step->kind, DecodedStep::kIncrement);
        ASSERT_EQ(step->b, i);
        ++step;
    }
}

TEST(DecodedCode, ARunEndsWhereItCannotGoOn)
{
    for (const std::string& last : {Op(kJmp, 0), Op(kRet), Op(kRetN), Op(kExit), Op(kSecondExit)}) {
        Steps steps(Op(kNoop) + last + Op(kPushI, 1));
        Kinds kinds = KindsFrom(steps.At(0));
        EXPECT_EQ(kinds.size(), 3u);
        EXPECT_EQ(kinds.back(), DecodedStep::kLink);
    }
    Steps steps(Op(kNoop) + Op(kJmpEq, 0) + Op(kNoop));
    EXPECT_EQ(KindsFrom(steps.At(0)).size(), 4u) << "a conditional jump may not be taken";
}

TEST(DecodedCode, ARunEndsAtWhatIsKnown)
{
    Steps steps(Op(kNoop) + Op(kPushI, 1) + Op(kNoop));
    DecodedStep* known = steps.At(2);
    DecodedStep* step = steps.At(0);
    ASSERT_EQ(KindsFrom(step), (Kinds{DecodedStep::kGeneral, DecodedStep::kLink}));
    EXPECT_EQ(step[1].next, 2u);
    EXPECT_EQ(steps.At(step[1].next), known);
}

TEST(DecodedCode, JumpsThatMayLoopAreKnown)
{
    static const struct {
        int distance;
        bool is_backward;
    } rows[] = {
        {0, false}, {5, false}, {-1, false}, {-5, false}, {-6, true}, {-8, true}, {-2000000, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.distance);
        Steps steps(Op(kNoop) + Op(kJmp, row.distance) + Op(kNoop));
        EXPECT_EQ(steps.At(2)->is_backward, row.is_backward);
    }
}

TEST(DecodedCode, PartsLeadBackBehindTheirStep)
{
    // a + b into c; the parts are the single instructions.
    Steps steps(Op(kPushG, 0) + Op(kPushG, 1) + Op(kAdd) + Op(kPopG, 2) + Op(kNoop));
    DecodedStep* step = steps.At(0);
    ASSERT_EQ(KindsFrom(step), (Kinds{DecodedStep::kArithmeticVariableStore, DecodedStep::kGeneral,
                                      DecodedStep::kEnd}));
    DecodedStep* parts = step + step->parts;
    ASSERT_EQ(KindsFrom(parts),
              (Kinds{DecodedStep::kPushVariable, DecodedStep::kPushVariable,
                     DecodedStep::kArithmetic, DecodedStep::kPopVariable, DecodedStep::kLink}));
    EXPECT_EQ(parts[4].target, step + 1);
    EXPECT_EQ(step->next, 20u);
    EXPECT_EQ(parts[0].offset, 0u);
    EXPECT_EQ(parts[3].next, 20u);
}

TEST(DecodedCode, PartsMayHavePartsThatAreRead)
{
    // s.alpha + a[1] into s.alpha: the third part is the first one, where it is read.
    std::string member = Op(kPushG, 0) + Op(kPushC, 0);
    Steps steps(member + Op(kMembReadonly) + Op(kPushG, 1) + Op(kPushI, 1) + Op(kElemReadonly) +
                Op(kAdd) + member + Op(kMemb) + Op(kStore) + Op(kNoop));
    DecodedStep* step = steps.At(0);
    ASSERT_EQ(step->kind, DecodedStep::kCalculateStore);
    EXPECT_EQ(step[step->parts].kind, DecodedStep::kPushMember);
    EXPECT_EQ(step[step->second].kind, DecodedStep::kPushElement);
    EXPECT_EQ(step->third, step->parts);
    DecodedStep* parts = step + step->parts;
    ASSERT_EQ(KindsFrom(parts),
              (Kinds{DecodedStep::kPushMember, DecodedStep::kPushElement, DecodedStep::kArithmetic,
                     DecodedStep::kStoreMember, DecodedStep::kLink}));
    EXPECT_EQ(parts[4].target, step + 1);
    for (int part : {0, 1, 3}) {
        const DecodedStep* inner = parts + part + parts[part].parts;
        while (inner->kind != DecodedStep::kLink)
            ++inner;
        EXPECT_EQ(inner->target, parts + part + 1);
    }
}

TEST(DecodedCode, AJumpIntoASequenceFindsTheInnerStep)
{
    Steps steps(Op(kPushG, 0) + Op(kPushG, 1) + Op(kAdd) + Op(kPopG, 2) + Op(kNoop));
    DecodedStep* step = steps.At(0);
    DecodedStep* parts = step + step->parts;
    EXPECT_EQ(steps.At(6), parts + 1);
    EXPECT_EQ(steps.At(12), parts + 2);
    EXPECT_EQ(steps.At(14), parts + 3);
    EXPECT_EQ(steps.At(20), step + 1);
    EXPECT_EQ(steps.At(1)->offset, 1u) << "a byte within an instruction gets steps of its own";
}

TEST(DecodedCode, CodeAboveTheBoundGetsNoSteps)
{
    const unsigned int kMostCode = 1 << 24;
    Steps most(std::string(kMostCode, '\0'));
    EXPECT_NE(most.At(0), nullptr);
    Steps more(std::string(kMostCode + 1, '\0'));
    EXPECT_EQ(more.At(0), nullptr);
    EXPECT_EQ(more.At(0), nullptr);
}

TEST(DecodedCode, TheNumberOfStepsIsBounded)
{
    const int kMostSteps = 1 << 18;
    // Runs of one jump and its link.
    std::string code;
    for (int i = 0; i < kMostSteps / 2 + 10; ++i)
        code += Op(kJmp, 0);
    Steps steps(code);
    for (int i = 0; i < kMostSteps / 2; ++i)
        ASSERT_NE(steps.At(unsigned(6 * i)), nullptr) << i;
    EXPECT_EQ(steps.At(3 * kMostSteps), nullptr);
    EXPECT_NE(steps.At(6), nullptr) << "what is known stays";
}

}  // namespace
