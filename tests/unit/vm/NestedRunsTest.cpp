// Script that native code runs: functions, other files, expressions, and the
// filters of tags.
#include <malloc.h>

#include "CalledMachine.h"

namespace {

class NestedRunsTest : public CalledMachineTest {
protected:
    // The result of RunFunction with texts as arguments; "(false)" for a failed one.
    std::string Called(const char* name, const std::vector<const char*>& texts)
    {
        VariableList arguments;
        for (const char* text : texts)
            arguments.Insert(new Variable("", 0, text, -1), kListTail, 0);
        Variable result("", 0, "before", -1);
        bool has_run = vm()->RunFunction(name, -1, &arguments, &result);
        return has_run ? result.value().data() : "(false)";
    }
    // A segment that is not one of the image.
    static void Fill(Segment* segment, const std::string& code) { Write(segment, code); }

    // Library functions that run the script function "f" without arguments.
    static int RunF(ZephVM* vm, VariableHash*, Variable* result, void**)
    {
        s_has_run = vm->RunFunction("f", 1, nullptr, result);
        return 0;
    }
    static inline const _ZP_EL_Function s_library[] = {
        {"runf", 4, 0, nullptr, RunF},
        {nullptr, 0, 0, nullptr, nullptr},
    };
    static inline bool s_has_run = false;
};

TEST_F(NestedRunsTest, RunFunctionPassesArgumentsInOrderAndCopiesTheResult)
{
    Script("join", "a,b", Op(kPushL, 0) + Op(kOut) + Op(kPushL, 1) + Op(kRet));
    Code(PushText("main") + Op(kOut));
    EXPECT_EQ(Called("join", {"first", "second"}), "second");
    EXPECT_EQ(written(), "first");
    EXPECT_EQ(depth(), 0);
    EXPECT_EQ(vm()->frame()->type(), ZephVM_Frame::kRoot);
}

TEST_F(NestedRunsTest, RunFunctionFindsNamesInAnyLetterCase)
{
    Script("Join", "", PushText("yes") + Op(kRet));
    Code("");
    EXPECT_EQ(Called("jOIN", {}), "yes");
}

TEST_F(NestedRunsTest, RunFunctionBeforeTheScriptLeavesItsStartAlone)
{
    Script("f", "", PushText("f") + Op(kOut) + Op(kRetN));
    Code(PushText("main") + Op(kOut));
    EXPECT_EQ(Called("f", {}), "");
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(written(), "fmain");
}

TEST_F(NestedRunsTest, RunFunctionRefusesSilently)
{
    Script("f", "a", Op(kPushL, 0) + Op(kRet));
    Code("");
    EXPECT_EQ(Called("unknown", {}), "(false)");
    EXPECT_EQ(Called("f", {}), "(false)");
    EXPECT_EQ(Called("f", {"one", "two"}), "(false)");
    EXPECT_TRUE(application.fatal_errors.empty());
    EXPECT_FALSE(vm()->halted());
    EXPECT_EQ(depth(), 0);
    EXPECT_EQ(Called("f", {"one"}), "one");
}

TEST_F(NestedRunsTest, RunFunctionWithoutAListTakesArgumentsFromTheStack)
{
    Script("f", "a", Op(kPushL, 0) + Op(kRet));
    Code("");
    vm();
    stack()->PushI(5);
    Variable result("", 0);
    EXPECT_TRUE(vm()->RunFunction("f", -1, nullptr, &result));
    EXPECT_EQ(result.value_integer(), 5);
    EXPECT_EQ(depth(), 0);
}

TEST_F(NestedRunsTest, RunFunctionWithoutAResultDropsTheValue)
{
    Script("f", "", PushText("dropped") + Op(kRet));
    Code("");
    EXPECT_TRUE(vm()->RunFunction("f", 1, nullptr, nullptr));
    EXPECT_EQ(depth(), 0);
}

TEST_F(NestedRunsTest, RunFunctionPassesReferences)
{
    Script("f", "a var", PushText("changed") + Op(kPopL, 0) + Op(kRetN));
    Code("");
    Variable* argument = new Variable("", 0, "former", -1);
    VariableList arguments;
    arguments.Insert(argument, kListTail, 0);
    EXPECT_TRUE(vm()->RunFunction("f", 1, &arguments, nullptr));
    EXPECT_STREQ(argument->value().data(), "changed");
    EXPECT_EQ(argument->refcount(), 1);
}

TEST_F(NestedRunsTest, RunFunctionIsFalseAfterAFatalError)
{
    Script("f", "", Op(kPop));
    Code("");
    EXPECT_EQ(Called("f", {}), "(false)");
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_TRUE(in_function()) << "the frame stays until the machine ends";
}

TEST_F(NestedRunsTest, RunFunctionIsFalseAfterAnExit)
{
    Script("f", "", PushText("f") + Op(kOut) + Op(kExit));
    UseLibrary(s_library);
    int runf = External("runf", "");
    EXPECT_EQ(Run(Op(kCall, runf) + PushText("never") + Op(kOut)), 1);
    EXPECT_FALSE(s_has_run);
    EXPECT_EQ(exited, 1);
    EXPECT_EQ(written(), "f");
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(NestedRunsTest, RunFunctionOfAFunctionWithoutCodeIsFatal)
{
    functions.Function_Add(-1, -1, "f", -1, "", -1, 0);
    Code("");
    EXPECT_EQ(Called("f", {}), "(false)");
    EXPECT_EQ(Fatal(), "Invalid segment reference");
}

TEST_F(NestedRunsTest, RunFunctionWithinAnInstructionGoesOnBehindIt)
{
    Script("f", "", PushText("f") + Op(kOut) + PushText("value") + Op(kRet));
    UseLibrary(s_library);
    int runf = External("runf", "");
    EXPECT_EQ(Run(PushText("<") + Op(kOut) + Op(kCall, runf) + Op(kOut) + PushText(">") + Op(kOut)),
              1);
    EXPECT_TRUE(s_has_run);
    EXPECT_EQ(written(), "<fvalue>");
}

TEST_F(NestedRunsTest, RunFunctionKeepsTheOperandsOfItsInstruction)
{
    Script("f", "", Op(kPushI, 99) + Op(kRet));
    Code(Op(kPushI, 7));
    vm()->Go();
    unsigned int pc = MachineInnards::pc(vm());
    EXPECT_TRUE(vm()->RunFunction("f", 1, nullptr, nullptr));
    EXPECT_EQ(MachineInnards::operand(vm()), 7u);
    EXPECT_EQ(MachineInnards::segment(vm()), 0);
    EXPECT_EQ(MachineInnards::pc(vm()), pc);
}

TEST_F(NestedRunsTest, NestedRunsMayNest)
{
    // f counts global 0 down, and calls itself by way of the library.
    UseLibrary(s_library);
    int runf = External("runf", "");
    std::string again = Op(kCall, runf) + Op(kRet);
    Script("f", "",
           Op(kIncG, 1, 1) + Op(kIncG, 0, -1) + Op(kPushG, 0) + Op(kJmpEq, int(again.size())) +
               again + PushText("deepest") + Op(kRet));
    Global(0)->SetValue_Integer(100);
    EXPECT_EQ(Run(Op(kCall, runf) + Op(kOut)), 1);
    EXPECT_EQ(GlobalInteger(1), 100);
    EXPECT_EQ(written(), "deepest");
}

// Also when the function returns to the end of its own segment.
TEST_F(NestedRunsTest, RunFunctionAgainAndAgainTakesNoMoreMemory)
{
    Code(Op(kPushI, 1) + Op(kRet));
    functions.Function_Add(segments.Start()->number(), 0, "f", -1, "", -1, 0);
    auto run = [this](int times) {
        while (times-- > 0)
            ASSERT_TRUE(vm()->RunFunction("f", 1, nullptr, nullptr));
    };
    run(100);
    size_t before = mallinfo2().uordblks;
    run(10000);
    EXPECT_EQ(mallinfo2().uordblks, before);
}

TEST_F(NestedRunsTest, FunctionThatRunsOutGivesTheTopOfItsOwnStack)
{
    Script("f", "", PushText("left over"));
    Code("");
    EXPECT_EQ(Called("f", {}), "left over");
    EXPECT_TRUE(in_function());
}

// ---- Go_Recursive

TEST_F(NestedRunsTest, RecursiveRunStartsTheImageAnew)
{
    Code(PushText("x") + Op(kOut) + Op(kStdOutput, 3) + Op(kErrOutput, 0));
    vm()->Go();
    ZephVM_Frame* root = vm()->frame();
    unsigned int pc = MachineInnards::pc(vm());
    EXPECT_EQ(vm()->Go_Recursive(), 1);
    EXPECT_EQ(vm()->Go_Recursive(), 1);
    EXPECT_EQ(written(), "xxx");
    EXPECT_EQ(vm()->frame(), root);
    EXPECT_EQ(MachineInnards::pc(vm()), pc);
    EXPECT_EQ(root->standard_output, 3);
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(written(), "xxx");
}

TEST_F(NestedRunsTest, RecursiveRunHasARootLikeFrame)
{
    // What the frame was like shows in the one of a function that is called in it.
    int f = Script("f", "", Op(kRetN), Function::kInheritsOutput);
    Code(Op(kPushL, 0) + Op(kOut) + Op(kCall, f) + Op(kRet));
    Global(0)->SetValue("global", -1);
    MachineInnards::Enter(vm(), new ZephVM_Frame, 0, 0);
    vm()->frame()->error_output = 0;
    vm()->frame()->standard_output = 3;
    stack()->PushI(1);
    EXPECT_EQ(vm()->Go_Recursive(), 0) << "a return outside of a function";
    EXPECT_EQ(Fatal(), "Return outside of function");
    EXPECT_EQ(written(), "global");
    EXPECT_EQ(application.output()->flags(), 0);
    EXPECT_EQ(depth(), 1) << "it has a stack of its own";
}

TEST_F(NestedRunsTest, RecursiveRunDropsFramesThatAreLeft)
{
    for (int word : {int(kExit), 0xFFFF}) {
        SCOPED_TRACE(word);
        exited = 0;
        int f = Script("f", "a var", Op(kCall, functions.count() + 1));
        Script("g", "", Op(word));
        End();
        Code(Op(kPushG, 2) + Op(kCall, f));
        ZephVM_Frame* root = vm()->frame();
        EXPECT_EQ(vm()->Go_Recursive(), word == kExit ? 1 : 0);
        EXPECT_EQ(vm()->frame(), root);
        EXPECT_EQ(MachineInnards::pc(vm()), 0u);
        EXPECT_EQ(Global(2)->refcount(), 1) << "the frame of f no longer refers to it";
    }
}

TEST_F(NestedRunsTest, RecursiveRunWithinAFunctionReturnsIntoIt)
{
    // The image runs itself once, from within a function.
    struct Again {
        static int Function(ZephVM* vm, VariableHash*, Variable*, void**)
        {
            vm->Go_Recursive();
            return 0;
        }
    };
    static const _ZP_EL_Function library[] = {
        {"again", 5, 0, nullptr, Again::Function},
        {nullptr, 0, 0, nullptr, nullptr},
    };
    UseLibrary(library);
    int again = External("again", "");
    int f = Script("f", "a",
                   PushText("<") + Op(kOut) + Op(kCall, again) + Op(kPop) + PushText(">") +
                       Op(kOut) + Op(kRetN));
    std::string call = PushText("a") + Op(kCall, f);
    EXPECT_EQ(Run(Op(kIncG, 0, 1) + Op(kIncG, 1, -1) + Op(kPushG, 1) +
                  Op(kJmpNe, int(call.size())) + call + PushText("m") + Op(kOut)),
              1);
    EXPECT_EQ(written(), "m");
    application.recorded.text.clear();
    Global(1)->SetValue_Integer(1);
    Global(0)->SetValue_Integer(0);
    End();
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(written(), "<m>m");
    EXPECT_EQ(GlobalInteger(0), 2);
}

// ---- Expressions

TEST_F(NestedRunsTest, ExpressionLeavesItsValueOnTheStackOfTheFrame)
{
    Segment expression(77);
    Fill(&expression, PushText("value") + Op(kPushL, 1));
    Global(1)->SetValue("local", -1);
    Code(PushText("main") + Op(kOut));
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, nullptr, nullptr), 1);
    EXPECT_EQ(depth(), 2);
    EXPECT_EQ(Popped(), "local");
    EXPECT_EQ(Popped(), "value");
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(written(), "main");
}

