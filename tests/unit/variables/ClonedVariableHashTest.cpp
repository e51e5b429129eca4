#include "variables/ClonedVariableHash.h"

#include <string>

#include <gtest/gtest.h>

#include "TestNames.h"
#include "TestVariables.h"
#include "variables/ReferenceVariableHash.h"
#include "variables/SystemVariableHash.h"

namespace {

// Tells how often it was copied and how many copies there are.
class CountedNames : public Names {
public:
    CountedNames(int* copies, int* living) : m_copies(copies), m_living(living) {}
    CountedNames(const CountedNames& other)
        : Names(other), m_copies(other.m_copies), m_living(other.m_living)
    {
        ++*m_copies;
        ++*m_living;
        m_is_copy = true;
    }
    ~CountedNames() override
    {
        if (m_is_copy)
            --*m_living;
    }
    CountedNames* Clone() override { return new CountedNames(*this); }

private:
    int* m_copies;
    int* m_living;
    bool m_is_copy = false;
};

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
};

std::string Value(VariableHash& hash, const char* name)
{
    Variable* found = nullptr;
    if (!hash.Find(&found, name, -1, 0))
        return "no slot";
    return found ? ValueOf(*found) : "none";
}

class ClonedVariableHashTest : public ::testing::Test {
protected:
    template <class Hash>
    void Fill(Hash* hash)
    {
        hash->Insert("empty", -1);
        hash->SetVariable("v", -1, "before", -1);
        hash->SetVariable("w", -1, "other", -1);
    }

    int m_copies = 0;
    int m_living = 0;
    CountedNames m_source_names{&m_copies, &m_living};
};

TEST_F(ClonedVariableHashTest, APlainTableIsClonedIntoTheObjectItself)
{
    VariableHash source(&m_source_names, 4, 8);
    Fill(&source);
    Names names(m_source_names);
    ClonedVariableHash clone(nullptr, &names, source);
    EXPECT_EQ(clone.RealIdentity(), &clone);
    EXPECT_FALSE(clone.is_system());
    EXPECT_EQ(m_copies, 0);
    EXPECT_EQ(clone.Entries(), 3);
    EXPECT_EQ(clone.Index(0, 0), nullptr);
    ASSERT_NE(clone.Index(1, 0), nullptr);
    EXPECT_NE(clone.Index(1, 0), source.Index(1, 0));
    clone.SetVariable("v", -1, "after", -1);
    EXPECT_EQ(Value(clone, "V"), "after");
    EXPECT_EQ(Value(source, "v"), "before");
    EXPECT_EQ(Value(clone, "w"), "other");
}

TEST_F(ClonedVariableHashTest, ThePlainCloneIsATableLikeAnyOther)
{
    VariableHash source(&m_source_names, 4, 8);
    Fill(&source);
    Names names(m_source_names);
    ClonedVariableHash clone(nullptr, &names, source);
    EXPECT_EQ(clone.Insert("a", -1), 3);
    EXPECT_EQ(clone.Insert(names.Entry_Add("b", -1)), 4);
    EXPECT_EQ(clone.Insert(new Variable("c", -1, "1", -1)), 5);
    EXPECT_EQ(clone.Insert(-1, "d", -1, nullptr), 6);
    EXPECT_EQ(clone.Entries(), 7);
    EXPECT_EQ(source.Entries(), 3);
    EXPECT_EQ(clone.Seek(-1, "C", -1, nullptr), 5);
    clone.SetVariable(new Variable("c", -1, "2", -1));
    EXPECT_EQ(Value(clone, "c"), "2");
    EXPECT_EQ(clone.SetVariable_Fancy("c", -1, "3", -1, 1), 1);
    EXPECT_EQ(ElementsOf(*clone.Index(5, 0)), "1=2 2=3");
    EXPECT_EQ(clone.ClearVariable("v", -1), 1);
    EXPECT_EQ(clone.Version(), 0);
    Held target = Fresh("target");
    EXPECT_EQ(clone.SetVariable_Reference(6, target.get()), 1);
    EXPECT_EQ(Value(clone, "d"), "target");
    Variable* found = nullptr;
    EXPECT_EQ(clone.LookupVariable_Fancy(&found, "w[x]", -1, 0), 0);
    EXPECT_STREQ(clone.error().data(), "Array index must be positive integer");
    VariableList list;
    clone.AllocatedVars(&list);
    EXPECT_EQ(list.Entries(), 4);
    clone.Push();
    EXPECT_EQ(clone.Pop(), 0);
}

