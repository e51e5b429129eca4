// What the machine writes: text, flags, and the words of a fatal error.
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

TEST_F(MachineOutputTest, FatalErrorNamesPathSegmentAndOffset)
{
    EXPECT_EQ(ErrorOf(Op(kPop)),
              "Fatal error in /www/x.zpc @ [00000000:00000000]: Stack underflow\n");
    segments.Start();
    for (int i = 1; i <= 0x1F; ++i)
        segments.Segment_Add();
    segments.SetStart(0x1F);
    std::string padding;
    for (int i = 0; i < 0xABC / 2; ++i)
        padding += Op(kNoop);
    EXPECT_EQ(ErrorOf(padding + Op(kPop)),
              "Fatal error in /www/x.zpc @ [0000001f:00000abc]: Stack underflow\n");
}

TEST_F(MachineOutputTest, FatalErrorNamesSourceFileAndLineWhereKnown)
{
    const struct {
        const char* what;
        std::string code;
        const char* position;
        const char* source;
    } rows[] = {
        {"both", Op(kSourceFile, 3) + Op(kLineNo, 12), "0000000c", "x.zp: Line 12: "},
        {"line only", Op(kLineNo, 12), "00000006", "Line 12: "},
        {"negative line", Op(kLineNo, -1), "00000006", "Line -1: "},
        {"line of 0", Op(kSourceFile, 3) + Op(kLineNo, 0), "0000000c", "x.zp: "},
        {"the last one", Op(kLineNo, 1) + Op(kSourceFile, 0) + Op(kSourceFile, 1), "00000012",
         "beta: Line 1: "},
        {"no source any more", Op(kSourceFile, 3) + Op(kSourceFile, -1), "0000000c", ""},
        {"empty source", Op(kSourceFile, 4), "00000006", ""},
        {"source out of range", Op(kSourceFile, dictionary.Entries()), "00000006", ""},
        {"source far out of range", Op(kSourceFile, INT_MIN), "00000006", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(ErrorOf(row.code + Op(kPop)),
                  "Fatal error in /www/x.zpc @ [00000000:" + std::string(row.position) +
                      "]: " + row.source + "Stack underflow\n");
    }
}

TEST_F(MachineOutputTest, ErrorPrefixStandsBeforeEveryError)
{
    EXPECT_EQ(ErrorOf(Op(kPushC, 0) + Op(kErrMsg) + Op(kPop)),
              "alphaFatal error in /www/x.zpc @ [00000000:00000008]: Stack underflow\n");
    EXPECT_EQ(ErrorOf(Op(kPushC, 0) + Op(kErrMsg) + Op(kPushC, 4) + Op(kErrMsg) + Op(kPop)),
              "Fatal error in /www/x.zpc @ [00000000:00000010]: Stack underflow\n");
}

TEST_F(MachineOutputTest, AnUnderflowLeavesTheErrorPrefix)
{
    EXPECT_EQ(Run(Op(kPushC, 0) + Op(kErrMsg) + Op(kErrMsg)), 0);
    application.fatal_errors.clear();
    vm()->FatalError("again");
    ASSERT_EQ(application.fatal_errors.size(), 1u);
    EXPECT_EQ(application.fatal_errors[0].substr(0, 16), "alphaFatal error");
}

TEST_F(MachineOutputTest, AnEmptyTextReachesTheOutputAndAnUnderflowDoesNot)
{
    EXPECT_EQ(Run(Op(kPushC, 4) + Op(kOut) + Op(kPushC, 4) + Op(kOutComp)), 1);
    EXPECT_EQ(application.recorded.writes, 2);
    EXPECT_EQ(Run(Op(kOut)), 0);
    EXPECT_EQ(Run(Op(kOutComp)), 0);
    EXPECT_EQ(application.recorded.writes, 2);
}

TEST_F(MachineOutputTest, FatalErrorSetsNoVariableAndWritesNoOutput)
{
    int entries = globals.Entries();
    ErrorOf(Op(kPop));
    EXPECT_EQ(globals.Entries(), entries);
    EXPECT_EQ(written(), "");
    EXPECT_TRUE(application.errors.empty());
}

}  // namespace