TEST_F(NestedRunsTest, ExpressionUsesTheStackAndTheLocalsThatItIsGiven)
{
    Segment expression(0);
    Fill(&expression, Op(kPushL, 0));
    VariableHash locals(&dictionary, 4, 16);
    locals.SetVariable("given", -1, "given", -1);
    ZephVM_Stack given(vm(), 4);
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, &given, &locals), 1);
    EXPECT_EQ(depth(), 0);
    ASSERT_EQ(given.Entries(), 1);
    PoppedText text(&given);
    EXPECT_STREQ(text.data(), "given");
}

TEST_F(NestedRunsTest, ExpressionNeedNotBeOneOfTheImage)
{
    // A number that another segment has, in the midst of that one's code.
    static Segment* expression;
    struct Evaluate {
        static int Function(ZephVM* vm, VariableHash*, Variable* result, void**)
        {
            const char* text;
            int length, owned;
            vm->Execute_Dynamic_Expression(expression, &text, &length, nullptr, &owned, nullptr,
                                           nullptr);
            result->SetValue(text, length);
            return 0;
        }
    };
    static const _ZP_EL_Function library[] = {
        {"evaluate", 8, 0, nullptr, Evaluate::Function},
        {nullptr, 0, 0, nullptr, nullptr},
    };
    UseLibrary(library);
    int evaluate = External("evaluate", "");
    for (int number : {0, 77, -1}) {
        SCOPED_TRACE(number);
        application.recorded.text.clear();
        Segment segment(number);
        Fill(&segment, PushText("expression"));
        expression = &segment;
        EXPECT_EQ(Run(Op(kCall, evaluate) + Op(kOut) + PushText(" on") + Op(kOut)), 1);
        EXPECT_EQ(written(), "expression on");
    }
    // And within another one.
    Segment inner(1000), outer(1001);
    Fill(&inner, PushText("inner"));
    Fill(&outer, Op(kCall, evaluate) + Op(kOut) + PushText(" outer") + Op(kOut));
    expression = &inner;
    application.recorded.text.clear();
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&outer, nullptr, nullptr), 1);
    EXPECT_EQ(written(), "inner outer");
    End();
}

