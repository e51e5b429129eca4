// Jumps, exit, source positions, and the fused instructions.
#include <limits.h>
#include <signal.h>

#include "TestMachine.h"

namespace {

class ControlTest : public MachineTest {
protected:
    static std::string Text(int entry) { return Op(kPushC, entry) + Op(kOut); }
};

TEST_F(ControlTest, NoopDoesNothing)
{
    EXPECT_EQ(Run(Op(kNoop) + Op(kNoop)), 1);
    EXPECT_EQ(depth(), 0);
}

TEST_F(ControlTest, JumpCountsFromTheEndOfTheInstruction)
{
    EXPECT_EQ(Run(Op(kJmp, 0) + Text(0)), 1);
    EXPECT_EQ(written(), "alpha");
    EXPECT_EQ(Run(Op(kJmp, int(Text(0).size())) + Text(0) + Text(1)), 1);
    EXPECT_EQ(written(), "alphabeta");
}

TEST_F(ControlTest, JumpGoesBack)
{
    // Twice through the text: the global counts down from 2.
    globals.Index(0, 1)->SetValue_Integer(2);
    std::string body = Text(0) + Op(kIncG, 0, -1) + Op(kPushG, 0);
    EXPECT_EQ(Run(body + Op(kJmpGt, -int(body.size()) - 6)), 1);
    EXPECT_EQ(written(), "alphaalpha");
}

TEST_F(ControlTest, JumpOutOfTheSegmentEndsTheRun)
{
    std::string rest = Text(0);
    const int end = int(rest.size());
    static const struct {
        const char* what;
        int distance;
    } rows[] = {
        {"to the end", end},
        {"one byte before the end", end - 1},
        {"one past the end", end + 1},
        {"to -1", -7},
        {"to -2", -8},
        {"the farthest forward", INT_MAX},
        {"the farthest back", INT_MIN},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(Run(Op(kJmp, row.distance) + rest), 1);
        EXPECT_EQ(written(), "");
        EXPECT_TRUE(application.fatal_errors.empty());
    }
}

TEST_F(ControlTest, ConditionalJumpsTestTheTop)
{
    static const struct {
        int word;
        const char* name;
        bool below, equal, above;
    } rows[] = {
        {kJmpEq, "jmp_eq", false, true, false}, {kJmpNe, "jmp_ne", true, false, true},
        {kJmpLt, "jmp_lt", true, false, false}, {kJmpLe, "jmp_le", true, true, false},
        {kJmpGt, "jmp_gt", false, false, true}, {kJmpGe, "jmp_ge", false, true, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        for (int value : {INT_MIN, -1, 0, 1, INT_MAX}) {
            SCOPED_TRACE(value);
            application.recorded.text.clear();
            EXPECT_EQ(Run(Op(kPushI, value) + Op(row.word, int(Text(0).size())) + Text(0)), 1);
            bool taken = value < 0 ? row.below : value == 0 ? row.equal : row.above;
            EXPECT_EQ(written(), taken ? "" : "alpha");
            EXPECT_EQ(depth(), 0);
        }
    }
}

TEST_F(ControlTest, ConditionalJumpOnAnEmptyStackIsFatal)
{
    for (int word : {kJmpEq, kJmpNe, kJmpLt, kJmpLe, kJmpGt, kJmpGe}) {
        SCOPED_TRACE(word);
        EXPECT_EQ(Run(Op(word, 0)), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
        application.fatal_errors.clear();
    }
}

TEST_F(ControlTest, ConditionalJumpConvertsATextToANumber)
{
    EXPECT_EQ(Run(Op(kPushC, 2) + Op(kJmpGt, int(Text(0).size())) + Text(0) + Text(1)), 1);
    EXPECT_EQ(written(), "beta");
}

TEST_F(ControlTest, BothExitsEndTheRunAndSetTheFlag)
{
    for (int word : {kExit, kSecondExit}) {
        SCOPED_TRACE(word);
        exited = 0;
        EXPECT_EQ(Run(Op(word) + Text(0)), 1);
        EXPECT_EQ(exited, 1);
        EXPECT_EQ(written(), "");
        exited = 0;
        EXPECT_EQ(vm()->Go(), 1);
        EXPECT_EQ(written(), "") << "the rest of the segment is behind the machine";
    }
}

TEST_F(ControlTest, TagErrorAcceptsEveryRowAndTheClosingOne)
{
    for (int row : {0, 75, 76, 77, 78, INT_MAX, -1, INT_MIN}) {
        SCOPED_TRACE(row);
        EXPECT_EQ(Run(Op(kTagError, row, 3)), 1);
        EXPECT_TRUE(application.fatal_errors.empty());
    }
    EXPECT_EQ(tag_default_errorsettings[76].setting, 0) << "machines write to their own copy";
}

TEST_F(ControlTest, IncrementAddsToTheGlobal)
{
    globals.Index(1, 1)->SetValue("41", -1);
    EXPECT_EQ(Run(Op(kIncG, 1, 1) + Op(kIncG, 0, -3)), 1);
    EXPECT_EQ(GlobalInteger(1), 42);
    EXPECT_EQ(GlobalText(1), "42");
    EXPECT_EQ(GlobalInteger(0), -3) << "a global that was never set counts from 0";
    EXPECT_EQ(depth(), 0);
}

TEST_F(ControlTest, IncrementWrapsAround)
{
    globals.Index(0, 1)->SetValue_Integer(INT_MAX);
    globals.Index(1, 1)->SetValue_Integer(INT_MIN);
    EXPECT_EQ(Run(Op(kIncG, 0, 1) + Op(kIncG, 1, -1)), 1);
    EXPECT_EQ(GlobalInteger(0), INT_MIN);
    EXPECT_EQ(GlobalInteger(1), INT_MAX);
}

TEST_F(ControlTest, RemainderTakesTheSignOfTheLeftGlobal)
{
    static const struct {
        int left, right, remainder;
    } rows[] = {{7, 2, 1}, {-7, 2, -1}, {7, -2, 1}, {-7, -2, -1}, {6, 3, 0}, {INT_MIN, 2, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " % " << row.right);
        globals.Index(0, 1)->SetValue_Integer(row.left);
        globals.Index(1, 1)->SetValue_Integer(row.right);
        EXPECT_EQ(Run(Op(kModGG, 0, 1)), 1);
        ASSERT_EQ(depth(), 1);
        EXPECT_EQ(stack()->PopI(), row.remainder);
    }
}

using ControlDeathTest = ControlTest;

TEST_F(ControlDeathTest, RemainderThatTheMachineCannotComputeEndsTheProcess)
{
    static const struct {
        int left, right;
    } rows[] = {{1, 0}, {0, 0}, {INT_MIN, -1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " % " << row.right);
        globals.Index(0, 1)->SetValue_Integer(row.left);
        globals.Index(1, 1)->SetValue_Integer(row.right);
        EXPECT_EXIT(Run(Op(kModGG, 0, 1)), testing::KilledBySignal(SIGFPE), "");
    }
}

TEST_F(ControlDeathTest, RemainderEndsTheProcessAlsoWhereItsSignalIsBlockedOrIgnored)
{
    auto run = [this] {
        sigset_t trap;
        sigemptyset(&trap);
        sigaddset(&trap, SIGFPE);
        sigprocmask(SIG_BLOCK, &trap, nullptr);
        signal(SIGFPE, SIG_IGN);
        Run(Op(kPushI, INT_MIN) + Op(kPushI, -1) + Op(kMod));
        _exit(0);
    };
    EXPECT_EXIT(run(), testing::KilledBySignal(SIGFPE), "");
}

TEST_F(ControlTest, StoreOfAnImmediateSetsTheGlobal)
{
    globals.Index(2, 1)->SetValue("text", -1);
    EXPECT_EQ(Run(Op(kStoreGI, 2, -5)), 1);
    EXPECT_EQ(GlobalText(2), "-5");
    EXPECT_EQ(depth(), 0);
}

TEST_F(ControlTest, TagErrorSetsTheRowOfThisMachineOnly)
{
    Run(Op(kTagError, 0, 2) + Op(kTagError, 75, 9) + Op(kTagError, 76, 5) + Op(kTagError, 77, 6) +
        Op(kTagError, -1, 7));
    EXPECT_EQ(vm()->error_setting(0).setting, 2);
    EXPECT_EQ(vm()->error_setting(75).setting, 9);
    EXPECT_EQ(vm()->error_setting(76).setting, 5);
    for (int row = 1; row < 75; ++row)
        EXPECT_EQ(vm()->error_setting(row).setting, tag_default_errorsettings[row].setting);
    EXPECT_EQ(tag_default_errorsettings[0].setting, 3);
    EXPECT_EQ(tag_default_errorsettings[76].setting, 0);
}

TEST_F(ControlTest, AMachineTakesTheDefaultsOfTheMomentItIsMade)
{
    TagErrorSetting& row = tag_default_errorsettings[28];
    int former = row.setting;
    row.setting = 3;
    EXPECT_EQ(vm()->error_setting(28).setting, 3);
    row.setting = former;
    EXPECT_EQ(vm()->error_setting(28).setting, 3);
    EXPECT_STREQ(vm()->error_setting(28).tag_name, "ZpOPEN");
}

TEST_F(ControlTest, FusedInstructionsMakeTheGlobalsOfTheirSlots)
{
    ASSERT_EQ(globals.Index(2, 0), nullptr);
    EXPECT_EQ(Run(Op(kIncG, 2, 0)), 1);
    EXPECT_NE(globals.Index(2, 0), nullptr);
}

TEST_F(ControlTest, FusedInstructionsRefuseSlotsThatAreNot)
{
    static const struct {
        const char* name;
        std::string code;
    } rows[] = {
        {"incg past the end", Op(kIncG, 3, 1)},
        {"incg negative", Op(kIncG, -1, 1)},
        {"storegi past the end", Op(kStoreGI, 3, 1)},
        {"storegi negative", Op(kStoreGI, -1, 1)},
        {"modgg left", Op(kModGG, 3, 0)},
        {"modgg right", Op(kModGG, 0, INT_MIN)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        application.fatal_errors.clear();
        EXPECT_EQ(Run(row.code), 0);
        EXPECT_EQ(Fatal(), "Invalid variable reference");
        EXPECT_EQ(depth(), 0);
    }
}

}  // namespace
