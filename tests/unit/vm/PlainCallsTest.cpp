// Calls that the loop does by itself: with a frame of an earlier call, by value, without flags.
// What they leave is compared with what the handlers of the instructions leave.
#include "ProgramCode.h"
#include "ProgramRemains.h"

namespace {

// Functions in the start segment, with the instructions that run from there.
Program Script(const std::vector<ProgramFunction>& functions, const std::string& main)
{
    Program program;
    std::string code;
    for (ProgramFunction function : functions) {
        if (!function.is_apart) {
            function.offset += int(code.size()) + 6;
            code += function.code;
        }
        program.functions.push_back(function);
    }
    program.code = Op(kJmp, int(code.size())) + code + main;
    return program;
}

ProgramFunction Plain(const std::string& parameters, const std::string& code)
{
    return {"f", parameters, 1, 0, false, 0, code};
}

// The code so many times, in a loop that counts in a global.
std::string Often(const std::string& body, int times = 4, int counter = 7)
{
    std::string loop = body + Op(kIncG, counter, 1) + Op(kCmpGI, counter, times);
    return Op(kStoreGI, counter, 0) + loop + Op(kJmpLt, -int(loop.size()) - 6);
}

class PlainCallsTest : public ::testing::Test {
protected:
    // The world after a run by steps, which leaves what a run by handlers leaves.
    using Prepare = void (*)(ProgramWorld*);
    void Compare(const Program& program, Prepare prepare = nullptr)
    {
        std::string expected = Remains(program, DecodedCode::kNever, prepare);
        for (auto eagerness : {DecodedCode::kWhenRepeated, DecodedCode::kAlways})
            EXPECT_EQ(Remains(program, eagerness, prepare), expected);
    }
    std::string Remains(const Program& program, DecodedCode::Eagerness eagerness, Prepare prepare)
    {
        ProgramWorld world(program);
        if (prepare)
            prepare(&world);
        MachineInnards::SetEagerness(world.vm(), eagerness);
        int result = world.vm()->Go();
        written = world.output.text;
        logged = int(world.application.log.size());
        fatal = world.application.fatal_errors.empty() ? "" : world.application.fatal_errors[0];
        halted = world.vm()->halted();
        return ProgramRemains::Of(&world, result);
    }