TEST_F(NestedRunsTest, FunctionOfAnExpressionReturnsByTheNumberOfItsSegment)
{
    int f = Script("f", "", PushText("f") + Op(kRet));
    segments.Start();
    Segment* reachable = segments.Segment_Add();
    Fill(reachable, Op(kCall, f) + PushText("behind"));
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(reachable, nullptr, nullptr), 1);
    EXPECT_EQ(Popped(), "behind");
    EXPECT_EQ(Popped(), "f");
    Segment unreachable(1000);
    Fill(&unreachable, Op(kCall, f));
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&unreachable, nullptr, nullptr), 0);
    EXPECT_EQ(Fatal(), "Invalid segment reference");
}

TEST_F(NestedRunsTest, ExpressionTakesTheOutputFlagsOfItsFrame)
{
    int f = Script("f", "", Op(kRetN), Function::kInheritsOutput);
    segments.Start();
    Segment* expression = segments.Segment_Add();
    Fill(expression, Op(kCall, f));
    vm()->frame()->standard_output = 1;
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(expression, nullptr, nullptr), 1);
    EXPECT_EQ(application.output()->flags(), 1);
    EXPECT_EQ(vm()->frame()->error_output, 7);
}

TEST_F(NestedRunsTest, ExpressionsGiveTheirValueInThreeForms)
{
    Segment expression(9);
    Fill(&expression, Op(kPushG, 0));
    Global(0)->SetValue("12", -1);
    Variable* variable = nullptr;
    int owned = 0;
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, &variable, &owned, nullptr, nullptr),
              1);
    EXPECT_EQ(variable, Global(0));
    EXPECT_EQ(owned, 1);
    variable->DecRefCount();

    const char* text;
    int length, capacity;
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, &text, &length, &capacity, &owned,
                                               nullptr, nullptr),
              1);
    EXPECT_EQ(std::string(text, size_t(length)), "12");
    EXPECT_EQ(owned, 0);

    int truth = 0;
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, &truth, nullptr, nullptr), 1);
    EXPECT_EQ(truth, 1);
    Global(0)->SetValue("0", -1);
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, &truth, nullptr, nullptr), 1);
    EXPECT_EQ(truth, 0);
    EXPECT_EQ(depth(), 0);
}

