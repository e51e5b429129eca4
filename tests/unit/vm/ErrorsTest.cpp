// The words of errors, who hears of them, and whether the script goes on.
#include <limits.h>

#include "TagRows.h"
#include "TestMachine.h"

namespace {

class ErrorsTest : public MachineTest {
protected:
    // The text of the last fatal error that a code ends in.
    std::string ErrorOf(const std::string& code)
    {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(code), 0);
        return application.fatal_errors.empty() ? "none" : application.fatal_errors.back();
    }
    // What the application hears of an error in a fresh machine that has run a code.
    RecordedError Raise(int tag, const char* message, const std::string& code = "")
    {
        EXPECT_EQ(Run(code), 1);
        application.runtime_errors.clear();
        EXPECT_EQ(vm()->RuntimeError(tag, message), 0);
        EXPECT_EQ(application.runtime_errors.size(), 1u);
        return application.runtime_errors.at(0);
    }
    // The text of a global, or "absent".
    std::string Global(const std::string& name)
    {
        Variable* variable = nullptr;
        if (!globals.Find(&variable, name.data(), int(name.size()), 0))
            return "absent";
        const String& value = variable->value();
        return {value.data(), size_t(value.length())};
    }
    void ExpectRow(const TagRow& row, bool fatal, bool shown)
    {
        SCOPED_TRACE(row.name);
        RecordedError error = Raise(row.id, "went wrong");
        EXPECT_EQ(error.tag, row.id);
        EXPECT_EQ(error.text, "Runtime error in /www/x.zpc @ [00000000:00000000]: " +
                                  std::string(row.name) + ": went wrong\n");
        EXPECT_EQ(error.shown, shown);
        EXPECT_EQ(vm()->halted(), fatal);
        std::string name = row.id == 62 ? "ZpEXPRESSION" : row.name;
        EXPECT_EQ(Global(name + "_Error"), "went wrong");
    }
};

TEST_F(ErrorsTest, FatalErrorNamesPathSegmentAndOffset)
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

TEST_F(ErrorsTest, BothKindsNameSourceFileAndLineWhereKnown)
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
        {"source out of range", Op(kSourceFile, INT_MAX), "00000006", ""},
        {"source far out of range", Op(kSourceFile, INT_MIN), "00000006", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::string head = " error in /www/x.zpc @ [00000000:" + std::string(row.position) + "]: ";
        EXPECT_EQ(ErrorOf(row.code + Op(kPop)), "Fatal" + head + row.source + "Stack underflow\n");
        EXPECT_EQ(Raise(6, "message", row.code).text,
                  "Runtime" + head + row.source + "ZpEVAL: message\n");
    }
}

TEST_F(ErrorsTest, NameOfTheSourceFileFollowsTheInstruction)
{
    std::string code = Op(kSourceFile, 3) + Op(kTagError, 62, 0) + Op(kPushI, 0) + Op(kElem) +
                       Op(kSourceFile, 1) + Op(kPushI, 0) + Op(kElem);
    EXPECT_EQ(Run(code), 1);
    ASSERT_EQ(application.runtime_errors.size(), 2u);
    EXPECT_NE(application.runtime_errors[0].text.find("]: x.zp: (in"), std::string::npos);
    EXPECT_NE(application.runtime_errors[1].text.find("]: beta: (in"), std::string::npos);
}

TEST_F(ErrorsTest, PrefixStandsBeforeEveryError)
{
    std::string prefix = Op(kPushC, 0) + Op(kErrMsg);
    EXPECT_EQ(ErrorOf(prefix + Op(kPop)),
              "alphaFatal error in /www/x.zpc @ [00000000:00000008]: Stack underflow\n");
    EXPECT_EQ(Raise(0, "message", prefix).text,
              "alphaRuntime error in /www/x.zpc @ [00000000:00000008]: ZpIF: message\n");
    EXPECT_EQ(ErrorOf(prefix + Op(kPushC, 4) + Op(kErrMsg) + Op(kPop)),
              "Fatal error in /www/x.zpc @ [00000000:00000010]: Stack underflow\n");
}

TEST_F(ErrorsTest, AnUnderflowLeavesThePrefix)
{
    EXPECT_EQ(Run(Op(kPushC, 0) + Op(kErrMsg) + Op(kErrMsg)), 0);
    application.fatal_errors.clear();
    vm()->FatalError("again");
    ASSERT_EQ(application.fatal_errors.size(), 1u);
    EXPECT_EQ(application.fatal_errors[0].substr(0, 16), "alphaFatal error");
}

TEST_F(ErrorsTest, FatalErrorSetsNoVariableAndWritesNoOutput)
{
    int entries = globals.Entries();
    ErrorOf(Op(kPop));
    EXPECT_EQ(globals.Entries(), entries);
    EXPECT_EQ(written(), "");
    EXPECT_TRUE(application.errors.empty());
    EXPECT_TRUE(application.runtime_errors.empty());
}

