#include "variables/ReferenceVariableHash.h"

#include <string>

#include <gtest/gtest.h>

#include "TestNames.h"
#include "TestVariables.h"
#include "variables/ReferenceVariable.h"
#include "variables/SystemVariableHash.h"

namespace {

// A view with slots, as a file's table gives them.
class SlottedView : public ReferenceVariableHash {
public:
    SlottedView(NamePool* names, VariableHash* target) : ReferenceVariableHash(names, target, 4, 8)
    {
    }
    int AddSlot(const char* name)
    {
        int slot = VariableHash::Insert(-1, name, -1, nullptr);
        EntryAt(slot)->version = -1;
        return slot;
    }
    int AddNamelessSlot()
    {
        int slot = VariableHash::Insert(-7, nullptr, 0, nullptr);
        EntryAt(slot)->version = -1;
        return slot;
    }
    int SlotInTarget(int slot) { return EntryAt(slot)->version; }
};

class ReferenceVariableHashTest : public ::testing::Test {
protected:
    ReferenceVariableHashTest()
    {
        m_target.Insert("first", -1);
        m_target.SetVariable("Shared", -1, "theirs", -1);
        m_shared = m_view.AddSlot("shared");
        m_only = m_view.AddSlot("Only");
    }
    std::string TargetValue(const char* name)
    {
        Variable* found = nullptr;
        if (!m_target.Find(&found, name, -1, 0))
            return "no slot";
        return found ? ValueOf(*found) : "none";
    }