TEST_F(NestedRunsTest, ExpressionThatFailsPopsNothing)
{
    Segment expression(9);
    Fill(&expression, Op(0xFFFF));
    vm();
    stack()->PushI(1);
    Variable* variable = Global(0);
    int owned = 1;
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, &variable, &owned, nullptr, nullptr),
              0);
    EXPECT_EQ(variable, nullptr);
    EXPECT_EQ(owned, 0);
    const char* text = "before";
    int length = 1, capacity = 1;
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, &text, &length, &capacity, &owned,
                                               nullptr, nullptr),
              0);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(length + capacity + owned, 0);
    int truth = 1;
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, &truth, nullptr, nullptr), 0);
    EXPECT_EQ(truth, 0);
    EXPECT_EQ(depth(), 1);
}

TEST_F(NestedRunsTest, ExpressionThatExitsIsNull)
{
    int f = Script("f", "", Op(kExit));
    segments.Start();
    Segment* expression = segments.Segment_Add();
    Fill(expression, Op(kCall, f));
    Variable* variable = nullptr;
    int owned = 0;
    ZephVM_Frame* root = vm()->frame();
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(expression, &variable, &owned, nullptr, nullptr), 1);
    ASSERT_TRUE(variable);
    EXPECT_TRUE(variable->IsNULL());
    if (owned)
        variable->DecRefCount();
    EXPECT_EQ(exited, 1);
    EXPECT_EQ(vm()->frame(), root) << "the frame of f is gone";
    EXPECT_TRUE(application.fatal_errors.empty());
    EXPECT_EQ(depth(), 0);
}