TEST_F(ErrorsTest, FatalErrorIsFatalWhateverTheSettingsSay)
{
    std::string code;
    for (int row = 0; row < 77; ++row)
        code += Op(kTagError, row, 0);
    EXPECT_EQ(Run(code + Op(kPop) + Op(kPushI, 1) + Op(kOut)), 0);
    EXPECT_EQ(application.fatal_errors.size(), 1u);
    EXPECT_EQ(written(), "");
}

TEST_F(ErrorsTest, EveryTagHasItsNameItsVariableAndItsSetting)
{
    for (const TagRow& row : fatal_rows)
        ExpectRow(row, true, true);
    for (const TagRow& row : shown_rows)
        ExpectRow(row, false, true);
    for (const TagRow& row : silent_rows)
        ExpectRow(row, false, false);
}

TEST_F(ErrorsTest, ClosingRowHasNeitherNameNorVariable)
{
    int entries = globals.Entries();
    RecordedError error = Raise(76, "message");
    EXPECT_EQ(error.text, "Runtime error in /www/x.zpc @ [00000000:00000000]: : message\n");
    EXPECT_FALSE(error.shown);
    EXPECT_FALSE(vm()->halted());
    error = Raise(76, "message", Op(kTagError, 76, 3));
    EXPECT_TRUE(error.shown);
    EXPECT_TRUE(vm()->halted());
    EXPECT_EQ(globals.Entries(), entries);
}

TEST_F(ErrorsTest, ATagThatIsNoneIsFatalAndShownWithoutAVariable)
{
    int entries = globals.Entries();
    for (int tag : {77, 78, INT_MAX, -1, INT_MIN}) {
        SCOPED_TRACE(tag);
        RecordedError error = Raise(tag, "message");
        EXPECT_EQ(error.tag, tag);
        EXPECT_EQ(error.text, "Runtime error in /www/x.zpc @ [00000000:00000000]: message\n");
        EXPECT_TRUE(error.shown);
        EXPECT_TRUE(vm()->halted());
        EXPECT_FALSE(Raise(tag, "message", Op(kErrOutput, 3)).shown);
    }
    EXPECT_EQ(globals.Entries(), entries);
}

TEST_F(ErrorsTest, SettingOfAScriptDecidesByItsTwoLowestBits)
{
    static const struct {
        int setting;
        bool fatal, shown;
    } rows[] = {{0, false, false}, {1, false, true},  {2, true, false}, {3, true, true},
                {4, false, false}, {-2, true, false}, {-1, true, true}, {INT_MIN, false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.setting);
        globals.ClearVariable("ZpOPEN_Error", -1);
        RecordedError error = Raise(28, "message", Op(kTagError, 28, row.setting));
        EXPECT_EQ(error.shown, row.shown);
        EXPECT_EQ(vm()->halted(), row.fatal);
        EXPECT_EQ(Global("ZpOPEN_Error"), "message");
    }
}

TEST_F(ErrorsTest, FlagsOfTheFrameMustLetTheMessageShow)
{
    static const struct {
        int flags;
        bool shown;
    } rows[] = {{7, true}, {4, true}, {-1, true}, {3, false}, {0, false}, {8, false}, {-5, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.flags);
        globals.ClearVariable("ZpOPEN_Error", -1);
        EXPECT_EQ(Raise(28, "message", Op(kErrOutput, row.flags)).shown, row.shown);
        EXPECT_EQ(Global("ZpOPEN_Error"), "message");
        EXPECT_FALSE(Raise(28, "message", Op(kErrOutput, row.flags) + Op(kTagError, 28, 0)).shown);
    }
}

TEST_F(ErrorsTest, AnErrorThatIsNotFatalTakesBackAHalt)
{
    vm()->FatalError("fatal");
    EXPECT_TRUE(vm()->halted());
    vm()->RuntimeError(2, "not fatal");
    EXPECT_FALSE(vm()->halted());
    vm()->RuntimeError(0, "fatal");
    EXPECT_TRUE(vm()->halted());
    vm()->RuntimeError(54, "not fatal");
    EXPECT_FALSE(vm()->halted());
}

TEST_F(ErrorsTest, LoopGoesOnAfterAnErrorThatIsNotFatal)
{
    std::string index = Op(kPushI, 0) + Op(kElem);
    std::string text = Op(kPushC, 0) + Op(kOut);
    EXPECT_EQ(Run(Op(kTagError, 62, 1) + index + text), 1);
    EXPECT_EQ(written(), "alpha");
    EXPECT_EQ(Run(index + text), 0);
    EXPECT_EQ(written(), "alpha");
    EXPECT_EQ(application.runtime_errors.size(), 2u);
}

