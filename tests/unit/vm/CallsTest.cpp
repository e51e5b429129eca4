// The instruction `call` for functions of the image, and the frames that it makes.
#include "CalledMachine.h"
#include "app/LogParameter.h"
#include "variables/ReferenceVariable.h"
#include "vm/Feature.h"

namespace {

using CallsTest = CalledMachineTest;

TEST_F(CallsTest, FunctionRunsAndTheCallerGoesOn)
{
    int f = Script("f", "", PushText("in ") + Op(kOut) + Op(kRetN));
    EXPECT_EQ(Run(Op(kCall, f) + Op(kOut) + PushText("out") + Op(kOut)), 1);
    EXPECT_EQ(written(), "in out");
    EXPECT_FALSE(in_function());
}

TEST_F(CallsTest, EntryPointIsTheOffset)
{
    segments.Start();
    Segment* segment = segments.Segment_Add();
    std::string skipped = PushText("skipped") + Op(kOut);
    Write(segment, skipped + PushText("entered") + Op(kRet));
    int f = functions.Function_Add(segment->number(), int(skipped.size()), "f", -1, "", -1, 0);
    EXPECT_EQ(Run(Op(kCall, f) + Op(kOut)), 1);
    EXPECT_EQ(written(), "entered");
}

TEST_F(CallsTest, FunctionMayStandInTheCallersSegment)
{
    std::string body = PushText("f") + Op(kRet);
    int f = functions.Function_Add(0, 6, "f", -1, "", -1, 0);
    EXPECT_EQ(Run(Op(kJmp, int(body.size())) + body + Op(kCall, f) + Op(kOut)), 1);
    EXPECT_EQ(written(), "f");
}

TEST_F(CallsTest, IndexWithoutAFunctionIsFatal)
{
    int f = Script("f", "", Op(kRetN));
    for (int index : {-1, f + 1, 1000000, int(0x80000000)}) {
        SCOPED_TRACE(index);
        application.fatal_errors.clear();
        EXPECT_EQ(Run(Op(kCall, index)), 0);
        EXPECT_EQ(Fatal(), "Invalid function call");
    }
}

TEST_F(CallsTest, FunctionWithoutCodeIsAnInvalidSegment)
{
    int f = functions.Function_Add(-1, -1, "f", -1, "", -1, 0);
    EXPECT_EQ(Run(Op(kCall, f)), 0);
    EXPECT_EQ(Fatal(), "Invalid segment reference");
    int g = functions.Function_Add(99, 0, "g", -1, "", -1, 0);
    application.fatal_errors.clear();
    EXPECT_EQ(Run(Op(kCall, g)), 0);
    EXPECT_EQ(Fatal(), "Invalid segment reference");
}

TEST_F(CallsTest, ArgumentsArriveInTheirOrder)
{
    int f = Script("f", "a,b,c",
                   Op(kPushL, 0) + Op(kOut) + Op(kPushL, 1) + Op(kOut) + Op(kPushL, 2) + Op(kRet));
    EXPECT_EQ(Run(PushText("1") + PushText("2") + PushText("3") + Op(kCall, f) + Op(kOut)), 1);
    EXPECT_EQ(written(), "123");
    EXPECT_EQ(depth(), 0);
}

TEST_F(CallsTest, ValuesAreCopied)
{
    int f = Script("f", "a", PushText("changed") + Op(kPopL, 0) + Op(kRetN));
    Global(0)->SetValue("kept", -1);
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kCall, f)), 1);
    EXPECT_EQ(GlobalText(0), "kept");
    EXPECT_EQ(Global(0)->refcount(), 1);
}

TEST_F(CallsTest, ReferencesAreTheCallersVariable)
{
    int f = Script("f", "a var", PushText("changed") + Op(kPopL, 0) + Op(kRetN));
    Global(0)->SetValue("former", -1);
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kCall, f)), 1);
    EXPECT_EQ(GlobalText(0), "changed");
    EXPECT_EQ(Global(0)->refcount(), 1) << "the popped reference is given back";
}