TEST_F(NestedRunsTest, ExpressionThatIsNoVariableIsFatalAsOne)
{
    Segment expression(9);
    Fill(&expression, Op(kPushI, 1));
    Variable* variable = Global(0);
    int owned = 1;
    EXPECT_EQ(vm()->Execute_Dynamic_Expression(&expression, &variable, &owned, nullptr, nullptr),
              1);
    EXPECT_EQ(variable, nullptr);
    EXPECT_EQ(Fatal(), "Expected variable, found constant");
}

TEST_F(NestedRunsTest, ReferenceThatAnotherMachinesStackLacksHaltsBoth)
{
    int f = Script("f", "a var", Op(kRetN));
    segments.Start();
    Segment* expression = segments.Segment_Add();
    Fill(expression, Op(kPushI, 1) + Op(kCall, f) + PushText("never") + Op(kOut));
    ZephVM* other = MakeAs<ZephVM>();
    EXPECT_EQ(other->Execute_Dynamic_Expression(expression, stack(), nullptr), 0);
    EXPECT_EQ(Fatal(), "Expected variable, found constant");
    EXPECT_TRUE(vm()->halted()) << "the machine of the stack has told it";
    EXPECT_TRUE(other->halted());
    EXPECT_EQ(written(), "");
    other->Shutdown();
}