    std::string written;
    std::string fatal;
    int logged = 0;
    bool halted = false;
};

TEST_F(PlainCallsTest, ArgumentsAndValueArePassed)
{
    std::string twice = Op(kPushL, 0) + Op(kPushL, 1) + Op(kSub) + Op(kRet);
    std::string call = Op(kPushG, 7) + Op(kPushI, 10) + Op(kCall, 0) + Op(kOut);
    Compare(Script({Plain("a,b", twice)}, Often(call)));
    EXPECT_EQ(written, "{0}-10{0}-9{0}-8{0}-7");
}

TEST_F(PlainCallsTest, AnyArgumentIsPassed)
{
    std::string f = Op(kPushL, 0) + Op(kOut) + Op(kPushL, 1) + Op(kRet);
    std::string array = Op(kPushI, 5) + Op(kPushG, 1) + Op(kPushI, 2) + Op(kElem) + Op(kStore);
    for (const std::string& argument :
         {Op(kPushC, 0), OpDouble(kPushF, 0.00001), Op(kPushG, 1), Op(kPushG, 4),
          Op(kPushC, 0) + Op(kPushC, 1) + Op(kCat), Op(kPushG, 8) + Op(kDup) + Op(kSwap)}) {
        std::string call = argument + Op(kPushI, 3) + Op(kCall, 0) + Op(kOut) + Op(kPushI, 4) +
                           argument + Op(kCall, 0) + Op(kOut);
        Compare(Script({Plain("a,b", f)}, array + Often(call)));
        EXPECT_FALSE(halted);
    }
}

TEST_F(PlainCallsTest, AnyValueIsReturned)
{
    std::string fill = Op(kPushI, 5) + Op(kPopL, 1);
    for (const std::string& value :
         {Op(kPushL, 0), Op(kPushL, 1), Op(kPushG, 4), Op(kPushC, 0),
          Op(kPushL, 0) + Op(kPushC, 0) + Op(kCat), OpDouble(kPushF, 2.5),
          Op(kPushL, 1) + Op(kDup) + Op(kSwap) + Op(kPop),  // borrows a local
          Op(kPushG, 4) + Op(kDup) + Op(kSwap) + Op(kPop),  // borrows a global
          Op(kPushI, 1) + Op(kPushL, 1), Op(kPushL, 1) + Op(kDup)}) {
        std::string call = Op(kPushI, 3) + Op(kCall, 0) + Op(kOut) + Op(kPushI, 4) + Op(kCall, 0) +
                           Op(kPopG, 0) + Op(kPushI, 5) + Op(kCall, 0);
        Compare(Script({Plain("a", fill + value + Op(kRet))}, Often(call)));
    }
    Compare(Script({Plain("a", Op(kRetN))}, Often(Op(kPushI, 3) + Op(kCall, 0))));
    Compare(Script({Plain("a", Op(kRet))}, Often(Op(kPushI, 3) + Op(kCall, 0))));
    EXPECT_NE(fatal, "") << "nothing is on the stack";
}

TEST_F(PlainCallsTest, LocalsStartAfresh)
{
    // What the call before has left in a parameter or in another local is gone.
    std::string f = Op(kPushL, 1) + Op(kOut) + Op(kPushI, 9) + Op(kPopL, 1) + Op(kPushI, 8) +
                    Op(kPopL, 0) + Op(kPushL, 0) + Op(kRet);
    Compare(Script({Plain("a", f)}, Often(Op(kPushC, 0) + Op(kCall, 0) + Op(kOut))));
    EXPECT_EQ(written, "{0}{0}8{0}{0}8{0}{0}8{0}{0}8");
}

TEST_F(PlainCallsTest, LocalsAreNotTheGlobalsOfTheirSlots)
{
    std::string f = Op(kPushL, 0) + Op(kPushI, 1) + Op(kAdd) + Op(kPopL, 1) + Op(kPushL, 1) +
                    Op(kPushG, 0) + Op(kAdd) + Op(kPopG, 1) + Op(kPushG, 1) + Op(kRet);
    std::string call = Op(kPushI, 10) + Op(kCall, 0) + Op(kOut);
    Compare(Script({Plain("a", f)}, Op(kPushI, 100) + Op(kPopG, 0) + Often(call)));
    EXPECT_EQ(written, "{0}111{0}111{0}111{0}111");
}

TEST_F(PlainCallsTest, AFullStackOfTheCallerIsFound)
{
    ProgramFunction f = Plain("", Op(kPushI, 1) + Op(kRet));
    std::string warm = Op(kCall, 0) + Op(kPop) + Op(kCall, 0) + Op(kPop);
    const int kCapacity = ZephVM_Stack::kFrameCapacity;
    for (int entries : {15, 16, 17, kCapacity - 1, kCapacity}) {
        SCOPED_TRACE(entries);
        std::string fill;
        for (int i = 0; i < entries; ++i)
            fill += Op(kPushI, i);
        Compare(Script({f}, warm + fill + Op(kCall, 0)));
        EXPECT_EQ(fatal.empty(), entries < kCapacity);
    }
}

TEST_F(PlainCallsTest, NamesThatACallAddsToItsLocalsGo)
{
    // "l.fresh" is a local that the function does not have.
    std::string f =
        Op(kPushL, 0) + Op(kPopNC, 8) + Op(kPushNC, 8) + Op(kOut) + Op(kPushL, 0) + Op(kRet);
    Compare(Script({Plain("a", f)}, Often(Op(kPushG, 7) + Op(kCall, 0) + Op(kOut))));
    EXPECT_EQ(written, "{0}0{0}0{0}1{0}1{0}2{0}2{0}3{0}3");
    // And globals that it adds stay, while loops go on to find theirs.
    f = Op(kPushL, 0) + Op(kPopNC, 9) + Op(kPushI, 1) + Op(kRet);
    Compare(Script({Plain("a", f)}, Often(Op(kPushG, 7) + Op(kCall, 0) + Op(kOut))));
}

// The frame of a call that has added a name is not used again: the third call adds one, and
// the fourth one halts the machine in its frame.
TEST_F(PlainCallsTest, AddedNamesAreNotThereInTheNextCall)
{
    const int kIllegal = 0x0007;
    std::string add = Op(kPushL, 0) + Op(kPopNC, 8);
    std::string f = Op(kPushL, 0) + Op(kPushI, 3) + Op(kEq) + Op(kJmpEq, 2) + Op(kIllegal) +
                    Op(kPushL, 0) + Op(kPushI, 2) + Op(kEq) + Op(kJmpEq, int(add.size())) + add +
                    Op(kPushL, 0) + Op(kRet);
    Compare(Script({Plain("a", f)}, Often(Op(kPushG, 7) + Op(kCall, 0) + Op(kOut))));
    EXPECT_EQ(written, "{0}0{0}1{0}2");
    EXPECT_TRUE(halted);
}

TEST_F(PlainCallsTest, EachFlagOfTheCalleeIsHeeded)
{
    std::string f = Op(kPushC, 0) + Op(kOut) + Op(kPushI, 1) + Op(kRet);
    for (int flag : {Function::kSetsOutputBit0, Function::kSetsErrorBit2,
                     Function::kClearsErrorBit2, Function::kInheritsOutput}) {
        SCOPED_TRACE(flag);
        ProgramFunction flagged =
            Plain("", Op(kPushI, 1) + Op(kPushG, 1) + Op(kPushI, -1) + Op(kElem) + f);
        flagged.flags = flag;
        std::string call = Op(kCall, 0) + Op(kPop) + Op(kPushC, 1) + Op(kOut);
        Compare(Script({flagged}, Op(kTagError, 62, 1) + Op(kStdOutput, 1) + Often(call)));
        EXPECT_NE(written, "");
    }
}

TEST_F(PlainCallsTest, TheOutputKnowsWhoseTextItWrites)
{
    std::string write = Op(kPushC, 0) + Op(kOut);
    ProgramFunction f = Plain("", write + Op(kStdOutput, 3) + write + Op(kPushI, 1) + Op(kRet));
    ProgramFunction g =
        Plain("", write + Op(kCall, 0) + Op(kPop) + write + Op(kPushI, 1) + Op(kRet));
    std::string call = Op(kCall, 1) + Op(kPop) + write;
    Compare(Script({f, g}, Op(kStdOutput, 2) + Often(call)));
    EXPECT_EQ(written.substr(0, 40), "{0}alpha{0}alpha{3}alpha{0}alpha{2}alpha");
    // Calls in a row, with nothing between them but plain calls.
    ProgramFunction h = Plain("", Op(kPushI, 1) + Op(kRet));
    Compare(Script({h}, Op(kStdOutput, 1) + Often(Op(kCall, 0) + Op(kPop)) + write));
    EXPECT_EQ(written, "{1}alpha");
    Compare(Script({h}, Op(kStdOutput, 1) + Often(Op(kCall, 0) + Op(kPop))));
}

TEST_F(PlainCallsTest, CallersSettingForErrorsIsInherited)
{
    std::string fail = Op(kPushI, 1) + Op(kPushG, 1) + Op(kPushI, -1) + Op(kElem);
    ProgramFunction f = Plain("", fail + Op(kRet));
    std::string call = Op(kCall, 0) + Op(kPop);
    Compare(Script({f}, Op(kTagError, 62, 1) + Often(call, 2) + Op(kErrOutput, 3) + Often(call, 2) +
                            Op(kErrOutput, 7) + Often(call, 2)));
}

TEST_F(PlainCallsTest, FunctionWithoutCodeEndsTheRun)
{
    for (int offset : {-1, -1000, 100000, 0x7FFFFFFF}) {
        SCOPED_TRACE(offset);
        Program program = Script({Plain("", "")}, Often(Op(kCall, 0) + Op(kOut)));
        program.functions[0].offset = offset;
        Compare(program);
        EXPECT_EQ(written, "");
    }
}

// A frame of an earlier call is at hand, and the code is no longer there.
TEST_F(PlainCallsTest, FunctionWhoseCodeHasGoneEndsTheRun)
{
    for (int offset : {-1, 100000, 0x7FFFFFFF}) {
        SCOPED_TRACE(offset);
        ProgramFunction f = Plain("a", Op(kPushL, 0) + Op(kRet));
        Program program = Script({f}, Op(kPushI, 1) + Op(kCall, 0) + Op(kOut));
        std::string remains[2];
        for (auto eagerness : {DecodedCode::kNever, DecodedCode::kAlways}) {
            ProgramWorld world(program);
            MachineInnards::SetEagerness(world.vm(), eagerness);
            EXPECT_EQ(world.vm()->Go(), 1);
            world.functions.Index(0)->SetCode(0, offset);
            MachineInnards::SetPosition(world.vm(), 0, 0);
            int result = world.vm()->Go();
            EXPECT_EQ(world.output.text, "{0}1");
            remains[eagerness == DecodedCode::kAlways] = ProgramRemains::Of(&world, result);
        }
        EXPECT_EQ(remains[1], remains[0]);
    }
}

TEST_F(PlainCallsTest, RecursionGoesDeeperThanThereAreFrames)
{
    // f(a): a > 0 ? f(a - 1) + a : 0, for rising and for falling depths.
    ProgramCode f;
    int end = f.NewLabel();
    f.Add(Op(kPushL, 0) + Op(kPushI, 0) + Op(kGt));
    f.Jump(kJmpEq, end);
    f.Add(Op(kPushL, 0) + Op(kPushI, 1) + Op(kSub) + Op(kCall, 0) + Op(kPushL, 0) + Op(kAdd) +
          Op(kRet));
    f.Place(end);
    f.Add(Op(kPushI, 0) + Op(kRet));
    std::string main;
    for (int depth : {1, 3, 7, 2, 40, 5, 100})
        main += Op(kPushI, depth) + Op(kCall, 0) + Op(kOut);
    Compare(Script({Plain("a", f.Bytes())}, Often(main, 2)));
    EXPECT_EQ(written.substr(0, 42), "{0}1{0}6{0}28{0}3{0}820{0}15{0}5050{0}1{0}");
}

TEST_F(PlainCallsTest, TooFewArgumentsAreFound)
{
    ProgramFunction f = Plain("a,b", Op(kPushL, 1) + Op(kRet));
    std::string warm = Often(Op(kPushI, 1) + Op(kPushI, 2) + Op(kCall, 0) + Op(kOut));
    for (const std::string& arguments : {std::string(), Op(kPushI, 1)}) {
        Compare(Script({f}, warm + arguments + Op(kCall, 0) + Op(kOut)));
        EXPECT_TRUE(halted);
        EXPECT_NE(fatal.find("Stack underflow"), std::string::npos);
    }
}

TEST_F(PlainCallsTest, ReferencesAreNotPlain)
{
    ProgramFunction f = Plain("a var", Op(kPushI, 7) + Op(kPopL, 0) + Op(kPushL, 0) + Op(kRet));
    Compare(Script({f}, Often(Op(kPushG, 6) + Op(kCall, 0) + Op(kOut) + Op(kPushG, 6) + Op(kOut))));
    EXPECT_EQ(written.substr(0, 12), "{0}7{0}7{0}7");
}

TEST_F(PlainCallsTest, AFunctionInAnotherSegmentReturnsToItsCaller)
{
    ProgramFunction apart = Plain("a", Op(kPushL, 0) + Op(kCall, 0) + Op(kRet));
    apart.is_apart = true;
    ProgramFunction f = Plain("a", Op(kPushL, 0) + Op(kPushI, 1) + Op(kAdd) + Op(kRet));
    std::string call =
        Op(kPushG, 7) + Op(kCall, 1) + Op(kOut) + Op(kPushG, 7) + Op(kCall, 0) + Op(kOut);
    Compare(Script({f, apart}, Often(call)));
    EXPECT_EQ(written, "{0}1{0}1{0}2{0}2{0}3{0}3{0}4{0}4");
}

// What is logged shows what happened, and a frame is then never kept.
TEST_F(PlainCallsTest, LoggedCallsAreAllLogged)
{
    static Config s_settings;
    s_settings.SetValue_Integer(ZPCONFIG_LOG_LEVEL, kLogFunctionCall | kLogFunctionReturnValue);
    ProgramFunction f = Plain("a", Op(kPushL, 0) + Op(kRet));
    Compare(Script({f}, Often(Op(kPushG, 7) + Op(kCall, 0) + Op(kOut))),
            [](ProgramWorld* world) { world->application.settings = &s_settings; });
    EXPECT_EQ(logged, 8);
}

TEST_F(PlainCallsTest, LinesAreTracedInLoops)
{
    static Config s_settings;
    s_settings.SetValue_Integer(ZPCONFIG_LOG_LEVEL, kLogTrace);
    Compare(Script({}, Often(Op(kLineNo, 4) + Op(kLineNo, 5) + Op(kLineNo, 5))),
            [](ProgramWorld* world) { world->application.settings = &s_settings; });
    EXPECT_EQ(logged, 8);
}

// ---- With native code

int s_ended;

class OpenTag : public Feature {
public:
    explicit OpenTag(ZephVM* machine) : Feature(machine, kLockfile) {}
    ~OpenTag() override { ++s_ended; }
};

int Open(ZephVM* vm, VariableHash*, Variable* result, void**)
{
    vm->Push_Feature(new OpenTag(vm));
    return result->SetValue_Integer(s_ended);
}

int Run(ZephVM* vm, VariableHash*, Variable* result, void**)
{
    vm->RunFunction("inner", -1, nullptr, result);
    return 1;
}

const _ZP_EL_Function kLibrary[] = {
    {"open", 4, 0, nullptr, Open},
    {"run", 3, 0, nullptr, Run},
    {nullptr, 0, 0, nullptr, nullptr},
};

class NativePlainCallsTest : public CalledMachineTest {
protected:
    void SetUp() override
    {
        UseLibrary(kLibrary);
        s_ended = 0;
    }
    void Start(const std::string& code, DecodedCode::Eagerness eagerness)
    {
        application.recorded.text.clear();
        application.fatal_errors.clear();
        End();
        Code(code);
        MachineInnards::SetEagerness(vm(), eagerness);
    }
};

TEST_F(NativePlainCallsTest, ATagThatACallLeavesOpenIsClosed)
{
    // f opens one in its fourth call alone: there is a frame for it then.
    std::string f = Op(kIncG, 0, 1) + Op(kCmpGI, 0, 4) + Op(kJmpNe, 8) + Op(kCall, 1) + Op(kPop) +
                    Op(kPushG, 0) + Op(kRet);
    functions.Function_Add(0, 6, "f", -1, "", -1, 0);
    External("open", "");
    std::string call = Op(kCall, 0) + Op(kPop);
    for (auto eagerness : {DecodedCode::kNever, DecodedCode::kWhenRepeated, DecodedCode::kAlways}) {
        s_ended = 0;
        globals.Dump();
        Start(Op(kJmp, int(f.size())) + f + Often(call, 6, 1), eagerness);
        EXPECT_EQ(vm()->Go(), 1);
        EXPECT_EQ(s_ended, 1);
        EXPECT_EQ(depth(), 0);
    }
}

// A function that native code runs reaches the end of its segment within a call. The script
// goes on in the frame of that call, and a return there leads to where it came from.
TEST_F(NativePlainCallsTest, ReturnFromACallOfAnotherSegmentGoesBackThere)
{
    // h, in the segment of "inner", returns but for its third call.
    std::string h = Op(kIncG, 0, 1) + Op(kCmpGI, 0, 3) + Op(kJmpNe, 12) + Op(kPushI, 9) +
                    Op(kJmp, 1000) + Op(kPushI, 1) + Op(kRet);
    std::string inner = Op(kCall, 0) + Op(kPop) + Op(kCall, 0) + Op(kPop) + Op(kCall, 0) +
                        Op(kOut) + Op(kJmp, 2) + Op(kNoop) + Op(kPushI, 5) + Op(kOut) +
                        Op(kPushI, 2) + Op(kRet);
    segments.Start();
    Segment* segment = segments.Segment_Add();
    Write(segment, h + inner);
    functions.Function_Add(segment->number(), 0, "h", -1, "", -1, 0);
    functions.Function_Add(segment->number(), int(h.size()), "inner", -1, "", -1, 0);
    int run = External("run", "");
    std::string expected;
    for (auto eagerness : {DecodedCode::kNever, DecodedCode::kWhenRepeated, DecodedCode::kAlways}) {
        SCOPED_TRACE(eagerness);
        segment->SetPrepared(nullptr);
        globals.Dump();
        Start(Op(kCall, run) + Op(kRet) + Op(kPushI, 4) + Op(kOut), eagerness);
        int result = vm()->Go();
        std::string left = std::to_string(result) + " " + written() + " at " +
                           std::to_string(MachineInnards::segment(vm())) + " " +
                           std::to_string(MachineInnards::pc(vm())) + " " + std::to_string(depth());
        if (eagerness == DecodedCode::kNever)
            expected = left;
        EXPECT_EQ(left, expected);
        EXPECT_EQ(written(), "95");
    }
}

}  // namespace