TEST_F(ClonedVariableHashTest, TheSystemsTableIsClonedUnderTheNamesGiven)
{
    SystemVariableHash source(&m_source_names, 4, 8);
    Fill(&source);
    Names names(m_source_names);
    ClonedVariableHash clone(nullptr, &names, source);
    EXPECT_NE(clone.RealIdentity(), &clone);
    EXPECT_NE(clone.RealIdentity(), &source);
    EXPECT_TRUE(clone.RealIdentity()->is_system());
    EXPECT_EQ(clone.RealIdentity()->names(), &names);
    EXPECT_EQ(m_copies, 0);
    EXPECT_EQ(clone.Index(0, 0), nullptr);
    EXPECT_NE(clone.Index(0, 1), nullptr);
    EXPECT_EQ(source.Index(0, 0), nullptr);
    ASSERT_NE(clone.Index(1, 0), nullptr);
    EXPECT_EQ(ValueOf(*clone.Index(1, 0)), "before");
    clone.Index(1, 0)->SetValue("after", -1);
    EXPECT_EQ(Value(source, "v"), "before");
    EXPECT_EQ(Value(*clone.RealIdentity(), "v"), "after");
    EXPECT_EQ(clone.Entries(), 3);
}

TEST_F(ClonedVariableHashTest, SlotsOfTheSystemsTableStayWhatTheyAreWithoutAName)
{
    SystemVariableHash source(&m_source_names, 4, 8);
    source.Insert(-1, "twice", -1, new Variable("twice", -1, "1", -1));
    source.Insert(-1, "twice", -1, new Variable("twice", -1, "2", -1));
    source.Insert(99, nullptr, 0, new Variable("", 0, "nameless", -1));
    Names names(m_source_names);
    ClonedVariableHash clone(nullptr, &names, source);
    static const char* const values[] = {"1", "2", "nameless"};
    for (int slot = 0; slot < 3; ++slot) {
        SCOPED_TRACE(slot);
        ASSERT_NE(clone.Index(slot, 0), nullptr);
        EXPECT_EQ(ValueOf(*clone.Index(slot, 0)), values[slot]);
    }
}

TEST_F(ClonedVariableHashTest, TheCloneOfTheSystemsTableHasLevels)
{
    SystemVariableHash source(&m_source_names, 4, 8);
    Fill(&source);
    source.Push();
    Names names(m_source_names);
    ClonedVariableHash clone(nullptr, &names, source);
    EXPECT_EQ(clone.Pop(), 0);
    clone.Push();
    EXPECT_EQ(clone.Version(), 1);
    Held target = Fresh("inner");
    EXPECT_EQ(clone.SetVariable_Reference(1, target.get()), 1);
    EXPECT_EQ(Value(clone, "v"), "inner");
    EXPECT_EQ(clone.Pop(), 1);
    EXPECT_EQ(Value(clone, "v"), "before");
    EXPECT_EQ(source.Pop(), 1);
}

