// Instructions that make one variable stand for another.
#include <limits.h>

#include "TestMachine.h"

namespace {

class ReferencesTest : public MachineTest {
protected:
    ReferencesTest()
    {
        bad_name = dictionary.Entry_Add("one[x]", -1);
        absent = dictionary.Entry_Add("s.nothing", -1);
        Global(1)->SetValue("target", -1);
    }
    ~ReferencesTest() override { End(); }

    Variable* Global(int slot) { return globals.Index(slot, 1); }
    Variable* Named(const char* name)
    {
        Variable* variable = nullptr;
        globals.Find(&variable, name, -1, 0);
        return variable;
    }
    // Runs a code with a variable on the stack that nobody else holds.
    int RunOnWatched(const std::string& code)
    {
        End();
        Code(code);
        stack()->PushV(new WatchedVariable("watched text", &ended), 0, 1);
        return vm()->Go();
    }
    void ExpectReference(Variable* variable)
    {
        ASSERT_NE(variable, nullptr);
        EXPECT_EQ(variable->type(), Variable::kReference);
        EXPECT_EQ(variable->RealIdentity(), Global(1));
        EXPECT_STREQ(variable->value().data(), "target");
        EXPECT_EQ(Global(1)->refcount(), 2) << "its own count and that of the reference";
    }

    int bad_name, absent;
    bool ended = false;
};

TEST_F(ReferencesTest, PoprnRefersByAName)
{
    EXPECT_EQ(Run(Op(kPushG, 1) + Op(kPushC, 0) + Op(kPopRN)), 1);
    ExpectReference(Named("alpha"));
    EXPECT_EQ(depth(), 0);
}

TEST_F(ReferencesTest, PoprncRefersByANameOfTheDictionary)
{
    EXPECT_EQ(Run(Op(kPushG, 1) + Op(kPopRNC, 0)), 1);
    ExpectReference(Named("alpha"));
    EXPECT_EQ(depth(), 0);
}

TEST_F(ReferencesTest, PoprgRefersByASlot)
{
    EXPECT_EQ(Run(Op(kPushG, 1) + Op(kPopRG, 0)), 1);
    ExpectReference(Global(0));
    EXPECT_EQ(depth(), 0);
}

TEST_F(ReferencesTest, PoprlRefersByALocalSlot)
{
    VariableHash locals(&dictionary, 4, 8);
    locals.Insert("mine", -1);
    Code(Op(kPushG, 1) + Op(kPopRL, 0));
    vm()->frame()->Set_LocalVariable_Hash(&locals, false);
    EXPECT_EQ(vm()->Go(), 1);
    ExpectReference(locals.Index(0, 0));
    EXPECT_EQ(Global(0)->type(), Variable::kPlain);
}

TEST_F(ReferencesTest, ReferMakesTheLowerOneStandForTheUpperOne)
{
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kPushG, 1) + Op(kRefer)), 1);
    ExpectReference(Global(0));
    EXPECT_EQ(Global(0)->refcount(), 1);
    EXPECT_EQ(depth(), 0);
}

TEST_F(ReferencesTest, WritingThroughAReferenceReachesTheTarget)
{
    EXPECT_EQ(Run(Op(kPushG, 1) + Op(kPopRG, 0) + Op(kPushC, 1) + Op(kPopG, 0)), 1);
    EXPECT_EQ(GlobalText(1), "beta");
}

TEST_F(ReferencesTest, VariableReferredToItselfStaysAsItIs)
{
    const std::string codes[] = {
        Op(kPushG, 1) + Op(kPopRG, 1),
        Op(kPushG, 1) + Op(kPushG, 1) + Op(kRefer),
        Op(kPushG, 1) + Op(kPopRNC, dictionary.Entry_Add("two", -1)),
    };
    for (const std::string& code : codes) {
        EXPECT_EQ(Run(code), 1);
        EXPECT_EQ(Global(1)->type(), Variable::kPlain);
        EXPECT_EQ(Global(1)->refcount(), 1);
        EXPECT_EQ(GlobalText(1), "target");
    }
}

