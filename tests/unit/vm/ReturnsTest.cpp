// The instructions `ret` and `retn`.
#include "CalledMachine.h"
#include "StackValues.h"
#include "app/LogParameter.h"

namespace {

enum MoreWords {
    kPushF = 0x8003,
    kCat = 0x0018
};

class ReturnsTest : public CalledMachineTest {
protected:
    // The text that a function with this code gives its caller.
    std::string Returned(const std::string& code)
    {
        int f = Script("f", "a,b", code);
        EXPECT_EQ(Run(PushText("first") + PushText("second") + Op(kCall, f)), 1);
        EXPECT_EQ(depth(), 1);
        return Popped();
    }
};

TEST_F(ReturnsTest, ReturnOutsideOfAFunctionIsFatal)
{
    for (int word : {kRet, kRetN}) {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(Op(kPushI, 1) + Op(word)), 0);
        EXPECT_EQ(Fatal(), "Return outside of function");
        EXPECT_EQ(depth(), 1);
    }
}

TEST_F(ReturnsTest, ReturnInAFilterIsFatal)
{
    Code(Op(kPushI, 1) + Op(kRet));
    MachineInnards::Enter(vm(), new ZephVM_FilterFrame(nullptr), 0, 0);
    EXPECT_EQ(vm()->Go(), 0);
    EXPECT_EQ(Fatal(), "Return outside of function");
}

TEST_F(ReturnsTest, ReturnWithoutACallerIsFatal)
{
    int f = Script("f", "", "");
    for (int word : {kRet, kRetN}) {
        application.fatal_errors.clear();
        End();
        Code(Op(kPushI, 1) + Op(word));
        ZephVM_Frame* root = vm()->frame();
        MachineInnards::Enter(vm(), new ZephVM_FunctionFrame(functions.Index(f)), 0, 0);
        vm()->frame()->previous = nullptr;
        EXPECT_EQ(vm()->Go(), 0);
        EXPECT_EQ(Fatal(), "Frame underflow");
        EXPECT_EQ(depth(), 1);
        vm()->frame()->previous = root;
    }
}

TEST_F(ReturnsTest, ReturnFromATaskEndsIt)
{
    for (int word : {kRet, kRetN}) {
        End();
        exited = 0;
        Code(Op(kPushI, 1) + Op(word) + PushText("never") + Op(kOut));
        MachineInnards::Enter(vm(), new ZephVM_AsyncFrame, 0, 0);
        EXPECT_EQ(vm()->Go(), 1);
        EXPECT_EQ(exited, 1);
        EXPECT_EQ(vm()->frame()->type(), ZephVM_Frame::kAsync);
        EXPECT_EQ(depth(), 1);
        EXPECT_EQ(written(), "");
        EXPECT_TRUE(application.fatal_errors.empty());
    }
}

TEST_F(ReturnsTest, FunctionOfATaskReturnsIntoIt)
{
    int f = Script("f", "", Op(kRetN));
    Code(Op(kCall, f) + PushText("on") + Op(kOut));
    MachineInnards::Enter(vm(), new ZephVM_AsyncFrame, 0, 0);
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(exited, 0);
    EXPECT_EQ(written(), "on");
}

TEST_F(ReturnsTest, RetGivesTheTop)
{
    EXPECT_EQ(Returned(Op(kPushI, 12) + Op(kRet)), "12");
    EXPECT_EQ(Returned(PushText("text") + Op(kRet)), "text");
    EXPECT_EQ(Returned(Op(kPushL, 1) + Op(kRet)), "second");
}

TEST_F(ReturnsTest, RetnGivesTheEmptyTextThatNobodyOwns)
{
    int f = Script("f", "", Op(kPushI, 12) + Op(kRetN));
    EXPECT_EQ(Run(Op(kCall, f)), 1);
    ASSERT_EQ(depth(), 1);
    Stack_Entry* entry = stack()->Peek();
    EXPECT_EQ(entry->kind, Stack_Entry::kString);
    EXPECT_EQ(entry->length, 0);
    EXPECT_EQ(entry->owned, 0);
}