TEST_F(CallsTest, ReferenceKeepsTheNameOfTheParameter)
{
    int f = Script("f", "a var", Op(kCall, 99));
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kCall, f)), 0);
    Variable* local = vm()->frame()->locals()->Index(0, 0);
    ASSERT_TRUE(local);
    EXPECT_STREQ(local->name().data(), "a");
    EXPECT_EQ(local->RealIdentity(), Global(0));
}

TEST_F(CallsTest, OwnedReferenceOutlivesItsCallerAndEndsWithTheLocals)
{
    bool ended = false;
    int f = Script("f", "a var", Op(kPushL, 0) + Op(kOut) + Op(kRetN));
    Code(Op(kCall, f));
    vm();
    const int kNoAddRef = 0;
    const int kOwned = 1;
    stack()->PushV(new WatchedVariable("watched", &ended), kNoAddRef, kOwned);
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(written(), "watched");
    EXPECT_TRUE(ended);
}

TEST_F(CallsTest, ConstantForAReferenceIsFatalAndStopsTheWalk)
{
    int f = Script("f", "a,b var", Op(kNoop));
    EXPECT_EQ(Run(PushText("first") + PushText("second") + Op(kCall, f)), 0);
    EXPECT_EQ(Fatal(), "Expected variable, found constant");
    EXPECT_TRUE(in_function()) << "the callee's frame is current";
    EXPECT_EQ(depth(), 0);
    EXPECT_EQ(vm()->frame()->previous->stack()->Entries(), 1) << "the first argument stays";
    EXPECT_EQ(vm()->frame()->locals()->Index(0, 0), nullptr);
}