TEST_F(ReferencesTest, TargetThatTheStackAloneHeldLivesByItsReference)
{
    const std::string codes[] = {Op(kPushC, 0) + Op(kPopRN), Op(kPopRNC, 3), Op(kPopRG, 0),
                                 Op(kPopRL, 2)};
    const char* names[] = {"alpha", "x.zp", "one", "three"};
    for (size_t i = 0; i < std::size(codes); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(RunOnWatched(codes[i]), 1);
        EXPECT_FALSE(ended);
        ASSERT_NE(Named(names[i]), nullptr);
        EXPECT_STREQ(Named(names[i])->value().data(), "watched text");
        EXPECT_EQ(Named(names[i])->RealIdentity()->refcount(), 1);
    }
}

TEST_F(ReferencesTest, OwnedTargetIsReleasedWhateverHappens)
{
    const struct {
        const char* what;
        std::string code;
        int result;
        const char* message;  // of the fatal error, null for none
    } rows[] = {
        {"a slot out of range", Op(kPopRG, INT_MAX), 1, nullptr},
        {"a negative slot", Op(kPopRG, -1), 1, nullptr},
        {"a local slot out of range", Op(kPopRL, INT_MIN), 1, nullptr},
        {"a name in no dictionary", Op(kPopRNC, INT_MAX), 0, "Invalid dictionary reference"},
        {"a bad name", Op(kPushC, bad_name) + Op(kPopRN), 0,
         "Array index must be positive integer"},
        {"a bad name of the dictionary", Op(kPopRNC, bad_name), 0,
         "Array index must be positive integer"},
        {"a name of no variable", Op(kPushC, absent) + Op(kPopRN), 1, nullptr},
        {"such a name of the dictionary", Op(kPopRNC, absent), 1, nullptr},
        {"no destination", Op(kRefer), 0, "Stack underflow"},
        {"a source that is a constant", Op(kPushI, 1) + Op(kRefer), 0,
         "Expected variable, found constant"},
        {"itself twice", Op(kDup) + Op(kRefer), 1, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        application.fatal_errors.clear();
        EXPECT_EQ(RunOnWatched(row.code), row.result);
        EXPECT_EQ(depth(), 0);
        EXPECT_TRUE(ended);
        if (row.message) {
            EXPECT_EQ(Fatal(), row.message);
        } else {
            EXPECT_TRUE(application.fatal_errors.empty());
        }
    }
}

TEST_F(ReferencesTest, ConstantIsNoTarget)
{
    const std::string codes[] = {Op(kPushI, 1) + Op(kPushC, 0) + Op(kPopRN),
                                 Op(kPushI, 1) + Op(kPopRNC, 0), Op(kPushI, 1) + Op(kPopRG, 0),
                                 Op(kPushI, 1) + Op(kPopRL, 0),
                                 Op(kPushI, 1) + Op(kPushG, 1) + Op(kRefer)};
    int entries = globals.Entries();
    for (const std::string& code : codes) {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(code), 0);
        EXPECT_EQ(Fatal(), "Expected variable, found constant");
        EXPECT_EQ(globals.Index(0, 0), nullptr);
        EXPECT_EQ(globals.Entries(), entries) << "the name was not looked up";
        EXPECT_EQ(Global(1)->refcount(), 1);
    }
}

TEST_F(ReferencesTest, MissingTargetIsFatalAndNothingIsMade)
{
    const std::string codes[] = {Op(kPushC, 0) + Op(kPopRN), Op(kPopRNC, 0), Op(kPopRG, 0),
                                 Op(kPopRL, 0), Op(kPushG, 1) + Op(kRefer)};
    int entries = globals.Entries();
    for (const std::string& code : codes) {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(code), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
        EXPECT_EQ(globals.Index(0, 0), nullptr);
        EXPECT_EQ(globals.Entries(), entries);
        EXPECT_EQ(Global(1)->refcount(), 1);
    }
}

TEST_F(ReferencesTest, NullVariableTakesNoReference)
{
    EXPECT_EQ(Run(Op(kPushS, 1) + Op(kPushG, 1) + Op(kRefer) + Op(kPushS, 1) + Op(kOut)), 1);
    EXPECT_EQ(written(), "");
    EXPECT_EQ(Global(1)->refcount(), 1);
}

}  // namespace