    Names m_target_names;
    Names m_names;
    VariableHash m_target{&m_target_names, 4, 8};
    SlottedView m_view{&m_names, &m_target};
    int m_shared;
    int m_only;
};

TEST_F(ReferenceVariableHashTest, ASlotIsTheTargetsVariableOfThatName)
{
    Variable* variable = m_view.Index(m_shared, 0);
    ASSERT_NE(variable, nullptr);
    EXPECT_EQ(ValueOf(*variable), "theirs");
    EXPECT_EQ(m_view.SlotInTarget(m_shared), 1);
    EXPECT_EQ(m_view.Index(m_shared, 1), variable);
    EXPECT_EQ(m_target.Index(1, 0), variable);
}

TEST_F(ReferenceVariableHashTest, ASlotThatWasFoundIsNotLookedForAgain)
{
    m_view.Index(m_shared, 0);
    // Another slot of that name in front of the first is never seen.
    m_target.SetVariable(new Variable("shared", -1, "new", -1));
    EXPECT_EQ(ValueOf(*m_view.Index(m_shared, 0)), "new");
    EXPECT_EQ(m_view.SlotInTarget(m_shared), 1);
}

TEST_F(ReferenceVariableHashTest, ASlotThatTheTargetDoesNotHaveIsMadeThere)
{
    EXPECT_EQ(m_view.Index(m_only, 0), nullptr);
    EXPECT_EQ(m_view.SlotInTarget(m_only), -1);
    EXPECT_EQ(TargetValue("only"), "no slot");
    Variable* made = m_view.Index(m_only, 1);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(NameOf(*made), "Only");
    EXPECT_EQ(made->refcount(), 1);
    EXPECT_EQ(m_view.SlotInTarget(m_only), 2);
    EXPECT_EQ(m_target.Index(2, 0), made);
    EXPECT_EQ(m_view.Index(m_only, 1), made);
    EXPECT_EQ(m_target.Entries(), 3);
}

TEST_F(ReferenceVariableHashTest, ASlotWithoutAVariableInTheTargetIsMadeOnDemand)
{
    int slot = m_view.AddSlot("FIRST");
    EXPECT_EQ(m_view.Index(slot, 0), nullptr);
    EXPECT_EQ(m_view.SlotInTarget(slot), 0);
    Variable* made = m_view.Index(slot, 1);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(NameOf(*made), "first");
    EXPECT_EQ(m_target.Index(0, 0), made);
}

TEST_F(ReferenceVariableHashTest, TwoViewsOfATableShareItsVariables)
{
    SlottedView other(&m_names, &m_target);
    int slot = other.AddSlot("only");
    m_view.Index(m_only, 1)->SetValue("mine", -1);
    ASSERT_NE(other.Index(slot, 0), nullptr);
    EXPECT_EQ(ValueOf(*other.Index(slot, 0)), "mine");
}

TEST_F(ReferenceVariableHashTest, ASlotOutOfItsOwnRangeHasNoVariable)
{
    for (int i = 0; i < 4; ++i)
        m_target.SetVariable(("more" + std::to_string(i)).c_str(), -1, "x", -1);
    static const int outside[] = {-1, 2, 3, 0x7FFFFFFF};
    for (int slot : outside) {
        SCOPED_TRACE(slot);
        EXPECT_EQ(m_view.Index(slot, 1), nullptr);
        Held other = Fresh("x");
        EXPECT_EQ(m_view.SetVariable_Reference(slot, other.get()), 0);
    }
}

TEST_F(ReferenceVariableHashTest, FindGoesThroughASlotOfItsOwn)
{
    Variable* found = nullptr;
    EXPECT_EQ(m_view.Find(&found, "SHARED", -1, 0), 1);
    EXPECT_EQ(found, m_target.Index(1, 0));
    EXPECT_EQ(m_view.SlotInTarget(m_shared), 1);
    EXPECT_EQ(m_view.Find(&found, "only", -1, 0), 1);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(m_view.Find(&found, "only", -1, 1), 1);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(m_target.Index(2, 0), found);
}

TEST_F(ReferenceVariableHashTest, FindAsksTheTargetForOtherNames)
{
    Variable other;
    Variable* found = &other;
    EXPECT_EQ(m_view.Find(&found, "nosuch", -1, 1), 0);
    EXPECT_EQ(found, &other);
    EXPECT_EQ(m_view.Find(&found, "FIRST", -1, 1), 1);
    EXPECT_EQ(found, m_target.Index(0, 0));
}

TEST_F(ReferenceVariableHashTest, AReferenceIsSetInTheTarget)
{
    Held first = Fresh("1");
    Held second = Fresh("2");
    EXPECT_EQ(m_view.SetVariable_Reference(m_shared, first.get()), 1);
    EXPECT_EQ(TargetValue("shared"), "1");
    EXPECT_EQ(m_target.Index(1, 0)->type(), Variable::kReference);
    EXPECT_EQ(NameOf(*m_target.Index(1, 0)), "Shared");
    EXPECT_EQ(m_view.SetVariable_Reference(m_only, second.get()), 1);
    EXPECT_EQ(TargetValue("only"), "2");
    EXPECT_EQ(m_target.Entries(), 3);
    EXPECT_EQ(m_view.SlotInTarget(m_only), 2);
    EXPECT_EQ(ValueOf(*m_view.Index(m_only, 0)), "2");
}

TEST_F(ReferenceVariableHashTest, ANamelessSlotGetsAVariableOfItsOwn)
{
    int one = m_view.AddNamelessSlot();
    int two = m_view.AddNamelessSlot();
    EXPECT_EQ(m_view.Index(one, 0), nullptr);
    Variable* made = m_view.Index(one, 1);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(m_view.Index(one, 1), made);
    EXPECT_NE(m_view.Index(two, 1), made);
    int three = m_view.AddNamelessSlot();
    Held target = Fresh("target");
    EXPECT_EQ(m_view.SetVariable_Reference(three, target.get()), 1);
    EXPECT_EQ(ValueOf(*m_view.Index(three, 0)), "target");
}

TEST_F(ReferenceVariableHashTest, AFailedLookupTakesTheTargetsErrorOver)
{
    Variable* found = nullptr;
    EXPECT_EQ(m_view.LookupVariable_Fancy(&found, "Shared", -1, 0), 1);
    EXPECT_EQ(found, m_target.Index(1, 0));
    EXPECT_STREQ(m_view.error().data(), "");
    EXPECT_EQ(m_view.LookupVariable_Fancy(&found, "shared[x]", -1, 0), 0);
    EXPECT_STREQ(m_view.error().data(), "Array index must be positive integer");
    m_view.Error("");
    EXPECT_EQ(m_view.SetVariable_Fancy("shared[x]", -1, "v", -1, 0), 0);
    EXPECT_STREQ(m_view.error().data(), "Array index must be positive integer");
}

TEST_F(ReferenceVariableHashTest, OtherOperationsAreTheTargets)
{
    EXPECT_EQ(m_view.RealIdentity(), &m_target);
    EXPECT_EQ(m_view.Seek(-1, "SHARED", -1, nullptr), 1);
    EXPECT_EQ(m_view.Insert("empty", -1), 2);
    EXPECT_EQ(m_view.Insert(m_target_names.Entry_Add("indexed", -1)), 3);
    EXPECT_EQ(m_view.Insert(new Variable("inserted", -1, "i", -1)), 4);
    EXPECT_EQ(m_view.Insert(-1, "fourth", -1, nullptr), 5);
    EXPECT_EQ(m_view.Entries(), 6);
    EXPECT_EQ(m_target.Entries(), 6);
    EXPECT_EQ(TargetValue("inserted"), "i");
    EXPECT_EQ(TargetValue("indexed"), "none");
    m_view.SetVariable("only", -1, "o", -1);
    EXPECT_EQ(TargetValue("only"), "o");
    m_view.SetVariable(new Variable("only", -1, "p", -1));
    EXPECT_EQ(TargetValue("only"), "p");
    m_view.SetVariable_Fancy("only", -1, "q", -1, 1);
    EXPECT_EQ(ElementsOf(*m_target.Index(6, 0)), "1=p 2=q");
    EXPECT_EQ(m_view.ClearVariable("shared", -1), 1);
    EXPECT_EQ(TargetValue("shared"), "");
    VariableList list;
    m_view.AllocatedVars(&list);
    EXPECT_EQ(list.Entries(), 3);
    EXPECT_EQ(list.First(), m_target.Index(1, 0));
}

TEST(ReferenceVariableHash, LevelsAreThoseOfTheSystemsTable)
{
    Names target_names, names;
    SystemVariableHash target(&target_names, 4, 8);
    target.SetVariable("v", -1, "outer", -1);
    SlottedView view(&names, &target);
    int slot = view.AddSlot("v");
    int only = view.AddSlot("only");
    EXPECT_EQ(view.Pop(), 0);
    view.Push();
    EXPECT_EQ(target.Version(), 1);
    EXPECT_EQ(view.Version(), 1);
    Held other = Fresh("inner");
    view.SetVariable_Reference(slot, other.get());
    view.Index(only, 1);
    EXPECT_EQ(ValueOf(*view.Index(slot, 0)), "inner");
    EXPECT_EQ(view.Pop(), 1);
    EXPECT_EQ(ValueOf(*view.Index(slot, 0)), "outer");
    EXPECT_EQ(view.Index(only, 0), nullptr);
}

TEST(ReferenceVariableHash, AViewOfAViewGoesToTheTableBehindBoth)
{
    Names target_names, names;
    VariableHash target(&target_names, 4, 8);
    SlottedView first(&names, &target);
    SlottedView second(&names, &first);
    EXPECT_EQ(second.RealIdentity(), &target);
    int slot = second.AddSlot("v");
    second.Index(slot, 1)->SetValue("deep", -1);
    EXPECT_EQ(ValueOf(*target.Index(0, 0)), "deep");
}

}  // namespace
