// Structures whose members a script function supplies.
#include "vm/ZephVMCallbackVariableCallback.h"

#include "CalledMachine.h"

namespace {

class CallbackTest : public CalledMachineTest {
protected:
    // Makes global 0 such a structure.
    void Attach(const char* function, Variable* data)
    {
        Global(0)->Make_CallbackStruct(
            new ZephVMCallbackVariableCallback(vm(), function, -1, data));
    }
    // Ends the callback while its machine lives.
    void Detach() { Global(0)->Make_CallbackStruct(nullptr); }
    std::string Member(const char* name)
    {
        Variable* member = Global(0)->Element(AggregateIndex(name, -1), 0);
        return member ? member->value().data() : "(none)";
    }
};

TEST_F(CallbackTest, FunctionGetsTheStructureTheNameAndTheData)
{
    Script("f", "self var,name,data", Op(kPushL, 2) + Op(kOut) + Op(kPushL, 1) + Op(kRet));
    Variable* data = new Variable("", 0, "data", -1);
    Attach("f", data);
    EXPECT_EQ(Member("Member"), "Member");
    EXPECT_EQ(written(), "data");
    EXPECT_EQ(depth(), 0);
    EXPECT_EQ(data->refcount(), 2);
    Detach();
    EXPECT_EQ(data->refcount(), 1);
    data->DecRefCount();
}

TEST_F(CallbackTest, NumberIsPassedAsText)
{
    Script("f", "self,name,data", Op(kPushL, 1) + Op(kRet));
    Code("");
    ZephVMCallbackVariableCallback callback(vm(), "f", 1, nullptr);
    Variable* result;
    EXPECT_TRUE(callback.RunFunction(Global(1), AggregateIndex(12), &result));
    ASSERT_TRUE(result);
    EXPECT_STREQ(result->value().data(), "12");
}

TEST_F(CallbackTest, ScriptReadsMembersByTheCallback)
{
    Script("f", "self var,name,data", Op(kPushL, 1) + Op(kRet));
    Code(Op(kPushG, 0) + PushText("colour") + Op(kMembReadonly) + Op(kOut) + Op(kPushG, 0) +
         PushText("size") + Op(kMembReadonly) + Op(kOut));
    Attach("f", nullptr);
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(written(), "coloursize");
    Detach();
}

TEST_F(CallbackTest, HoldsACountOfTheMachine)
{
    Code("");
    ZephVM* machine = MakeAs<ZephVM>();
    EXPECT_EQ(MachineInnards::refcount(machine), 1);
    auto callback = new ZephVMCallbackVariableCallback(machine, "f", 1, nullptr);
    EXPECT_EQ(MachineInnards::refcount(machine), 2);
    machine->Shutdown();
    EXPECT_EQ(MachineInnards::refcount(machine), 1) << "it lives on";
    CallbackVariableCallback::Delete(callback);
}

TEST_F(CallbackTest, CallsThatCannotBeMadeAreFalse)
{
    Script("two", "a,b", Op(kRetN));
    Script("fatal", "a,b,c", Op(0xFFFF));
    Code("");
    Variable* result;
    ZephVMCallbackVariableCallback nameless(vm(), "", 0, nullptr);
    result = Global(1);
    EXPECT_FALSE(nameless.RunFunction(Global(1), AggregateIndex(1), &result));
    EXPECT_EQ(result, nullptr);
    for (const char* name : {"unknown", "two", "fatal"}) {
        SCOPED_TRACE(name);
        ZephVMCallbackVariableCallback callback(vm(), name, -1, nullptr);
        EXPECT_FALSE(callback.RunFunction(Global(1), AggregateIndex(1), &result));
        ASSERT_TRUE(result);
        EXPECT_TRUE(result->IsNULL());
    }
    EXPECT_EQ(Fatal(), "Illegal Instruction");
}

TEST_F(CallbackTest, DoesNotRunWithinItself)
{
    // The function asks its own structure for a member.
    Script("f", "self var,name,data",
           PushText("f") + Op(kOut) + Op(kPushL, 0) + PushText("inner") + Op(kMembReadonly) +
               Op(kOut) + PushText("outer") + Op(kRet));
    Code(Op(kPushG, 0) + PushText("member") + Op(kMembReadonly) + Op(kOut));
    Attach("f", nullptr);
    EXPECT_EQ(vm()->Go(), 1);
    EXPECT_EQ(written(), "fouter") << "the member within was NULL";
    Detach();
}

TEST_F(CallbackTest, ResultIsUsedAgainUnlessItIsKept)
{
    Script("f", "self,name,data", Op(kPushL, 1) + Op(kRet));
    Code("");
    ZephVMCallbackVariableCallback callback(vm(), "f", 1, nullptr);
    Variable* first;
    Variable* second;
    ASSERT_TRUE(callback.RunFunction(Global(1), AggregateIndex("one", -1), &first));
    EXPECT_STREQ(first->value().data(), "one");
    ASSERT_TRUE(callback.RunFunction(Global(1), AggregateIndex("two", -1), &second));
    EXPECT_EQ(first, second);
    first->IncRefCount();
    ASSERT_TRUE(callback.RunFunction(Global(1), AggregateIndex("three", -1), &second));
    EXPECT_NE(first, second);
    EXPECT_STREQ(first->value().data(), "two");
    EXPECT_EQ(first->refcount(), 1) << "only the keeper holds it now";
    first->DecRefCount();
}

TEST_F(CallbackTest, ResultThatBecameAReferenceIsNotWrittenThrough)
{
    Script("f", "self,name,data", Op(kPushL, 1) + Op(kRet));
    Code("");
    ZephVMCallbackVariableCallback callback(vm(), "f", 1, nullptr);
    Variable* result;
    ASSERT_TRUE(callback.RunFunction(Global(1), AggregateIndex("one", -1), &result));
    Global(2)->SetValue("target", -1);
    result->Make_Reference(Global(2));
    ASSERT_TRUE(callback.RunFunction(Global(1), AggregateIndex("two", -1), &result));
    EXPECT_STREQ(result->value().data(), "two");
    EXPECT_EQ(GlobalText(2), "target");
}

TEST_F(CallbackTest, ArgumentsAreGivenBack)
{
    Script("f", "self var,name var,data var", Op(kPushL, 1) + Op(kRet));
    Code("");
    Variable* data = new Variable;
    Variable* self = Global(1);
    {
        ZephVMCallbackVariableCallback callback(vm(), "f", 1, data);
        Variable* result;
        ASSERT_TRUE(callback.RunFunction(self, AggregateIndex("one", -1), &result));
        EXPECT_STREQ(result->value().data(), "one") << "the result is a copy";
        EXPECT_EQ(result->refcount(), 1);
    }
    EXPECT_EQ(self->refcount(), 1);
    EXPECT_EQ(data->refcount(), 1);
    data->DecRefCount();
}

}  // namespace