TEST_F(CallsTest, MissingArgumentsAreFatalAndLeaveTheFrame)
{
    int f = Script("f", "a", PushText("never") + Op(kOut));
    EXPECT_EQ(Run(Op(kCall, f)), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_TRUE(vm()->halted());
    EXPECT_TRUE(in_function());
    EXPECT_EQ(written(), "");
}

TEST_F(CallsTest, MissingReferenceIsFatalAndLeavesTheFrame)
{
    int f = Script("f", "a var,b var", PushText("never") + Op(kOut));
    EXPECT_EQ(Run(Op(kCall, f)), 0);
    EXPECT_EQ(Fatal(), "Stack underflow") << "once: the walk stops";
    EXPECT_TRUE(in_function());
}

TEST_F(CallsTest, EveryMissingValueIsTold)
{
    int f = Script("f", "a,b,c", Op(kNoop));
    EXPECT_EQ(Run(PushText("third") + Op(kCall, f)), 0);
    EXPECT_EQ(FatalTexts(), (std::vector<std::string>{"Stack underflow", "Stack underflow"}));
    EXPECT_STREQ(vm()->frame()->locals()->Index(2, 1)->value().data(), "third");
}

TEST_F(CallsTest, ValueForASlotThatIsNotThereIsFatalAndStopsTheWalk)
{
    for (int slot : {5, -1}) {
        SCOPED_TRACE(slot);
        application.fatal_errors.clear();
        int f = Script("f", "a,b", Op(kNoop));
        List<FunctionParameter>* parameters = functions.Index(f)->parameters();
        delete parameters->Remove(kListTail);
        parameters->Insert(new FunctionParameter(&dictionary, 0, 0, slot), kListTail);
        EXPECT_EQ(Run(PushText("first") + PushText("second") + Op(kCall, f)), 0);
        EXPECT_EQ(Fatal(), "Invalid parameter reference");
        EXPECT_TRUE(in_function());
        EXPECT_EQ(vm()->frame()->previous->stack()->Entries(), 2) << "the value is not taken";
    }
}

TEST_F(CallsTest, ReferenceForASlotThatIsNotThereIsDropped)
{
    int f = Script("f", "a,b var", Op(kPushL, 0) + Op(kRet));
    List<FunctionParameter>* parameters = functions.Index(f)->parameters();
    parameters->Insert(new FunctionParameter(&dictionary, 0, FunctionParameter::kByReference, 7),
                       kListTail);
    EXPECT_EQ(Run(PushText("first") + Op(kPushG, 0) + Op(kPushG, 1) + Op(kCall, f) + Op(kOut)), 1);
    EXPECT_EQ(written(), "first");
    EXPECT_EQ(Global(1)->refcount(), 1);
}

TEST_F(CallsTest, EachCallHasLocalsOfItsOwn)
{
    int f = Script("f", "", Op(kPushL, 0) + Op(kOut) + PushText("set") + Op(kPopL, 0) + Op(kRetN));
    functions.Index(f)->locals()->Insert("local", -1);
    EXPECT_EQ(Run(Op(kCall, f) + Op(kPop) + Op(kCall, f)), 1);
    EXPECT_EQ(written(), "") << "the second call finds nothing of the first";
    EXPECT_EQ(functions.Index(f)->locals()->Index(0, 0), nullptr) << "the template stays empty";
}

TEST_F(CallsTest, EachCallHasAStackOfItsOwn)
{
    int f = Script("f", "", Op(kPop) + Op(kRetN));
    EXPECT_EQ(Run(PushText("caller's") + Op(kCall, f)), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(vm()->frame()->previous->stack()->Entries(), 1);
    std::string full;
    for (int i = 0; i < ZephVM_Stack::kFrameCapacity; ++i)
        full += Op(kPushI, i);
    int g = Script("g", "", full + Op(kRet));
    EXPECT_EQ(Run(Op(kPushI, 7) + Op(kCall, g)), 1);
    EXPECT_EQ(stack()->PopI(), 511);
    EXPECT_EQ(stack()->PopI(), 7);
}

TEST_F(CallsTest, EmptyLocalsInTheRootAreTheGlobals)
{
    EXPECT_EQ(Run(PushText("x") + Op(kPopL, 1)), 1);
    EXPECT_EQ(GlobalText(1), "x");
}

TEST_F(CallsTest, RootFrameHasReturnPositionsOfMinusOne)
{
    EXPECT_EQ(vm()->frame()->return_segment, -1);
    EXPECT_EQ(vm()->frame()->return_offset, -1);
}

TEST_F(CallsTest, FrameKnowsWhereItReturnsTo)
{
    int f = Script("f", "", Op(0xFFFF));
    EXPECT_EQ(Run(Op(kNoop) + Op(kCall, f)), 0);
    ASSERT_TRUE(in_function());
    ZephVM_FunctionFrame* frame = static_cast<ZephVM_FunctionFrame*>(vm()->frame());
    EXPECT_EQ(frame->return_segment, 0);
    EXPECT_EQ(frame->return_offset, 8) << "behind the instruction";
    EXPECT_EQ(frame->function(), functions.Index(f));
    ASSERT_NE(frame->previous, nullptr);
    EXPECT_EQ(frame->previous->type(), ZephVM_Frame::kRoot);
    EXPECT_EQ(application.fatal_errors[0],
              "Fatal error in /www/x.zpc @ [00000001:00000000]: Illegal Instruction\n");
}

TEST_F(CallsTest, FlagsOfTheFrameFollowTheFunctionAndItsCaller)
{
    const int kOutput0 = Function::kSetsOutputBit0;
    const int kSets = Function::kSetsErrorBit2;
    const int kClears = Function::kClearsErrorBit2;
    const int kInherits = Function::kInheritsOutput;
    static const struct {
        int flags, caller_error, caller_output;
        int error, output;
    } rows[] = {
        {0, 7, 0, 7, 0},
        {0, 3, 7, 3, 0},
        {0, 0, 3, 0, 0},
        {kOutput0, 7, 0, 7, 1},
        {kOutput0, 7, 2, 7, 1},
        {kSets, 3, 0, 7, 0},
        {kSets, 0, 0, 4, 0},
        {kSets, 7, 0, 7, 0},
        {kClears, 7, 0, 3, 0},
        {kClears, 3, 0, 3, 0},
        {kSets | kClears, 0, 0, 0, 0},
        {kSets | kClears, 7, 0, 3, 0},
        {kInherits, 7, 0, 7, 0},
        {kInherits, 7, 1, 7, 2},
        {kInherits, 7, 2, 7, 2},
        {kInherits, 7, 3, 7, 2},
        {kInherits, 7, 4, 7, 0},
        {kInherits | kOutput0, 7, 0, 7, 0},
        {kInherits | kOutput0, 7, 1, 7, 2},
        {kInherits | kOutput0 | kSets, 0, 1, 4, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        int f = Script("f", "", Op(0xFFFF), row.flags);
        EXPECT_EQ(Run(Op(kErrOutput, row.caller_error) + Op(kStdOutput, row.caller_output) +
                      Op(kCall, f)),
                  0);
        ASSERT_TRUE(in_function());
        EXPECT_EQ(vm()->frame()->error_output, row.error);
        EXPECT_EQ(vm()->frame()->standard_output, row.output);
        EXPECT_EQ(application.output()->flags(), row.output);
        EXPECT_EQ(vm()->frame()->previous->error_output, row.caller_error);
        EXPECT_EQ(vm()->frame()->previous->standard_output, row.caller_output);
    }
}

TEST_F(CallsTest, OutputFlagsComeBackWithTheReturn)
{
    for (const std::string& end : {Op(kPushI, 1) + Op(kRet), Op(kRetN)}) {
        int inner = Script("inner", "", Op(kStdOutput, 5) + Op(kErrOutput, 0) + end,
                           Function::kSetsOutputBit0);
        EXPECT_EQ(Run(Op(kStdOutput, 2) + Op(kCall, inner)), 1);
        EXPECT_EQ(application.output()->flags(), 2);
        EXPECT_EQ(vm()->frame()->standard_output, 2);
        EXPECT_EQ(vm()->frame()->error_output, 7) << "the caller's display is unaffected";
    }
}

TEST_F(CallsTest, ErrorOutputIsPassedOnToInnerCalls)
{
    int inner = Script("inner", "", Op(0xFFFF));
    int outer = Script("outer", "", Op(kCall, inner), Function::kClearsErrorBit2);
    EXPECT_EQ(Run(Op(kCall, outer)), 0);
    EXPECT_EQ(vm()->frame()->error_output, 3);
    EXPECT_EQ(static_cast<ZephVM_FunctionFrame*>(vm()->frame())->function(),
              functions.Index(inner));
}

TEST_F(CallsTest, CodeThatRunsOutEndsTheScriptInItsFrame)
{
    int f = Script("f", "", PushText("in") + Op(kOut));
    EXPECT_EQ(Run(Op(kCall, f) + PushText("never") + Op(kOut)), 1);
    EXPECT_EQ(written(), "in");
    EXPECT_TRUE(in_function());
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(CallsTest, ExitInAFunctionEndsTheScriptInItsFrame)
{
    int f = Script("f", "", Op(kExit));
    EXPECT_EQ(Run(Op(kCall, f) + PushText("never") + Op(kOut)), 1);
    EXPECT_EQ(written(), "");
    EXPECT_EQ(exited, 1);
    EXPECT_TRUE(in_function());
}

// f(n): n = 0 ? 0 : f(n - 1) + 1, without `add`: the depth is counted in a global.
TEST_F(CallsTest, RecursionGoesAsDeepAsMemoryAllows)
{
    const int kDepth = 100000;
    int f = functions.count();
    std::string again = Op(kIncG, 0, 1) + Op(kCall, f) + Op(kPop) + Op(kRetN);
    std::string count_down = Op(kIncG, 1, -1) + Op(kPushG, 1);
    ASSERT_EQ(Script("f", "", count_down + Op(kJmpEq, int(again.size())) + again + Op(kRetN)), f);
    Global(0)->SetValue_Integer(0);
    Global(1)->SetValue_Integer(kDepth);
    EXPECT_EQ(Run(Op(kCall, f)), 1);
    EXPECT_EQ(GlobalInteger(0), kDepth - 1);
    EXPECT_FALSE(in_function());
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(CallsTest, DeepFramesEndWithTheMachine)
{
    const int kDepth = 100000;
    int f = functions.count();
    std::string count_down = Op(kIncG, 1, -1) + Op(kPushG, 1);
    ASSERT_EQ(
        Script("f", "a", count_down + Op(kJmpEq, 12) + Op(kPushL, 0) + Op(kCall, f) + Op(kExit)),
        f);
    Global(1)->SetValue_Integer(kDepth);
    EXPECT_EQ(Run(PushText("value") + Op(kCall, f)), 1);
    int frames = 0;
    for (ZephVM_Frame* frame = vm()->frame(); frame; frame = frame->previous)
        ++frames;
    EXPECT_EQ(frames, kDepth + 1);
    End();
}

TEST_F(CallsTest, RecursionPassesItsArgument)
{
    int f = functions.count();
    std::string next = Op(kPushL, 0) + Op(kPop) + PushText("x") + Op(kOut) + Op(kIncG, 0, -1) +
                       Op(kPushG, 0) + Op(kCall, f) + Op(kRet);
    ASSERT_EQ(
        Script("f", "n",
               Op(kPushL, 0) + Op(kJmpEq, int(next.size())) + next + PushText("end") + Op(kRet)),
        f);
    Global(0)->SetValue_Integer(3);
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kCall, f) + Op(kOut)), 1);
    EXPECT_EQ(written(), "xxxend");
}

TEST_F(CallsTest, CallAndParametersAreLogged)
{
    int f = Script("f", "a,b var", Op(kPushI, 5) + Op(kRet));
    Global(0)->SetValue("global", -1);
    LogLevel(kLogFunctionCall | kLogFunctionParameter | kLogFunctionReturnValue |
             kLogFunctionReturn);
    EXPECT_EQ(
        Run(Op(kSourceFile, 3) + Op(kLineNo, 7) + PushText("value") + Op(kPushG, 0) + Op(kCall, f)),
        1);
    EXPECT_EQ(application.log, (std::vector<std::string>{
                                   "Function Call|/www/x.zpc|x.zp|7|f",
                                   "Function Parameter|/www/x.zpc|x.zp|7|f|b|variable global",
                                   "Function Parameter|/www/x.zpc|x.zp|7|f|a|variable value",
                                   "Function Return Value|/www/x.zpc|x.zp|7|f|5",
                                   "Function Return|/www/x.zpc|x.zp|7|f",
                               }));
}

TEST_F(CallsTest, EventsOutsideTheMaskAreNotLogged)
{
    int f = Script("f", "a", Op(kPushL, 0) + Op(kRet));
    LogLevel(kLogFunctionReturn);
    EXPECT_EQ(Run(PushText("value") + Op(kCall, f)), 1);
    EXPECT_EQ(application.log, (std::vector<std::string>{"Function Return|/www/x.zpc||0|f"}));
}

TEST_F(CallsTest, ArgumentThatIsMissingIsLoggedAsNullWhateverTheLastOneWas)
{
    int f = Script("f", "a,b", Op(kRetN));
    LogLevel(kLogFunctionParameter);
    std::string first = PushText("first") + PushText("second") + Op(kCall, f) + Op(kPop);
    EXPECT_EQ(Run(first + PushText("only") + Op(kCall, f)), 0);
    EXPECT_EQ(application.log, (std::vector<std::string>{
                                   "Function Parameter|/www/x.zpc||0|f|b|variable second",
                                   "Function Parameter|/www/x.zpc||0|f|a|variable first",
                                   "Function Parameter|/www/x.zpc||0|f|b|variable only",
                                   "Function Parameter|/www/x.zpc||0|f|a|variable ",
                               }));
}

TEST_F(CallsTest, ArgumentHasTheFormOfItsOwnCallAlone)
{
    // What the first call left in the parameter must not show beside an array.
    Global(0)->Element(AggregateIndex(1), 1)->SetValue("element", -1);
    for (const std::string& former : {PushText("text"), Op(kPushI, 7), OpDouble(kPushF, 0.5)}) {
        application.recorded.text.clear();
        int f = Script("f", "a",
                       Op(kPushL, 0) + Op(kOut) + Op(kIncG, 1, -1) + Op(kPushG, 1) + Op(kJmpEq, 2) +
                           Op(kRetN) + Op(0xFFFF));
        Global(1)->SetValue_Integer(2);
        EXPECT_EQ(Run(former + Op(kCall, f) + Op(kPop) + Op(kPushG, 0) + Op(kCall, f)), 0);
        ASSERT_TRUE(in_function());
        Variable* parameter = vm()->frame()->locals()->Index(0, 0);
        EXPECT_EQ(parameter->aggregatetype(), kAggregateArray);
        EXPECT_EQ(parameter->primary_type(), Variable::kNone);
        EXPECT_STREQ(parameter->value().data(), "element");
    }
}

TEST_F(CallsTest, ArgumentsOfEveryKindFollowOneAnother)
{
    int f = Script("f", "a", Op(kPushL, 0) + Op(kOut) + Op(kRetN));
    Global(0)->Element(AggregateIndex(1), 1)->SetValue("1", -1);
    Global(0)->Element(AggregateIndex(2), 1)->SetValue("2", -1);
    Global(1)->SetValue("text", -1);
    std::string code;
    for (const std::string& argument :
         {Op(kPushG, 0), Op(kPushI, 3), Op(kPushG, 0), PushText("four"), Op(kPushG, 1),
          Op(kPushG, 2), OpDouble(kPushF, 0.5), Op(kPushG, 2), Op(kPushG, 1)})
        code += argument + Op(kCall, f) + Op(kPop) + PushText(" ") + Op(kOut);
    EXPECT_EQ(Run(code), 1);
    EXPECT_EQ(written(), "1,2 3 1,2 four text  0.5  text ");
}

TEST_F(CallsTest, ParameterThatWasMadeAReferenceIsANewOneInTheNextCall)
{
    int f = Script("f", "a",
                   Op(kPushL, 0) + Op(kOut) + PushText("changed") + Op(kPopL, 0) + Op(kPushL, 0) +
                       Op(kPushG, 0) + Op(kRefer) + Op(kRetN));
    Global(0)->SetValue("kept", -1);
    std::string call = Op(kCall, f) + Op(kPop);
    EXPECT_EQ(Run(PushText("1") + call + PushText("2") + call + PushText("3") + call), 1);
    EXPECT_EQ(written(), "123");
    EXPECT_EQ(GlobalText(0), "kept");
    EXPECT_EQ(Global(0)->refcount(), 1);
}

TEST_F(CallsTest, NameThatACallAddsToItsLocalsIsNotThereInTheNext)
{
    int extra = Text("l.extra");
    int f = Script("f", "a",
                   Op(kPushNC, extra) + Op(kOut) + PushText("added") + Op(kPopNC, extra) +
                       Op(kPushNC, extra) + Op(kOut) + Op(kRetN));
    std::string call = PushText("a") + Op(kCall, f) + Op(kPop);
    EXPECT_EQ(Run(call + call), 1);
    EXPECT_EQ(written(), "addedadded");
    EXPECT_EQ(MachineInnards::spares(vm(), f), 0);
}

TEST_F(CallsTest, CallByIndexReachesEitherOfTwoFunctionsOfOneName)
{
    int first = Script("twice", "", PushText("first") + Op(kRet));
    int second = Script("TWICE", "", PushText("second") + Op(kRet));
    std::string both = Op(kCall, second) + Op(kOut) + Op(kCall, first) + Op(kOut);
    EXPECT_EQ(Run(both + both), 1);
    EXPECT_EQ(written(), "secondfirstsecondfirst");
    EXPECT_EQ(functions.Function_Get("twice", -1), functions.Index(first));
}

// ---- Frames that wait for the next call

TEST_F(CallsTest, DeepRecursionLeavesAFewFramesForTheNextCalls)
{
    for (int flags : {0, Function::kSetsErrorBit2}) {
        SCOPED_TRACE(flags);
        int f = functions.count();
        std::string again = Op(kCall, f) + Op(kPop) + Op(kRetN);
        ASSERT_EQ(Script("f", "",
                         Op(kIncG, 1, -1) + Op(kPushG, 1) + Op(kJmpEq, int(again.size())) + again +
                             Op(kRetN),
                         flags),
                  f);
        for (int depth : {3, 255, 256, 257, 5000}) {
            SCOPED_TRACE(depth);
            Global(1)->SetValue_Integer(depth);
            EXPECT_EQ(Run(Op(kCall, f) + Op(kPop)), 1);
            EXPECT_EQ(MachineInnards::spares(vm(), f), depth < 256 ? depth : 256);
        }
    }
}

TEST_F(CallsTest, DeepRecursionAgainAndAgainLeavesNoMoreFrames)
{
    for (int flags : {0, Function::kSetsErrorBit2}) {
        SCOPED_TRACE(flags);
        int f = functions.count();
        std::string again = Op(kCall, f) + Op(kRet);
        ASSERT_EQ(Script("f", "",
                         Op(kIncG, 1, -1) + Op(kPushG, 1) + Op(kJmpEq, int(again.size())) + again +
                             Op(kPushI, 1) + Op(kRet),
                         flags),
                  f);
        std::string deep = Op(kStoreGI, 1, 300) + Op(kCall, f) + Op(kPop);
        EXPECT_EQ(Run(deep + deep + deep), 1);
        EXPECT_EQ(MachineInnards::spares(vm(), f), 256);
    }
}

TEST_F(CallsTest, FrameWhoseStackHasGrownFarIsNotKept)
{
    for (int entries : {1, 64, 65, 512}) {
        SCOPED_TRACE(entries);
        std::string pushes;
        for (int i = 0; i < entries; ++i)
            pushes += Op(kPushI, i);
        int f = Script("f", "", pushes + Op(kRet));
        EXPECT_EQ(Run(Op(kCall, f)), 1);
        EXPECT_EQ(stack()->PopI(), entries - 1);
        EXPECT_EQ(MachineInnards::spares(vm(), f), entries <= 64 ? 1 : 0);
    }
}

// A tag knows the call that it belongs to by its frame.
TEST_F(CallsTest, NoFrameIsKeptWhileATagIsOpen)
{
    for (int word : {kRet, kRetN}) {
        int f = Script("f", "", Op(kPushI, 1) + Op(word));
        End();
        Code(Op(kCall, f) + Op(kPop));
        vm()->Push_Feature(new Feature(vm(), Feature::kImport));
        EXPECT_EQ(vm()->Go(), 1);
        EXPECT_EQ(MachineInnards::spares(vm(), f), 0);
        EXPECT_EQ(Run(Op(kCall, f) + Op(kPop)), 1);
        EXPECT_EQ(MachineInnards::spares(vm(), f), 1);
    }
}

TEST_F(CallsTest, FunctionOfNoTableIsCalledInAMachineWithoutFunctions)
{
    const std::string jump = Op(kJmp, 2);
    Function f(&dictionary, 0, 0, 0, int(jump.size()));
    Code(jump + Op(kRetN));
    ZephVM* machine = new ZephVM("/www/x.zpc", -1, &application, &dictionary, &systems, &globals,
                                 &segments, nullptr, external_calls, nullptr, nullptr, nullptr,
                                 nullptr, &heartbeat, &cancelled, &exited, nullptr);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(machine->CallFunction(&f), 1);
        EXPECT_EQ(machine->frame()->type(), ZephVM_Frame::kFunction);
        EXPECT_EQ(machine->Go(), 1);
        EXPECT_EQ(machine->frame()->type(), ZephVM_Frame::kRoot);
        machine->frame()->stack()->Pop();
    }
    machine->Shutdown();
}

// Runs a script function, which is added to the table just then, when it ends.
class ScriptAtTheEnd : public Variable {
public:
    ScriptAtTheEnd(ZephVM* vm, int segment) : Variable("", 0, "", 0), m_vm(vm), m_segment(segment)
    {
    }
    ~ScriptAtTheEnd() override
    {
        FunctionManager* functions = m_vm->functions();
        for (int i = 0; i < 100; ++i)
            functions->Function_Add(m_segment, 0, "last", -1, "", -1, 0);
        Function* last = functions->Index(functions->count() - 1);
        has_run = m_vm->CallFunction(last) && m_vm->Go();
    }

    static inline bool has_run = false;

private:
    ZephVM* m_vm;
    int m_segment;
};

TEST_F(CallsTest, ScriptThatTheEndOfALocalRunsMayCallNewFunctions)
{
    int f = Script("f", "a var", Op(kRetN));
    segments.Segment_Add();
    Segment* last = segments.Segment_Add();
    Write(last, PushText("last") + Op(kOut) + Op(kRetN));
    Code(Op(kCall, f) + Op(kPop) + Op(kPushG, 0) + Op(kCall, f) + Op(kPop));
    stack()->PushV(new ScriptAtTheEnd(vm(), last->number()), 0, 1);
    ScriptAtTheEnd::has_run = false;
    vm()->Go();
    EXPECT_TRUE(ScriptAtTheEnd::has_run);
    EXPECT_EQ(written(), "last");
    EXPECT_TRUE(application.fatal_errors.empty());
}

}  // namespace