TEST_F(ReturnsTest, WhatElseIsOnTheStackIsReleased)
{
    bool ended = false;
    Variable* watched = new WatchedVariable("watched", &ended);
    globals.SetVariable_Reference(2, watched);
    watched->DecRefCount();
    int f = Script("f", "", Op(kPushG, 2) + Op(kPushG, 2) + Op(kPushI, 1) + Op(kRet));
    EXPECT_EQ(Run(Op(kCall, f)), 1);
    EXPECT_EQ(watched->refcount(), 1);
    EXPECT_FALSE(ended);
    EXPECT_EQ(depth(), 1);
}

TEST_F(ReturnsTest, EmptyStackIsAnUnderflow)
{
    int f = Script("f", "", Op(kRet));
    EXPECT_EQ(Run(Op(kCall, f) + PushText("never") + Op(kOut)), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(application.fatal_errors[0],
              "Fatal error in /www/x.zpc @ [00000000:00000000]: Stack underflow\n")
        << "the registers are the caller's already";
    EXPECT_FALSE(in_function()) << "the return is carried out";
    EXPECT_EQ(written(), "");
}

TEST_F(ReturnsTest, FullStackOfTheCallerIsAnOverflow)
{
    std::string full;
    for (int i = 0; i < ZephVM_Stack::kFrameCapacity; ++i)
        full += Op(kPushI, i);
    int f = Script("f", "", Op(kPushI, 1) + Op(kRet));
    EXPECT_EQ(Run(full + Op(kCall, f)), 0);
    EXPECT_EQ(Fatal(), "Stack overflow");
    EXPECT_EQ(depth(), 512);
    application.fatal_errors.clear();
    int g = Script("g", "", Op(kRetN));
    EXPECT_EQ(Run(full + Op(kCall, g)), 0);
    EXPECT_EQ(Fatal(), "Stack overflow");
}

TEST_F(ReturnsTest, LocalThatIsReturnedSurvivesTheLocals)
{
    int f = Script("f", "a", Op(kPushL, 0) + Op(kRet));
    EXPECT_EQ(Run(PushText("value") + Op(kCall, f)), 1);
    Stack_Entry* entry = stack()->Peek();
    ASSERT_EQ(entry->kind, Stack_Entry::kVariable);
    EXPECT_EQ(entry->owned, 1);
    EXPECT_EQ(entry->variable->refcount(), 1) << "the entry alone holds it";
    EXPECT_EQ(Popped(), "value");
}

TEST_F(ReturnsTest, BorrowedLocalThatIsReturnedSurvivesTheLocals)
{
    // A copy of the top owns nothing; the entry below it goes with the stack.
    int f = Script("f", "a", Op(kPushL, 0) + Op(kDup) + Op(kRet));
    EXPECT_EQ(Run(PushText("value") + Op(kCall, f)), 1);
    Stack_Entry* entry = stack()->Peek();
    ASSERT_EQ(entry->kind, Stack_Entry::kVariable);
    EXPECT_EQ(entry->owned, 1);
    EXPECT_EQ(entry->variable->refcount(), 1);
    EXPECT_EQ(Popped(), "value");
}

TEST_F(ReturnsTest, NestedReturnsPassAValueOn)
{
    int inner = Script("inner", "a", Op(kPushL, 0) + Op(kRet));
    int outer = Script("outer", "a", Op(kPushL, 0) + Op(kCall, inner) + Op(kRet));
    EXPECT_EQ(Run(PushText("value") + Op(kCall, outer) + Op(kOut)), 1);
    EXPECT_EQ(written(), "value");
}

TEST_F(ReturnsTest, ReturnIntoAnotherSegmentGoesOnBehindTheCall)
{
    int inner = Script("inner", "", PushText("i") + Op(kOut) + Op(kRetN));
    int outer =
        Script("outer", "", Op(kCall, inner) + Op(kOut) + PushText("o") + Op(kOut) + Op(kRetN));
    EXPECT_EQ(Run(Op(kCall, outer) + Op(kCall, inner) + Op(kCall, outer)), 1);
    EXPECT_EQ(written(), "ioiio");
}

TEST_F(ReturnsTest, ValuesAreLoggedByTheirKind)
{
    LogLevel(kLogFunctionReturnValue);
    Global(0)->SetValue("global", -1);
    static const struct {
        std::string code;
        const char* logged;
    } rows[] = {
        {Op(kPushI, -3) + Op(kRet), "-3"},
        {Op(kPushF) + std::string("\0\0\0\0\0\0\xf8\x3f", 8) + Op(kRet), "1.500000"},
        {PushText("text") + Op(kRet), "text"},
        {PushText("") + Op(kRet), ""},
        {Op(kPushG, 0) + Op(kRet), "variable global"},
        {Op(kPushG, 0) + Op(kPushI, 1) + Op(kCat) + Op(kRet), "global1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.logged);
        application.log.clear();
        int f = Script("f", "", row.code);
        EXPECT_EQ(Run(Op(kCall, f)), 1);
        EXPECT_EQ(application.log,
                  std::vector<std::string>{std::string("Function Return Value|/www/x.zpc||0|f|") +
                                           row.logged});
    }
}

TEST_F(ReturnsTest, RetnLogsTheReturnButNoValue)
{
    LogLevel(kLogFunctionReturnValue | kLogFunctionReturn);
    int f = Script("f", "", Op(kRetN));
    EXPECT_EQ(Run(Op(kCall, f)), 1);
    EXPECT_EQ(application.log, std::vector<std::string>{"Function Return|/www/x.zpc||0|f"});
}

TEST_F(ReturnsTest, ValueThatIsMissingIsNotLogged)
{
    LogLevel(kLogFunctionReturnValue);
    int f = Script("f", "", Op(kRet));
    EXPECT_EQ(Run(Op(kPushI, 1) + Op(kCall, f)), 0);
    EXPECT_TRUE(application.log.empty());
}

TEST_F(ReturnsTest, CopyOfATextThatIsReturnedSurvivesTheOriginal)
{
    // The copy borrows from the entry below it, which goes with the stack.
    const std::string text = PushText("a longer text ") + PushText("of two pieces") + Op(kCat);
    const std::string buffer = text + PushText(", or of three") + Op(kCat);
    const struct {
        std::string code;
        const char* returned;
    } rows[] = {
        {text + Op(kDup) + Op(kRet), "a longer text of two pieces"},
        {text + Op(kDup) + Op(kDup) + Op(kRet), "a longer text of two pieces"},
        {Op(kPushI, 1) + text + Op(kDup) + Op(kRet), "a longer text of two pieces"},
        {text + Op(kDup) + Op(kSwap) + Op(kRet), "a longer text of two pieces"},
        {buffer + Op(kDup) + Op(kRet), "a longer text of two pieces, or of three"},
        {buffer + Op(kDup) + Op(kSwap) + Op(kRet), "a longer text of two pieces, or of three"},
        {text + PushText("constant") + Op(kRet), "constant"},
        {buffer + PushText("constant") + Op(kRet), "constant"},
    };
    for (const auto& row : rows) {
        NoArrayLeft none;
        application.recorded.text.clear();
        int f = Script("f", "", row.code);
        EXPECT_EQ(Run(Op(kCall, f) + Op(kOut)), 1);
        EXPECT_EQ(written(), row.returned);
        EXPECT_EQ(depth(), 0);
        End();
    }
}

// Tells the order in which variables end.
class ToldVariable : public Variable {
public:
    ToldVariable(const char* name, std::string* ends) : Variable(name, -1), m_ends(ends) {}
    ~ToldVariable() override
    {
        int length;
        const char* name = NameBytes(&length);
        m_ends->append(name, size_t(length));
    }

private:
    std::string* m_ends;
};

TEST_F(ReturnsTest, LocalsEndBeforeTheStack)
{
    // The first parameter is on the function's stack as well, and so ends after the second.
    std::string ends;
    int f = Script("f", "b var,a var", Op(kPushL, 0) + Op(kPushI, 1) + Op(kRet));
    int g = Script("g", "b var,a var",
                   Op(kPushL, 0) + PushText("x") + Op(kPopNC, Text("l.x")) + Op(kRetN));
    for (int called : {f, g}) {
        ends.clear();
        End();
        Code(Op(kCall, called));
        stack()->PushV(new ToldVariable("B", &ends), 0, 1);
        stack()->PushV(new ToldVariable("A", &ends), 0, 1);
        EXPECT_EQ(vm()->Go(), 1);
        EXPECT_EQ(ends, "AB");
        EXPECT_EQ(MachineInnards::spares(vm(), called), called == f ? 1 : 0);
    }
}

}  // namespace