TEST_F(ErrorsTest, VariableGetsTheBareMessageWithAllItsBytes)
{
    globals.SetVariable("zpopen_error", -1, "before", -1);
    int entries = globals.Entries();
    Run("");
    vm()->RuntimeError(28, String("a\0b", 3));
    EXPECT_EQ(Global("ZpOPEN_Error"), std::string("a\0b", 3));
    EXPECT_EQ(globals.Entries(), entries) << "names ignore letter case";
    vm()->RuntimeError(28, "");
    EXPECT_EQ(Global("ZpOPEN_Error"), "");
}

TEST_F(ErrorsTest, LastErrorIsTheComposedText)
{
    vm()->RuntimeError(28, "message");
    EXPECT_STREQ(vm()->error().data(),
                 "Runtime error in /www/x.zpc @ [00000000:00000000]: ZpOPEN: message\n");
    vm()->FatalError("other");
    EXPECT_STREQ(vm()->error().data(), "Fatal error in /www/x.zpc @ [00000000:00000000]: other\n");
}

TEST_F(ErrorsTest, EncodedErrorHasEntitiesInTextAndVariable)
{
    EXPECT_EQ(vm()->EncodedRuntimeError(28, "<a> & \"b\""), 0);
    ASSERT_EQ(application.runtime_errors.size(), 1u);
    EXPECT_EQ(application.runtime_errors[0].text,
              "Runtime error in /www/x.zpc @ [00000000:00000000]: "
              "ZpOPEN: &lt;a&gt; &amp; &quot;b&quot;\n");
    EXPECT_EQ(Global("ZpOPEN_Error"), "&lt;a&gt; &amp; &quot;b&quot;");
    vm()->RuntimeError(28, "<a>");
    EXPECT_EQ(Global("ZpOPEN_Error"), "<a>");
}

TEST_F(ErrorsTest, ClearMakesTheVariableNull)
{
    vm()->RuntimeError(28, "message");
    vm()->ClearErrorVariable(29);
    EXPECT_EQ(Global("ZpOPEN_Error"), "message");
    vm()->ClearErrorVariable(28);
    EXPECT_EQ(Global("ZpOPEN_Error"), "");
    vm()->RuntimeError(62, "message");
    vm()->ClearErrorVariable(62);
    EXPECT_EQ(Global("ZpEXPRESSION_Error"), "");
}

TEST_F(ErrorsTest, ClearOfAVariableThatDoesNotExistDoesNothing)
{
    int entries = globals.Entries();
    for (int tag : {0, 75, 76, 77, INT_MAX, -1, INT_MIN}) {
        SCOPED_TRACE(tag);
        vm()->ClearErrorVariable(tag);
    }
    EXPECT_EQ(globals.Entries(), entries);
}

TEST_F(ErrorsTest, ChildTakesTheTableOfTheProcessAndNotItsParents)
{
    Run(Op(kTagError, 28, 3));
    ZephVM* child = Make(vm(), nullptr, nullptr, nullptr);
    EXPECT_EQ(child->error_setting(28).setting, 1);
    child->Shutdown();
}

TEST_F(ErrorsTest, LastErrorMayBeToldAgain)
{
    const std::string head = " error in /www/x.zpc @ [00000000:00000000]: ";
    const std::string first = "Fatal" + head + "first\n";
    vm()->FatalError("first");
    vm()->FatalError(vm()->error());
    EXPECT_EQ(vm()->error().data(), "Fatal" + head + first + "\n");
    vm()->FatalError("first");
    vm()->RuntimeError(28, vm()->error());
    EXPECT_EQ(vm()->error().data(), "Runtime" + head + "ZpOPEN: " + first + "\n");
    EXPECT_EQ(application.runtime_errors.back().text, vm()->error().data());
    EXPECT_EQ(Global("ZpOPEN_Error"), first);
    vm()->FatalError("first");
    vm()->EncodedRuntimeError(29, vm()->error());
    EXPECT_EQ(vm()->error().data(), "Runtime" + head + "ZpCLOSE: " + first + "\n");
    EXPECT_EQ(Global("ZpCLOSE_Error"), first);
}

TEST_F(ErrorsTest, MessageMayBeTheTextOfTheErrorVariable)
{
    vm()->RuntimeError(28, "a message of more than a few bytes");
    Variable* variable = nullptr;
    ASSERT_TRUE(globals.Find(&variable, "ZpOPEN_Error", -1, 0));
    vm()->RuntimeError(28, variable->value());
    EXPECT_EQ(Global("ZpOPEN_Error"), "a message of more than a few bytes");
}

TEST_F(ErrorsTest, ApplicationHearsOfAnErrorBeforeItsVariableIsSet)
{
    std::vector<std::string> heard;
    application.on_runtime_error = [&] {
        heard.push_back(Global("ZpOPEN_Error") + (vm()->halted() ? ", halted" : ""));
    };
    Run(Op(kTagError, 28, 3));
    vm()->RuntimeError(28, "first");
    vm()->RuntimeError(28, "second");
    EXPECT_EQ(heard, (std::vector<std::string>{"absent, halted", "first, halted"}));
    EXPECT_EQ(Global("ZpOPEN_Error"), "second");
}

}  // namespace