// ---- Filters

// A machine whose filter goes on at one of two places of the start segment.
class FilteringMachine : public ZephVM {
public:
    using ZephVM::ZephVM;

    int Resume(int is_passed)
    {
        ++resumed;
        passed = is_passed;
        MachineInnards::Leave(this);
        MachineInnards::SetPosition(this, 0, is_passed ? on_yes : on_no);
        return 1;
    }
    void EnterFilter(int segment)
    {
        auto resume = static_cast<ZephVM_FilterFrame::Resume>(&FilteringMachine::Resume);
        MachineInnards::Enter(this, new ZephVM_FilterFrame(resume), segment, 0);
    }

    int on_yes = 0, on_no = 0;
    int passed = -1, resumed = 0;
};

TEST_F(NestedRunsTest, EndOfAFilterGoesOnWhereItsTagSays)
{
    segments.Start();
    segments.Segment_Add();
    std::string yes = PushText("yes") + Op(kOut) + Op(kExit);
    Code(yes + PushText("no") + Op(kOut) + Op(kExit));
    for (int truth : {0, 1}) {
        SCOPED_TRACE(truth);
        exited = 0;
        application.recorded.text.clear();
        FilteringMachine* machine = MakeAs<FilteringMachine>();
        machine->on_no = int(yes.size());
        machine->EnterFilter(1);
        machine->frame()->stack()->PushI(truth);
        EXPECT_EQ(machine->Go(), 1);
        EXPECT_EQ(machine->passed, truth);
        EXPECT_EQ(machine->resumed, 1);
        EXPECT_EQ(written(), truth ? "yes" : "no");
        EXPECT_EQ(machine->frame()->stack()->Entries(), 0);
        EXPECT_EQ(machine->frame()->type(), ZephVM_Frame::kRoot);
        machine->Shutdown();
    }
}

TEST_F(NestedRunsTest, FilterWithoutAnAnswerHaltsTheMachine)
{
    segments.Start();
    segments.Segment_Add();
    Code(PushText("never") + Op(kOut));
    FilteringMachine* machine = MakeAs<FilteringMachine>();
    machine->EnterFilter(1);
    EXPECT_EQ(machine->Go(), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(machine->passed, 0);
    EXPECT_EQ(written(), "");
    machine->Shutdown();
}

TEST_F(NestedRunsTest, FunctionRunInAFilterEndsTheNestedRunOnly)
{
    Script("f", "", PushText("f") + Op(kOut) + Op(kPushI, 1) + Op(kRet));
    UseLibrary(s_library);
    int runf = External("runf", "");
    Segment* filter = segments.Segment_Add();
    Write(filter, Op(kCall, runf));
    Code(PushText("on") + Op(kOut));
    FilteringMachine* machine = MakeAs<FilteringMachine>();
    machine->EnterFilter(filter->number());
    EXPECT_EQ(machine->Go(), 1);
    EXPECT_TRUE(s_has_run);
    EXPECT_EQ(machine->resumed, 1);
    EXPECT_EQ(machine->passed, 1);
    EXPECT_EQ(written(), "fon");
    EXPECT_EQ(machine->frame()->stack()->Entries(), 0);
    EXPECT_TRUE(application.fatal_errors.empty());
    machine->Shutdown();
}

}  // namespace
