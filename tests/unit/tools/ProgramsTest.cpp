// The two programs as they are called from a shell.

#include "Outcome.h"
#include "ToolRun.h"

namespace {

const std::string kAssembler = ZEPHASM;
const std::string kDump = ZEPHDUMP;

}  // namespace

TEST(Programs, AssembleBesideTheSourceOrWhereTold)
{
    ToolRun run;
    run.Write("a.zasm", ".segment\nnoop\n");
    run.Write("b", ".segment\nexit\n");
    Outcome outcome = RunCommand(kAssembler + " " + run.Path("a.zasm") + " " + run.Path("b"));
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(run.Read("a.zpc").substr(0, 4), "Zeph");
    EXPECT_EQ(run.Read("b.zpc").substr(0, 4), "Zeph");
    EXPECT_EQ(RunCommand(kAssembler + " -o " + run.Path("c") + " " + run.Path("a.zasm")).status, 0);
    EXPECT_EQ(run.Read("c"), run.Read("a.zpc"));
    EXPECT_EQ(RunCommand(kAssembler + " " + run.Path("a.zasm") + " -o " + run.Path("d")).status, 0);
    EXPECT_EQ(run.Read("d"), run.Read("a.zpc"));
}

TEST(Programs, ReadLargeFilesWhole)
{
    ToolRun run;
    run.Write("a.zasm", ".text \"" + std::string(200000, 'x') + "\"\n.text \"end\"\n.segment\n");
    ASSERT_EQ(RunCommand(kAssembler + " " + run.Path("a.zasm")).status, 0);
    std::string dictionary = ToolRun::Section(run.Read("a.zpc"), "dict");
    EXPECT_EQ(dictionary.size(), 12u + 16 + 200003);
    EXPECT_EQ(dictionary.substr(12 + 16 + 200000), "end");
}

TEST(Programs, LeaveNoImageOfAFaultySource)
{
    ToolRun run;
    run.Write("a.zasm", "noop\n");
    run.Write("b.zasm", ".segment\n");
    Outcome outcome = RunCommand(kAssembler + " " + run.Path("a.zasm") + " " + run.Path("b.zasm"));
    EXPECT_EQ(outcome.output, run.Path("a.zasm") + ":1:1: code must stand behind .segment\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_FALSE(std::filesystem::exists(run.Path("a.zpc")));
    EXPECT_TRUE(std::filesystem::exists(run.Path("b.zpc")));
}

TEST(Programs, NameFilesThatCannotBeReadOrWritten)
{
    ToolRun run;
    run.Write("a.zasm", ".segment\n");
    Outcome outcome = RunCommand(kAssembler + " " + run.Path("none.zasm"));
    EXPECT_EQ(outcome.output, run.Path("none.zasm") + ": No such file or directory\n");
    EXPECT_EQ(outcome.status, 1);
    outcome = RunCommand(kAssembler + " -o " + run.Path("none/a") + " " + run.Path("a.zasm"));
    EXPECT_EQ(outcome.output, run.Path("none/a") + ": No such file or directory\n");
    EXPECT_EQ(outcome.status, 1);
    outcome = RunCommand(kDump + " " + run.Path("none.zpc"));
    EXPECT_EQ(outcome.output, run.Path("none.zpc") + ": No such file or directory\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST(Programs, DumpWhatTheAssemblerTakesAgain)
{
    ToolRun run;
    run.Write("a.zasm", ".segment\npushc \"x\"\nout\n");
    ASSERT_EQ(RunCommand(kAssembler + " " + run.Path("a.zasm")).status, 0);
    ASSERT_EQ(RunCommand(kDump + " " + run.Path("a.zpc") + " > " + run.Path("b.zasm")).status, 0);
    ASSERT_EQ(RunCommand(kAssembler + " " + run.Path("b.zasm")).status, 0);
    EXPECT_EQ(run.Read("a.zpc"), run.Read("b.zpc"));
}

TEST(Programs, CheckSilentlyOrNameEachFault)
{
    ToolRun run;
    run.Write("good.zasm", ".segment\nnoop\n");
    run.Write("bad.zasm", ".segment\n.segment\nnoop\npushc #5\n");
    ASSERT_EQ(
        RunCommand(kAssembler + " " + run.Path("good.zasm") + " " + run.Path("bad.zasm")).status,
        0);
    Outcome outcome = RunCommand(kDump + " --check " + run.Path("good.zpc"));
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.status, 0);
    outcome = RunCommand(kDump + " --check " + run.Path("bad.zpc") + " " + run.Path("good.zpc"));
    EXPECT_EQ(outcome.output,
              run.Path("bad.zpc") + ": segment 1 offset 0x2: dictionary entry 5 does not exist\n");
    EXPECT_EQ(outcome.status, 1);
    run.Write("no.zpc", "nothing");
    outcome = RunCommand(kDump + " --check " + run.Path("no.zpc"));
    EXPECT_EQ(
        outcome.output,
        run.Path("no.zpc") + ": File is either corrupt or not a valid compiled Zeph Script file\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST(Programs, TellHowTheyAreUsed)
{
    for (const std::string& program : {kAssembler, kDump}) {
        SCOPED_TRACE(program);
        Outcome help = RunCommand(program + " --help");
        EXPECT_EQ(help.output.find("Usage: "), 0u);
        EXPECT_EQ(help.status, 0);
        Outcome version = RunCommand(program + " --version");
        EXPECT_EQ(version.output.find("zeph"), 0u);
        EXPECT_NE(version.output.find(" 5.33\n"), std::string::npos);
        EXPECT_EQ(version.status, 0);
        EXPECT_EQ(RunCommand(program).status, 2);
        EXPECT_EQ(RunCommand(program + " --none").status, 2);
    }
    EXPECT_EQ(RunCommand(kAssembler + " -o").output,
              "zephasm: -o needs a file name\nzephasm --help tells more.\n");
    EXPECT_EQ(RunCommand(kAssembler + " -o a b c").output,
              "zephasm: -o serves for a single file\nzephasm --help tells more.\n");
    EXPECT_EQ(RunCommand(kAssembler + " a b -o c").output,
              "zephasm: -o serves for a single file\nzephasm --help tells more.\n");
    EXPECT_EQ(RunCommand(kAssembler + " a -x").output,
              "zephasm: unknown option -x\nzephasm --help tells more.\n");
    EXPECT_EQ(RunCommand(kDump + " a b").output,
              "zephdump: a single file can be written as text\nzephdump --help tells more.\n");
}
