// What script that native code runs leaves alone, and the frames that expressions run in.
#include "CalledMachine.h"

namespace {

using NestedStateTest = CalledMachineTest;

TEST_F(NestedStateTest, RunFunctionRestoresAllOperands)
{
    Script("f", "", OpDouble(kPushF, 9.5) + Op(kTagError, 70, 80) + Op(kRet));
    static const struct {
        std::string code;
        unsigned int a, b;
        double real;
    } rows[] = {
        {Op(kTagError, 28, 1), 28, 1, 0},
        {OpDouble(kPushF, 0.25), 0, 0, 0.25},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Run(row.code), 1);
        ASSERT_EQ(MachineInnards::double_operand(vm()), row.real);
        EXPECT_TRUE(vm()->RunFunction("f", 1, nullptr, nullptr));
        EXPECT_EQ(MachineInnards::operand(vm()), row.a);
        EXPECT_EQ(MachineInnards::second_operand(vm()), row.b);
        EXPECT_EQ(MachineInnards::double_operand(vm()), row.real);
    }
}

// Library functions that tell an error after a nested run.
class ErrorAfterRunTest : public CalledMachineTest {
protected:
    static int RunAndFail(ZephVM* vm, VariableHash*, Variable*, void**)
    {
        vm->RunFunction("f", 1, nullptr, nullptr);
        return vm->RuntimeError(28, "told by the library");
    }
    static int RecurAndFail(ZephVM* vm, VariableHash*, Variable*, void**)
    {
        if (vm->Lookup_Global("one", 3)->value_integer() == 0) {
            vm->Lookup_Global("one", 3)->SetValue_Integer(1);
            vm->Go_Recursive();
            vm->RuntimeError(28, "told by the library");
        }
        return 0;
    }
    static int EvaluateAndFail(ZephVM* vm, VariableHash*, Variable*, void**)
    {
        vm->Execute_Dynamic_Expression(s_expression, nullptr, nullptr);
        return vm->RuntimeError(28, "told by the library");
    }
    static inline Segment* s_expression = nullptr;
};

TEST_F(ErrorAfterRunTest, ErrorShowsTheCallOfTheLibrary)
{
    static const _ZP_EL_Function library[] = {
        {"fail", 4, 0, nullptr, RunAndFail},
        {"recur", 5, 0, nullptr, RecurAndFail},
        {"evaluate", 8, 0, nullptr, EvaluateAndFail},
        {nullptr, 0, 0, nullptr, nullptr},
    };
    UseLibrary(library);
    Segment expression(1000);
    Write(&expression, Op(kNoop) + Op(kNoop) + Op(kPushI, 1) + Op(kPop));
    s_expression = &expression;
    Script("f", "", Op(kNoop) + Op(kNoop) + Op(kNoop) + Op(kRetN));
    for (const char* name : {"fail", "recur", "evaluate"}) {
        SCOPED_TRACE(name);
        application.runtime_errors.clear();
        Global(0)->SetValue_Integer(0);
        int fail = External(name, "");
        EXPECT_EQ(Run(Op(kNoop) + Op(kNoop) + Op(kCall, fail) + Op(kPop) + Op(kPushI, 1)), 1);
        ASSERT_EQ(application.runtime_errors.size(), 1u);
        EXPECT_EQ(application.runtime_errors[0].text,
                  "Runtime error in /www/x.zpc @ [00000000:00000004]: "
                  "ZpOPEN: told by the library\n");
    }
}

// An expression, and a library function that looks at the frame that it is called in.
class ExpressionFrameTest : public CalledMachineTest {
protected:
    static int Look(ZephVM* vm, VariableHash*, Variable*, void**)
    {
        s_error_output = vm->frame()->error_output;
        s_standard_output = vm->frame()->standard_output;
        return 0;
    }
    static int Evaluate(ZephVM* vm, VariableHash*, Variable* result, void**)
    {
        const char* text;
        int length, owned;
        if (!vm->Execute_Dynamic_Expression(s_expression, &text, &length, nullptr, &owned, nullptr,
                                            nullptr))
            return 0;
        result->SetValue(text, length);
        if (owned)
            delete[] text;
        return 1;
    }
    void SetUp() override
    {
        UseLibrary(s_library);
        look = External("look", "");
        evaluate = External("evaluate", "");
        s_expression = segments.Segment_Add();
    }

    static inline const _ZP_EL_Function s_library[] = {
        {"look", 4, 0, nullptr, Look},
        {"evaluate", 8, 0, nullptr, Evaluate},
        {nullptr, 0, 0, nullptr, nullptr},
    };
    static inline Segment* s_expression = nullptr;
    static inline int s_error_output, s_standard_output;
    int look = -1, evaluate = -1;
};

TEST_F(ExpressionFrameTest, FrameShowsErrorsAndHasTheOutputFlagsOfTheCurrentOne)
{
    segments.Start();
    Write(s_expression, Op(kCall, look) + PushText("value"));
    int f = Script("f", "", Op(kErrOutput, 0) + Op(kStdOutput, 2) + Op(kCall, evaluate) + Op(kRet));
    s_error_output = s_standard_output = -1;
    EXPECT_EQ(Run(Op(kErrOutput, 0) + Op(kCall, f) + Op(kOut)), 1);
    EXPECT_EQ(written(), "value");
    EXPECT_EQ(s_error_output, 7);
    EXPECT_EQ(s_standard_output, 2);
    EXPECT_EQ(vm()->frame()->error_output, 0);
}

TEST_F(ExpressionFrameTest, LocalsAreThoseOfTheFunctionThatRuns)
{
    Write(s_expression, Op(kPushL, 0));
    int f = Script("f", "a", Op(kCall, evaluate) + Op(kRet));
    Global(0)->SetValue("global", -1);
    EXPECT_EQ(Run(PushText("local") + Op(kCall, f) + Op(kOut) + Op(kCall, evaluate) + Op(kOut)), 1);
    EXPECT_EQ(written(), "localglobal");
}

}  // namespace