TEST_F(ClonedVariableHashTest, AViewOfAPlainTableIsClonedUnderACopyOfItsNames)
{
    VariableHash target(&m_source_names, 4, 8);
    Fill(&target);
    Names view_names;
    SlottedView source(&view_names, &target);
    int w = source.AddSlot("W");
    int v = source.AddSlot("V");
    int only = source.AddSlot("Only");
    source.Index(w, 0);
    Names names(view_names);
    {
        ClonedVariableHash clone(nullptr, &names, source);
        EXPECT_EQ(m_copies, 1);
        EXPECT_EQ(m_living, 1);
        EXPECT_FALSE(clone.RealIdentity()->is_system());
        EXPECT_NE(clone.RealIdentity(), &target);
        EXPECT_NE(clone.RealIdentity(), &clone);
        EXPECT_EQ(ValueOf(*clone.Index(w, 0)), "other");
        EXPECT_EQ(ValueOf(*clone.Index(v, 0)), "before");
        EXPECT_EQ(clone.Index(only, 0), nullptr);
        clone.Index(v, 0)->SetValue("after", -1);
        Variable* made = clone.Index(only, 1);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(NameOf(*made), "Only");
        EXPECT_EQ(clone.Entries(), 4);
        EXPECT_EQ(clone.Seek(-1, "only", -1, nullptr), 3);
        Variable* found = nullptr;
        EXPECT_EQ(clone.Find(&found, "EMPTY", -1, 1), 1);
        EXPECT_EQ(found, clone.RealIdentity()->Index(0, 0));
        EXPECT_EQ(clone.LookupVariable_Fancy(&found, "v[x]", -1, 0), 0);
        EXPECT_STREQ(clone.error().data(), "Array index must be positive integer");
    }
    EXPECT_EQ(m_living, 0);
    EXPECT_EQ(Value(target, "v"), "before");
    EXPECT_EQ(target.Entries(), 3);
    EXPECT_EQ(target.Index(0, 0), nullptr);
}

TEST_F(ClonedVariableHashTest, AViewOfTheSystemsTableIsClonedUnderACopyOfItsNames)
{
    SystemVariableHash target(&m_source_names, 4, 8);
    Fill(&target);
    Names view_names;
    SlottedView source(&view_names, &target);
    int v = source.AddSlot("v");
    Names names(view_names);
    {
        ClonedVariableHash clone(nullptr, &names, source);
        EXPECT_EQ(m_copies, 1);
        EXPECT_TRUE(clone.RealIdentity()->is_system());
        EXPECT_NE(clone.RealIdentity()->names(), &names);
        EXPECT_EQ(ValueOf(*clone.Index(v, 0)), "before");
        clone.Push();
        clone.SetVariable(new Variable("v", -1, "inner", -1));
        EXPECT_EQ(ValueOf(*clone.Index(v, 0)), "inner");
        EXPECT_EQ(Value(source, "v"), "before");
        EXPECT_EQ(clone.Pop(), 1);
        EXPECT_EQ(ValueOf(*clone.Index(v, 0)), "before");
    }
    EXPECT_EQ(m_living, 0);
}

TEST_F(ClonedVariableHashTest, ACloneCanBeClonedAgain)
{
    VariableHash plain(&m_source_names, 4, 8);
    SystemVariableHash system(&m_source_names, 4, 8);
    Fill(&plain);
    Fill(&system);
    Names names(m_source_names);
    ClonedVariableHash first_plain(nullptr, &names, plain);
    ClonedVariableHash second_plain(nullptr, &names, first_plain);
    EXPECT_EQ(second_plain.RealIdentity(), &second_plain);
    EXPECT_EQ(ValueOf(*second_plain.Index(1, 0)), "before");
    EXPECT_NE(second_plain.Index(1, 0), first_plain.Index(1, 0));
    ClonedVariableHash first_system(nullptr, &names, system);
    ClonedVariableHash second_system(nullptr, &names, first_system);
    EXPECT_TRUE(second_system.RealIdentity()->is_system());
    EXPECT_NE(second_system.RealIdentity(), first_system.RealIdentity());
    EXPECT_EQ(ValueOf(*second_system.Index(1, 0)), "before");
    EXPECT_NE(second_system.Index(1, 0), first_system.Index(1, 0));
}

TEST_F(ClonedVariableHashTest, AReferenceIsClonedAsTheValueOfItsTarget)
{
    VariableHash source(&m_source_names, 4, 8);
    Fill(&source);
    Held target = Fresh("target");
    source.SetVariable_Reference(1, target.get());
    Names names(m_source_names);
    ClonedVariableHash clone(nullptr, &names, source);
    EXPECT_EQ(clone.Index(1, 0)->type(), Variable::kPlain);
    EXPECT_EQ(NameOf(*clone.Index(1, 0)), "v");
    target->SetValue("changed", -1);
    EXPECT_EQ(Value(clone, "v"), "target");
}

}  // namespace
