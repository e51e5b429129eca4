// Variables by name.
#include "TestMachine.h"

namespace {

// A frame above another one, with locals of its own.
class LookupTest : public MachineTest {
protected:
    LookupTest() { locals.Insert("mine", -1); }
    ~LookupTest() override { End(); }

    void EnterFunction()
    {
        vm()->frame()->Set_LocalVariable_Hash(&locals, false);
        vm()->frame()->previous = new ZephVM_Frame;
    }
    Variable* Lookup(const std::string& name)
    {
        Variable* found = nullptr;
        String error;
        EXPECT_TRUE(vm()->Lookup_Variable(&found, name.data(), int(name.size()), &error));
        EXPECT_STREQ(error.data(), "");
        return found;
    }
    static Variable* In(VariableHash* variables, const char* name)
    {
        Variable* variable = nullptr;
        variables->Find(&variable, name, -1, 0);
        return variable;
    }

    // The variable is there, and it is that of the table.
    void ExpectIn(VariableHash* variables, const char* name, Variable* found)
    {
        SCOPED_TRACE(name);
        EXPECT_NE(found, nullptr);
        EXPECT_EQ(found, In(variables, name));
    }

    VariableHash locals{&dictionary, 4, 8};
};

TEST_F(LookupTest, ScopedNamesGoToTheirScopeOnly)
{
    EnterFunction();
    ExpectIn(&globals, "fresh", Lookup("g.fresh"));
    ExpectIn(&globals, "fresh", Lookup("global.Fresh"));
    EXPECT_NE(Lookup("l.fresh"), In(&globals, "fresh"));
    ExpectIn(&locals, "fresh", Lookup("local.fresh"));
    EXPECT_NE(In(&locals, "fresh"), nullptr);
    ExpectIn(&systems, "sysone", Lookup("s.sysone"));
    ExpectIn(&systems, "sysone", Lookup("SYSTEM.SYSONE"));
}

TEST_F(LookupTest, SystemVariablesAreNotMade)
{
    int entries = systems.Entries();
    EXPECT_EQ(Lookup("s.fresh"), nullptr);
    EXPECT_EQ(Lookup("s.never made"), nullptr);
    EXPECT_EQ(systems.Entries(), entries);
    EXPECT_EQ(In(&globals, "fresh"), nullptr);
}

TEST_F(LookupTest, NameInADatabaseThatIsNotOpenFindsNothing)
{
    int entries = globals.Entries();
    for (const char* name :
         {"d.field", "database.field", "customers.d.field", "a.database.field"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Lookup(name), nullptr);
    }
    EXPECT_EQ(globals.Entries(), entries);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(LookupTest, NameWithoutAScopeIsSearchedInOrder)
{
    EnterFunction();
    globals.SetVariable("sysone", -1, "global", -1);
    globals.SetVariable("mine", -1, "global", -1);
    ExpectIn(&systems, "sysone", Lookup("sysone"));
    ExpectIn(&globals, "mine", Lookup("mine"));  // the local one is not made
    locals.SetVariable("mine", -1, "local", -1);
    ExpectIn(&locals, "mine", Lookup("MINE"));
    locals.SetVariable("sysone", -1, "local", -1);
    ExpectIn(&systems, "sysone", Lookup("sysone"));
}

TEST_F(LookupTest, NameThatNoScopeHasBecomesAGlobal)
{
    EnterFunction();
    Variable* found = Lookup("fresh");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(In(&globals, "fresh"), found);
    EXPECT_EQ(In(&locals, "fresh"), nullptr);
    EXPECT_EQ(In(&systems, "fresh"), nullptr);
    EXPECT_TRUE(found->IsNULL());
    // A system slot without a variable is passed over.
    ExpectIn(&globals, "never made", Lookup("never made"));
}

TEST_F(LookupTest, LocalsAreSearchedAboveAnotherFrameOnly)
{
    locals.SetVariable("mine", -1, "local", -1);
    vm()->frame()->Set_LocalVariable_Hash(&locals, false);
    ExpectIn(&globals, "mine", Lookup("mine"));
    vm()->frame()->previous = new ZephVM_Frame;
    ExpectIn(&locals, "mine", Lookup("mine"));
}

TEST_F(LookupTest, SelectorsReachElements)
{
    EnterFunction();
    Variable* element = Lookup("basket[2]:price");
    ASSERT_NE(element, nullptr);
    element->SetValue("5", -1);
    EXPECT_EQ(Lookup("g.basket[2]:price"), element);
    EXPECT_STREQ(In(&globals, "basket")->value().data(), "5");
    Variable* cup = Lookup("l.tray:cup");
    EXPECT_EQ(Lookup("tray:cup"), cup);
    EXPECT_NE(In(&locals, "tray"), nullptr);
    EXPECT_EQ(Lookup("s.sysone:part"), nullptr) << "elements of the system's are not made";
    EXPECT_STREQ(In(&systems, "sysone")->value().data(), "system text");
}

TEST_F(LookupTest, ElementMissingInOneScopeIsSearchedInTheNext)
{
    EnterFunction();
    locals.SetVariable_Fancy("mine:here", -1, "local", -1, 0);
    EXPECT_STREQ(Lookup("mine:here")->value().data(), "local");
    Variable* missing = Lookup("mine:there");
    ASSERT_NE(missing, nullptr);
    EXPECT_EQ(Lookup("g.mine:there"), missing) << "made in the global of that name";
    EXPECT_EQ(In(&locals, "mine")->ElementsUsed(), 1);
}

TEST_F(LookupTest, BadSelectorIsAnErrorWithItsText)
{
    EnterFunction();
    locals.SetVariable("mine", -1, "local", -1);
    for (const char* name : {"one[-1]", "g.one[x]", "l.mine[", "mine[1]x", "s.sysone[-1]"}) {
        SCOPED_TRACE(name);
        Variable* found = vm()->Lookup_Global("one", -1);
        String error;
        EXPECT_FALSE(vm()->Lookup_Variable(&found, name, -1, &error));
        EXPECT_EQ(found, nullptr);
        EXPECT_STREQ(error.data(), "Array index must be positive integer");
        EXPECT_TRUE(application.fatal_errors.empty());
        EXPECT_EQ(vm()->Lookup_Variable(name, -1), nullptr);
        EXPECT_EQ(Fatal(), "Array index must be positive integer");
        application.fatal_errors.clear();
    }
}

TEST_F(LookupTest, ErrorInTheSystemScopeEndsTheSearch)
{
    int entries = globals.Entries();
    EXPECT_EQ(vm()->Lookup_Variable("sysone[x]", -1), nullptr);
    EXPECT_EQ(Fatal(), "Array index must be positive integer");
    EXPECT_EQ(globals.Entries(), entries);
}

TEST_F(LookupTest, ShortFormGivesTheVariable)
{
    ExpectIn(&globals, "one", vm()->Lookup_Variable("g.one and more", 5));
    EXPECT_EQ(vm()->Lookup_Variable("s.fresh", -1), nullptr);
    EXPECT_EQ(vm()->Lookup_Variable("d.field", -1), nullptr);
    EXPECT_TRUE(application.fatal_errors.empty());
}

TEST_F(LookupTest, TextOfAnElementThatEndsMayBeTheName)
{
    Variable* one = vm()->Lookup_Global("one", -1);
    std::string name = "one:a_member_whose_name_is_longer_than_a_name_in_place:b:c";
    Variable* element = one->Element(AggregateIndex(1), 1);
    element->SetValue(name.data(), -1);
    Variable* found = vm()->Lookup_Variable(element->value().data(), element->value().length());
    EXPECT_EQ(found, Lookup(name));
    EXPECT_EQ(one->aggregatetype(), kAggregateStructure);
}

TEST_F(LookupTest, GlobalIsMadeOnlyInASlot)
{
    int entries = globals.Entries();
    Variable* two = vm()->Lookup_Global("TWO", -1);
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(two, globals.Index(1, 0));
    EXPECT_EQ(vm()->Lookup_Global("two and more", 3), two);
    EXPECT_EQ(vm()->Lookup_Global("fresh", -1), nullptr);
    EXPECT_EQ(globals.Entries(), entries);
}

}  // namespace
