// The rules of the loop, one by one.
#include "vm/ZephVM.h"

#include "../image/TestImage.h"
#include "TestMachine.h"

namespace {

class ZephVMTest : public MachineTest {
protected:
    static std::string PushText(int entry) { return Op(kPushC, entry) + Op(kOut); }
};

TEST_F(ZephVMTest, SegmentWithoutCodeEndsAtOnce)
{
    EXPECT_EQ(Run(""), 1);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(ZephVMTest, SingleByteIsNotExecuted)
{
    EXPECT_EQ(Run("\xFF"), 1);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(ZephVMTest, ByteBehindTheLastInstructionIsNotExecuted)
{
    EXPECT_EQ(Run(PushText(0) + "\xFF"), 1);
    EXPECT_EQ(written(), "alpha");
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(ZephVMTest, RunsTheSegmentThatTheImageStartsWith)
{
    segments.Start();
    Segment* second = segments.Segment_Add();
    Write(second, PushText(1));
    segments.SetStart(second->number());
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(written(), "beta");
}

TEST_F(ZephVMTest, GoBehindTheEndEndsAgain)
{
    EXPECT_EQ(Run(PushText(0)), 1);
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(written(), "alpha");
}

TEST_F(ZephVMTest, CancelledFlagEndsTheRunBeforeTheFirstInstruction)
{
    cancelled = 1;
    EXPECT_EQ(Run(PushText(0)), 0);
    EXPECT_EQ(written(), "");
    EXPECT_EQ(application.timeouts, std::vector<std::string>{"Application timed out"});
    EXPECT_TRUE(application.fatal_errors.empty());
    EXPECT_TRUE(vm()->halted());
    EXPECT_EQ(vm()->Go(), 0);
    EXPECT_EQ(application.timeouts.size(), 1u) << "a halted machine tells nothing more";
}

TEST_F(ZephVMTest, CancelledFlagEndsAnEndlessLoop)
{
    application.recorded.limit = 100;
    application.recorded.limit_flag = &cancelled;
    std::string body = PushText(0);
    EXPECT_EQ(Run(body + Op(kJmp, -int(body.size()) - 6)), 0);
    EXPECT_EQ(application.timeouts.size(), 1u);
    EXPECT_EQ(written().size(), 105u);
}

TEST_F(ZephVMTest, CancelledFlagGoesBeforeTheExitFlag)
{
    cancelled = exited = 1;
    EXPECT_EQ(Run(""), 0);
    EXPECT_EQ(application.timeouts.size(), 1u);
}

TEST_F(ZephVMTest, ExitFlagEndsTheRunWithSuccess)
{
    exited = 1;
    EXPECT_EQ(Run(PushText(0)), 1);
    EXPECT_EQ(written(), "");
    EXPECT_FALSE(vm()->halted());
}

TEST_F(ZephVMTest, HaltedGoesBeforeTheExitFlag)
{
    Run(Op(0x0001));
    exited = 1;
    EXPECT_EQ(vm()->Go(), 0);
}

TEST_F(ZephVMTest, FatalErrorLeavesTheLoopBeforeTheNextInstruction)
{
    EXPECT_EQ(Run(PushText(0) + Op(kPop) + PushText(1)), 0);
    EXPECT_EQ(Fatal(), "Stack underflow");
    EXPECT_EQ(written(), "alpha");
}

TEST_F(ZephVMTest, HeartbeatIsNoticedWhenTheCounterHasMoved)
{
    heartbeat = 5;
    EXPECT_EQ(vm()->last_heartbeat(), 0);
    vm()->Go();
    EXPECT_EQ(vm()->last_heartbeat(), 5);
    heartbeat = 2;
    vm()->Go();
    EXPECT_EQ(vm()->last_heartbeat(), 2) << "any other value counts";
}

TEST_F(ZephVMTest, CancelledMachineNoticesNoHeartbeat)
{
    heartbeat = 5;
    cancelled = 1;
    vm()->Go();
    EXPECT_EQ(vm()->last_heartbeat(), 0);
}

TEST_F(ZephVMTest, HeartbeatReachesTheParent)
{
    ZephVM* child = Make(vm(), nullptr, nullptr, nullptr);
    heartbeat = 3;
    child->Go();
    EXPECT_EQ(child->last_heartbeat(), 3);
    EXPECT_EQ(vm()->last_heartbeat(), 3);
    child->Shutdown();
}

TEST_F(ZephVMTest, ChildWithoutFlagsOfItsOwnPollsThoseOfItsParent)
{
    Code(PushText(0));
    ZephVM* child = Make(vm(), nullptr, nullptr, nullptr);
    cancelled = 1;
    EXPECT_EQ(child->Go(), 0);
    EXPECT_EQ(application.timeouts.size(), 1u);
    child->Shutdown();

    cancelled = 0;
    int own_cancelled = 1;
    child = Make(vm(), nullptr, &own_cancelled, nullptr);
    EXPECT_EQ(child->Go(), 0);
    own_cancelled = 0;
    child->Shutdown();

    child = Make(vm(), nullptr, nullptr, nullptr);
    exited = 1;
    EXPECT_EQ(child->Go(), 1);
    EXPECT_EQ(written(), "");
    child->Shutdown();
}

TEST_F(ZephVMTest, ParentLivesUntilItsLastChildEnds)
{
    ZephVM* parent = Make(nullptr, &heartbeat, &cancelled, &exited);
    ZephVM* child = Make(parent, nullptr, nullptr, nullptr);
    parent->Shutdown();
    heartbeat = 9;
    child->Heartbeat();
    EXPECT_EQ(parent->last_heartbeat(), 9);
    child->Shutdown();
}

TEST_F(ZephVMTest, SegmentThatIsGoneIsAFatalError)
{
    Segment* first = segments.Start();
    Segment* second = segments.Segment_Add();
    segments.SetStart(1);
    vm();
    // An image with segment 0 only takes the place of the one that the machine began.
    UNIXFileManager files(nullptr);
    TaggedFile image(&files);
    TestImage bytes;
    bytes.Add("segs", Dwords({1, 0, 0, 0}));
    ASSERT_TRUE(image.Open("memory", new MemoryFile(&files, bytes.Bytes())));
    ASSERT_TRUE(segments.Read(&image));
    ASSERT_EQ(segments.Get(1), nullptr);
    EXPECT_EQ(vm()->Go(), 0);
    EXPECT_EQ(Fatal(), "Invalid segment reference");
    EXPECT_TRUE(vm()->halted());
    // A read leaves the segments that it replaces to those who may run in them.
    delete first;
    delete second;
}

TEST_F(ZephVMTest, OperandsMayPassTheEndOfTheCode)
{
    // The instruction runs with the zeros behind the code; the next round ends.
    EXPECT_EQ(Run(Op(kPushC)), 1);
    ASSERT_EQ(depth(), 1);
    EXPECT_EQ(stack()->PopI(), 0);
    EXPECT_EQ(Run(Op(kPushI) + "\x01"), 1);
    EXPECT_EQ(stack()->PopI(), 1);
    EXPECT_EQ(Run(Op(kStoreGI, 1) + "\x05"), 1);
    EXPECT_EQ(GlobalInteger(1), 5);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(ZephVMTest, OperandsMayPassTheEndOfAFullBuffer)
{
    std::string code(Segment::kBlock - 2, '\0');
    EXPECT_EQ(Run(code + Op(kTagError)), 1);
    EXPECT_EQ(segments.Start()->size(), segments.Start()->capacity());
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(ZephVMTest, AnIllegalWordWithDoublesIsNamedByItsOwnPosition)
{
    // An illegal word's operands are taken before it is refused: the position in the
    // error is that of the word.
    EXPECT_EQ(Run(Op(kNoop) + Op(0xA001) + std::string(16, '\1')), 0);
    EXPECT_EQ(application.fatal_errors,
              std::vector<std::string>{
                  "Fatal error in /www/x.zpc @ [00000000:00000002]: Illegal Instruction\n"});
}

TEST_F(ZephVMTest, ErrorKeepsTheComposedText)
{
    EXPECT_STREQ(vm()->error().data(), "");
    Run(Op(kPop));
    EXPECT_STREQ(vm()->error().data(),
                 "Fatal error in /www/x.zpc @ [00000000:00000000]: Stack underflow\n");
}

TEST_F(ZephVMTest, FatalErrorReturnsZeroForItsHandler)
{
    EXPECT_EQ(vm()->FatalError("message"), 0);
    EXPECT_TRUE(vm()->halted());
}

TEST_F(ZephVMTest, KnowsItsPathAndApplication)
{
    EXPECT_STREQ(vm()->path().data(), "/www/x.zpc");
    EXPECT_EQ(vm()->application(), &application);
    ZephVM* cut = new ZephVM("/www/y.zpc and more", 10, &application, &dictionary, &systems,
                             &globals, &segments, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr, &heartbeat, &cancelled, &exited, nullptr);
    EXPECT_STREQ(cut->path().data(), "/www/y.zpc");
    cut->Shutdown();
}

}  // namespace
