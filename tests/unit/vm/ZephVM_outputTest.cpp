// What the machine writes: text and flags.
#include <limits.h>

#include "LiveArrays.h"
#include "TestMachine.h"

namespace {

class MachineOutputTest : public MachineTest {
protected:
    // The last fatal error that a code ends in.
    std::string ErrorOf(const std::string& code)
    {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(code), 0);
        return application.fatal_errors.empty() ? "none" : application.fatal_errors.back();
    }
};

TEST_F(MachineOutputTest, OutWritesEveryKindAsText)
{
    globals.Index(0, 1)->SetValue("variable", -1);
    EXPECT_EQ(Run(Op(kPushC, 0) + Op(kOut) + Op(kPushI, -7) + Op(kOut) + Op(kPushG, 0) + Op(kOut)),
              1);
    EXPECT_EQ(written(), "alpha-7variable");
    EXPECT_EQ(application.recorded.compressed, "");
    EXPECT_EQ(depth(), 0);
}

TEST_F(MachineOutputTest, OutFreesATextOfItsOwn)
{
    std::string code = Op(kPushI, 12345) + Op(kOut);
    Run(code);
    long before = LiveArrays();
    Run(code);
    EXPECT_EQ(LiveArrays(), before);
}

TEST_F(MachineOutputTest, OutPassesNulBytes)
{
    int entry = dictionary.Entry_Add("a\0b", 3);
    EXPECT_EQ(Run(Op(kPushC, entry) + Op(kOut)), 1);
    EXPECT_EQ(written(), std::string("a\0b", 3));
}

TEST_F(MachineOutputTest, OutCompWritesCompressed)
{
    EXPECT_EQ(Run(Op(kPushC, 1) + Op(kOutComp)), 1);
    EXPECT_EQ(application.recorded.compressed, "beta");
    EXPECT_EQ(written(), "");
}

TEST_F(MachineOutputTest, OutputOnAnEmptyStackIsFatalAndWritesNothing)
{
    for (int word : {kOut, kOutComp, kErrMsg}) {
        SCOPED_TRACE(word);
        EXPECT_EQ(ErrorOf(Op(word)),
                  "Fatal error in /www/x.zpc @ [00000000:00000000]: Stack underflow\n");
    }
    EXPECT_EQ(application.recorded.writes, 0);
}

TEST_F(MachineOutputTest, StandardOutputFlagsGoToTheFrameAndTheOutput)
{
    EXPECT_EQ(Run(Op(kStdOutput, 2)), 1);
    EXPECT_EQ(vm()->frame()->standard_output, 2);
    EXPECT_EQ(application.recorded.flags(), 2);
    EXPECT_EQ(vm()->frame()->error_output, 7);
}

TEST_F(MachineOutputTest, ErrorOutputFlagsGoToTheFrame)
{
    EXPECT_EQ(Run(Op(kErrOutput, 3)), 1);
    EXPECT_EQ(vm()->frame()->error_output, 3);
    EXPECT_EQ(application.recorded.flags(), 0);
}

TEST_F(MachineOutputTest, AnEmptyTextReachesTheOutputAndAnUnderflowDoesNot)
{
    EXPECT_EQ(Run(Op(kPushC, 4) + Op(kOut) + Op(kPushC, 4) + Op(kOutComp)), 1);
    EXPECT_EQ(application.recorded.writes, 2);
    EXPECT_EQ(Run(Op(kOut)), 0);
    EXPECT_EQ(Run(Op(kOutComp)), 0);
    EXPECT_EQ(application.recorded.writes, 2);
}

}  // namespace
