// Loops of every kind notice that the run is cancelled and that the script is to give a sign
// of life, whatever they are made of.
#include <thread>

#include "CalledMachine.h"
#include "vm/Feature.h"

namespace {

// Counts signs of life. Asks for the next one at once, and cancels the run at the last one.
class Beats : public Feature {
public:
    Beats(ZephVM* machine, int* heartbeat, int* cancelled, int last)
        : Feature(machine, kLockfile), m_heartbeat(heartbeat), m_cancelled(cancelled), m_last(last)
    {
    }
    void Heartbeat() override
    {
        ++s_count;
        *m_cancelled = s_count == m_last;
        ++*m_heartbeat;
    }

    static inline int s_count = 0;

private:
    int* m_heartbeat;
    int* m_cancelled;
    int m_last;
};

// Sets a flag in a thread of its own when the machine has noticed its first heartbeat, and so
// is under way.
class CancelSoon {
public:
    CancelSoon(ZephVM* machine, int* heartbeat, int* flag)
        : m_thread([machine, flag] {
              while (machine->last_heartbeat() == 0)
                  std::this_thread::yield();
              __atomic_store_n(flag, 1, __ATOMIC_RELAXED);
          })
    {
        *heartbeat = 1;
    }
    ~CancelSoon() { m_thread.join(); }

private:
    std::thread m_thread;
};

struct Loop {
    const char* name;
    std::string body;  // ends with a jump to its start, the distance missing
    int jump;
};

const int kManyTurns = 2000000000;

// Each turns without end, or as good as: globals 0 and 1 count.
std::vector<Loop> Loops()
{
    std::string add = Op(kPushG, 0) + Op(kPushI, 1) + Op(kAdd) + Op(kPopG, 0);
    std::string add_variable = Op(kPushG, 0) + Op(kPushG, 1) + Op(kAdd) + Op(kPopG, 0);
    std::string element = Op(kPushG, 2) + Op(kPushI, 1) + Op(kElemReadonly);
    return {
        {"jump", "", kJmp},
        {"jump behind an instruction", Op(kIncG, 0, 1), kJmp},
        {"handled", Op(kIncG, 0, 1) + Op(kNoop), kJmp},
        {"number compared", Op(kPushG, 0) + Op(kPushI, 5) + Op(kLt), kJmpNe},
        {"variables compared", Op(kPushG, 0) + Op(kPushG, 1) + Op(kNe), kJmpNe},
        {"stack compared", Op(kPushI, 0) + Op(kPushI, 5) + Op(kLt), kJmpNe},
        {"operands compared", element + Op(kPushI, 5) + Op(kLt), kJmpNe},
        {"global compared", Op(kCmpGI, 0, 5), kJmpLt},
        {"globals compared", Op(kCmpGG, 0, 1), kJmpNe},
        {"conditional jump", Op(kPushI, 1), kJmpNe},
        {"conditional jump on a variable", Op(kPushG, 1), kJmpNe},
        {"increment loop", Op(kIncG, 0, 1) + Op(kCmpGI, 0, kManyTurns), kJmpLt},
        {"increment loop on the stack",
         Op(kIncG, 0, 1) + Op(kPushG, 0) + OpDouble(kPushF, kManyTurns) + Op(kLt), kJmpNe},
        {"number loop", add + Op(kPushG, 0) + Op(kPushI, kManyTurns) + Op(kLt), kJmpNe},
        {"number loop of a global", add + Op(kCmpGI, 0, kManyTurns), kJmpLt},
        {"variable loop", add_variable + Op(kPushG, 0) + OpDouble(kPushF, kManyTurns) + Op(kCmp),
         kJmpLt},
    };
}

class StepPollingTest : public CalledMachineTest {
protected:
    // The machine of a loop and of code behind it.
    void Load(const Loop& loop, DecodedCode::Eagerness eagerness, const std::string& behind = "")
    {
        End();
        application.timeouts.clear();
        heartbeat = cancelled = 0;
        Beats::s_count = 0;
        Global(0)->SetValue_Integer(0);
        Global(1)->SetValue_Integer(1);
        Global(2)->Element(AggregateIndex(1), 1)->SetValue_Integer(2);
        Code(loop.body + Op(loop.jump, -int(loop.body.size()) - 6) + behind);
        MachineInnards::SetEagerness(vm(), eagerness);
    }
    void ExpectTimeout()
    {
        EXPECT_EQ(vm()->Go(), 0);
        EXPECT_EQ(application.timeouts.size(), 1u);
        EXPECT_TRUE(application.fatal_errors.empty());
    }
};

const DecodedCode::Eagerness kAll[] = {DecodedCode::kAlways, DecodedCode::kWhenRepeated,
                                       DecodedCode::kNever};

TEST_F(StepPollingTest, EveryLoopNoticesThatItIsCancelled)
{
    for (const Loop& loop : Loops()) {
        for (auto eagerness : kAll) {
            SCOPED_TRACE(loop.name + std::string(" ") + std::to_string(eagerness));
            Load(loop, eagerness);
            vm()->Push_Feature(new Beats(vm(), &heartbeat, &cancelled, 3));
            heartbeat = 1;
            ExpectTimeout();
            EXPECT_EQ(Beats::s_count, 3);
        }
    }
}

// With nothing that looks up for it beforehand.
TEST_F(StepPollingTest, EveryLoopNoticesAFlagOfAnotherThread)
{
    for (const Loop& loop : Loops()) {
        for (auto eagerness : kAll) {
            SCOPED_TRACE(loop.name + std::string(" ") + std::to_string(eagerness));
            Load(loop, eagerness);
            CancelSoon cancel(vm(), &heartbeat, &cancelled);
            ExpectTimeout();
        }
    }
}

// A text of some length takes the time of many turns.
TEST_F(StepPollingTest, LongAppendsAreNoticedWithinATurn)
{
    const int kAppends = 20;
    std::string code;
    for (int i = 0; i < kAppends; ++i)
        code += Op(kPushG, 0) + Op(kPushG, 1) + Op(kCat) + Op(kPopG, 0);
    for (int length : {10, 100000}) {
        SCOPED_TRACE(length);
        Load({"", code + Op(kPushI, 1), kJmpLt}, DecodedCode::kAlways);
        std::string text(size_t(length), 'x');
        globals.Index(1, 1)->SetValue(text.data(), length);
        vm()->Push_Feature(new Beats(vm(), &heartbeat, &cancelled, -1));
        heartbeat = 1;
        EXPECT_EQ(vm()->Go(), 1);
        EXPECT_EQ(globals.Index(0, 1)->value().length(), kAppends * length + 1) << "behind a 0";
        EXPECT_EQ(Beats::s_count > kAppends, length > 1000);
    }
}

// The heartbeat moves all the time, and the loop does what it does undisturbed.
TEST_F(StepPollingTest, ALoopGoesOnWhereItWas)
{
    std::string add = Op(kPushG, 0) + Op(kPushI, 1) + Op(kAdd) + Op(kPopG, 0);
    std::string element = Op(kPushG, 2) + Op(kPushI, 1);
    const Loop kLoops[] = {
        {"number compared",
         Op(kIncG, 0, 1) + Op(kIncG, 1, 1) + Op(kPushG, 0) + Op(kPushI, 500) + Op(kLt), kJmpNe},
        {"global compared", Op(kIncG, 0, 1) + Op(kIncG, 1, 1) + Op(kCmpGI, 0, 500), kJmpLt},
        {"increment loop", Op(kIncG, 1, 1) + Op(kIncG, 0, 1) + Op(kCmpGI, 0, 500), kJmpLt},
        {"number loop", Op(kIncG, 1, 1) + add + Op(kPushG, 0) + Op(kPushI, 500) + Op(kLt), kJmpNe},
        {"variable loop",
         Op(kStoreGI, 1, 1) + Op(kPushG, 0) + Op(kPushG, 1) + Op(kAdd) + Op(kPopG, 0) +
             Op(kStoreGI, 1, 501) + Op(kPushG, 0) + Op(kPushI, 500) + Op(kCmp),
         kJmpLt},
        {"conditional jump", Op(kIncG, 1, 1) + add + Op(kPushG, 0) + Op(kPushI, 500) + Op(kSub),
         kJmpNe},
        {"operands compared",
         Op(kIncG, 1, 1) + Op(kIncG, 0, 1) + Op(kPushG, 0) + element + Op(kElem) + Op(kStore) +
             element + Op(kElemReadonly) + Op(kPushI, 500) + Op(kLt),
         kJmpNe},
    };
    for (const Loop& loop : kLoops) {
        for (auto eagerness : kAll) {
            SCOPED_TRACE(loop.name + std::string(" ") + std::to_string(eagerness));
            Load(loop, eagerness, Op(kPushI, 77));
            vm()->Push_Feature(new Beats(vm(), &heartbeat, &cancelled, -1));
            heartbeat = 1;
            EXPECT_EQ(vm()->Go(), 1);
            EXPECT_EQ(GlobalInteger(0), 500);
            EXPECT_EQ(GlobalInteger(1), 501);
            EXPECT_EQ(depth(), 1);
            EXPECT_EQ(stack()->PopI(), 77);
            // At least once in so many turns as a look may be late.
            EXPECT_GE(Beats::s_count, 500 / 34);
        }
    }
}

// Plain calls, so that no open tag may be there to tell of the heartbeat.
TEST_F(StepPollingTest, CallsInALoopNoticeThatItIsCancelled)
{
    std::string f = Op(kIncG, 0, 1) + Op(kPushI, 1) + Op(kRet);
    std::string body = Op(kCall, 0) + Op(kPop);
    functions.Function_Add(0, 6, "f", -1, "", -1, 0);
    for (auto eagerness : kAll) {
        SCOPED_TRACE(eagerness);
        Load({"", "", kJmp}, eagerness);
        End();
        Code(Op(kJmp, int(f.size())) + f + body + Op(kJmp, -int(body.size()) - 6));
        MachineInnards::SetEagerness(vm(), eagerness);
        CancelSoon cancel(vm(), &heartbeat, &cancelled);
        ExpectTimeout();
    }
}

// The function calls itself, and no jump goes backward.
TEST_F(StepPollingTest, CallsOfCallsNoticeThatTheyAreCancelled)
{
    std::string f = Op(kIncG, 0, 1) + Op(kCall, 0) + Op(kRetN);
    functions.Function_Add(0, 6, "f", -1, "", -1, 0);
    for (auto eagerness : kAll) {
        SCOPED_TRACE(eagerness);
        Load({"", "", kJmp}, eagerness);
        End();
        Code(Op(kJmp, int(f.size())) + f + Op(kCall, 0));
        MachineInnards::SetEagerness(vm(), eagerness);
        vm()->Push_Feature(new Beats(vm(), &heartbeat, &cancelled, 20));
        heartbeat = 1;
        ExpectTimeout();
        EXPECT_EQ(Beats::s_count, 20);
        EXPECT_LT(GlobalInteger(0), 20 * 40) << "it looks up every so many calls";
    }
}

int* s_flag;
int s_calls;

// A function of a library that finds the time used up.
int Cancel(ZephVM*, VariableHash*, Variable* result, void**)
{
    *s_flag = ++s_calls == 50;
    return result->SetValue_Integer(s_calls);
}

const _ZP_EL_Function kLibrary[] = {
    {"cancel", 6, 0, nullptr, Cancel},
    {nullptr, 0, 0, nullptr, nullptr},
};

TEST_F(StepPollingTest, NothingRunsBehindACallThatCancels)
{
    UseLibrary(kLibrary);
    s_flag = &cancelled;
    int f = External("cancel", "");
    for (auto eagerness : kAll) {
        SCOPED_TRACE(eagerness);
        s_calls = 0;
        Load({"",
              Op(kIncG, 0, 1) + Op(kCall, f) + Op(kPopG, 1) + Op(kPushG, 0) + Op(kPushI, 1000) +
                  Op(kLt),
              kJmpNe},
             eagerness);
        ExpectTimeout();
        EXPECT_EQ(GlobalInteger(0), 50);
        EXPECT_EQ(GlobalInteger(1), 49);
        EXPECT_EQ(depth(), 1);
    }
}

}  // namespace
