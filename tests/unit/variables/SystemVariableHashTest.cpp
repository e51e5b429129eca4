#include "variables/SystemVariableHash.h"

#include <map>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestNames.h"
#include "TestVariables.h"

namespace {

class SystemVariableHashTest : public ::testing::Test {
protected:
    Variable* Look(const char* name, int create = 0)
    {
        Variable* found = nullptr;
        m_hash.Find(&found, name, -1, create);
        return found;
    }
    std::string Value(const char* name)
    {
        Variable* found = Look(name);
        return found ? ValueOf(*found) : "none";
    }
    int VersionOf(const char* name)
    {
        _VH_Entry* entry = nullptr;
        return m_hash.Seek(-1, name, -1, &entry) < 0 ? -99 : entry->version;
    }
    // Puts a new variable into the slot of that name.
    void Put(const char* name, const char* text)
    {
        m_hash.SetVariable(new Variable(name, -1, text, -1));
    }

    Names m_names;
    SystemVariableHash m_hash{&m_names, 4, 8};
};

TEST_F(SystemVariableHashTest, PopWithoutPushChangesNothing)
{
    Put("v", "1");
    EXPECT_EQ(m_hash.Pop(), 0);
    EXPECT_EQ(Value("v"), "1");
    m_hash.Push();
    EXPECT_EQ(m_hash.Pop(), 1);
    EXPECT_EQ(m_hash.Pop(), 0);
    EXPECT_EQ(m_hash.Version(), 0);
}

TEST_F(SystemVariableHashTest, TheVersionIsTheDepth)
{
    EXPECT_EQ(m_hash.Version(), 0);
    m_hash.Push();
    m_hash.Push();
    EXPECT_EQ(m_hash.Version(), 2);
    Put("v", "1");
    EXPECT_EQ(VersionOf("v"), 2);
    m_hash.Pop();
    EXPECT_EQ(m_hash.Version(), 1);
}

TEST_F(SystemVariableHashTest, PopPutsAReplacedVariableBack)
{
    Put("v", "outer");
    Variable* outer = Look("v");
    m_hash.Push();
    Put("V", "inner");
    EXPECT_EQ(Value("v"), "inner");
    EXPECT_EQ(outer->refcount(), 1);
    EXPECT_EQ(VersionOf("v"), 1);
    EXPECT_EQ(m_hash.Pop(), 1);
    EXPECT_EQ(Look("v"), outer);
    EXPECT_EQ(Value("v"), "outer");
    EXPECT_EQ(VersionOf("v"), 0);
    EXPECT_EQ(m_hash.Entries(), 1);
}

TEST_F(SystemVariableHashTest, PopReleasesWhatTheLevelPutIn)
{
    m_hash.Push();
    Variable* inner = new Variable("v", -1, "1", -1);
    inner->IncRefCount();
    m_hash.SetVariable(inner);
    m_hash.Pop();
    EXPECT_EQ(inner->refcount(), 1);
    inner->DecRefCount();
    EXPECT_EQ(Look("v"), nullptr);
    // The slot stays.
    EXPECT_EQ(m_hash.Entries(), 1);
}

TEST_F(SystemVariableHashTest, InsertReplacesANameWithinALevelOnly)
{
    EXPECT_EQ(m_hash.Insert(new Variable("v", -1, "first", -1)), 0);
    // At level 0 an insertion takes a slot of its own, behind the first.
    EXPECT_EQ(m_hash.Insert(new Variable("v", -1, "second", -1)), 1);
    EXPECT_EQ(Value("v"), "first");
    m_hash.Push();
    EXPECT_EQ(m_hash.Insert(new Variable("V", -1, "third", -1)), 0);
    EXPECT_EQ(m_hash.Entries(), 2);
    EXPECT_EQ(Value("v"), "third");
    m_hash.Pop();
    EXPECT_EQ(Value("v"), "first");
}

TEST_F(SystemVariableHashTest, AllFormsOfInsertionAreRecorded)
{
    Put("v", "kept");
    int index = m_names.Entry_Add("v", -1);
    size_t size = m_names.size();
    m_hash.Push();
    EXPECT_EQ(m_hash.Insert("v", 1), 0);
    EXPECT_EQ(Look("v"), nullptr);
    m_hash.Pop();
    EXPECT_EQ(Value("v"), "kept");
    m_hash.Push();
    EXPECT_EQ(m_hash.Insert(index), 0);
    EXPECT_EQ(Look("v"), nullptr);
    m_hash.Pop();
    EXPECT_EQ(Value("v"), "kept");
    m_hash.Push();
    EXPECT_EQ(m_hash.Insert(index, nullptr, 0, new Variable("v", 1, "other", -1)), 0);
    EXPECT_EQ(Value("v"), "other");
    m_hash.Pop();
    EXPECT_EQ(Value("v"), "kept");
    EXPECT_EQ(m_hash.Entries(), 1);
    EXPECT_EQ(m_names.size(), size);
}

TEST_F(SystemVariableHashTest, AnInsertedNameIsEmptyBehindItsLevel)
{
    m_hash.Push();
    EXPECT_EQ(m_hash.Insert(new Variable("v", -1, "1", -1)), 0);
    EXPECT_EQ(VersionOf("v"), 1);
    m_hash.Pop();
    EXPECT_EQ(Look("v"), nullptr);
    EXPECT_EQ(VersionOf("v"), 0);
    EXPECT_EQ(m_hash.Entries(), 1);
}

TEST_F(SystemVariableHashTest, FindRecordsWhatItMakes)
{
    m_hash.Insert("v", -1);
    m_hash.Push();
    EXPECT_EQ(Look("v", 0), nullptr);
    Variable* made = Look("v", 1);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(VersionOf("v"), 1);
    made->SetValue("1", -1);
    made->IncRefCount();
    m_hash.Pop();
    EXPECT_EQ(Look("v"), nullptr);
    EXPECT_EQ(VersionOf("v"), 0);
    EXPECT_EQ(made->refcount(), 1);
    made->DecRefCount();
}

TEST_F(SystemVariableHashTest, TheVersionOfAnEmptySlotIsPutBackBehindWhatFindMade)
{
    m_hash.Push();
    m_hash.Insert("v", -1);
    ASSERT_EQ(VersionOf("v"), 1);
    m_hash.Push();
    ASSERT_NE(Look("v", 1), nullptr);
    ASSERT_EQ(VersionOf("v"), 2);
    m_hash.Pop();
    EXPECT_EQ(Look("v"), nullptr);
    EXPECT_EQ(VersionOf("v"), 1);
}

TEST_F(SystemVariableHashTest, SetTextIsTakenBackOnlyWhereItMadeTheVariable)
{
    Put("old", "1");
    m_hash.Insert("slot", -1);
    m_hash.Push();
    m_hash.SetVariable("old", -1, "2", -1);
    m_hash.SetVariable("slot", -1, "2", -1);
    m_hash.SetVariable("fresh", -1, "2", -1);
    m_hash.SetVariable_Fancy("field:x", -1, "2", -1, 0);
    m_hash.Pop();
    EXPECT_EQ(Value("old"), "2");
    EXPECT_EQ(Value("slot"), "none");
    EXPECT_EQ(Value("fresh"), "none");
    EXPECT_EQ(Value("field"), "none");
}

TEST_F(SystemVariableHashTest, WhatIndexMakesStaysBehindTheLevel)
{
    m_hash.Insert("v", -1);
    m_hash.Push();
    Variable* made = m_hash.Index(0, 1);
    m_hash.Pop();
    EXPECT_EQ(m_hash.Index(0, 0), made);
}

TEST_F(SystemVariableHashTest, AReferenceIsTakenBack)
{
    Put("v", "outer");
    Variable* outer = Look("v");
    Held target = Fresh("target");
    m_hash.Push();
    EXPECT_EQ(m_hash.SetVariable_Reference(0, target.get()), 1);
    EXPECT_EQ(Value("v"), "target");
    EXPECT_EQ(NameOf(*Look("v")), "v");
    EXPECT_EQ(Look("v")->type(), Variable::kReference);
    EXPECT_EQ(VersionOf("v"), 1);
    EXPECT_EQ(target->refcount(), 2);
    m_hash.Pop();
    EXPECT_EQ(Look("v"), outer);
    EXPECT_EQ(target->refcount(), 1);
}

TEST_F(SystemVariableHashTest, AReferenceToWhatIsThereIsNoChange)
{
    Put("v", "outer");
    Variable* outer = Look("v");
    m_hash.Push();
    EXPECT_EQ(m_hash.SetVariable_Reference(0, outer), 1);
    EXPECT_EQ(Look("v"), outer);
    EXPECT_EQ(m_hash.SetVariable_Reference(1, outer), 0);
    EXPECT_EQ(m_hash.SetVariable_Reference(-1, outer), 0);
    m_hash.Pop();
    EXPECT_EQ(Look("v"), outer);
    EXPECT_EQ(outer->refcount(), 1);
}

TEST_F(SystemVariableHashTest, ASlotChangedTwiceEndsWithTheFirstChange)
{
    Put("v", "outer");
    m_hash.Push();
    Put("v", "first");
    Put("v", "second");
    m_hash.Pop();
    EXPECT_EQ(Value("v"), "first");
    EXPECT_EQ(VersionOf("v"), 1);
    m_hash.Push();
    Put("w", "first");
    Put("w", "second");
    Put("w", "third");
    m_hash.Pop();
    EXPECT_EQ(Value("w"), "second");
}

TEST_F(SystemVariableHashTest, LevelsAreTakenBackOneByOne)
{
    Put("v", "0");
    m_hash.Push();
    Put("v", "1");
    m_hash.Push();
    Put("v", "2");
    m_hash.Push();
    EXPECT_EQ(Value("v"), "2");
    m_hash.Pop();
    EXPECT_EQ(Value("v"), "2");
    m_hash.Pop();
    EXPECT_EQ(Value("v"), "1");
    EXPECT_EQ(VersionOf("v"), 1);
    Put("w", "1");
    m_hash.Pop();
    EXPECT_EQ(Value("v"), "0");
    EXPECT_EQ(Value("w"), "none");
    // Without a level a replaced variable is gone.
    Put("v", "new");
    EXPECT_EQ(m_hash.Pop(), 0);
    EXPECT_EQ(Value("v"), "new");
}

TEST_F(SystemVariableHashTest, TheSameVariablePutTwiceKeepsItsCounts)
{
    Variable* variable = new Variable("v", -1, "1", -1);
    m_hash.SetVariable(variable);
    m_hash.Push();
    variable->IncRefCount();
    m_hash.SetVariable(variable);
    EXPECT_EQ(variable->refcount(), 2);
    m_hash.Pop();
    EXPECT_EQ(Look("v"), variable);
    EXPECT_EQ(variable->refcount(), 1);
}

TEST(SystemVariableHashEnd, ReleasesWhatTheRecordsHold)
{
    Names names;
    Variable* outer = new Variable("v", -1, "1", -1);
    Variable* middle = new Variable("v", -1, "2", -1);
    outer->IncRefCount();
    middle->IncRefCount();
    {
        SystemVariableHash hash(&names, 4, 8);
        hash.SetVariable(outer);
        hash.Push();
        hash.SetVariable(middle);
        hash.Push();
        hash.SetVariable(new Variable("v", -1, "3", -1));
        EXPECT_EQ(outer->refcount(), 2);
    }
    EXPECT_EQ(outer->refcount(), 1);
    EXPECT_EQ(middle->refcount(), 1);
    outer->DecRefCount();
    middle->DecRefCount();
}

TEST_F(SystemVariableHashTest, ACloneStartsAtLevelZero)
{
    Put("v", "outer");
    m_hash.Push();
    Put("v", "inner");
    Names copied(m_names);
    SystemVariableHash clone(nullptr, &copied, m_hash);
    EXPECT_TRUE(clone.is_system());
    EXPECT_EQ(clone.Version(), 0);
    EXPECT_EQ(clone.Pop(), 0);
    Variable* found = nullptr;
    ASSERT_EQ(clone.Find(&found, "v", -1, 0), 1);
    ASSERT_NE(found, nullptr);
    EXPECT_NE(found, Look("v"));
    EXPECT_EQ(ValueOf(*found), "inner");
    m_hash.Pop();
    EXPECT_EQ(ValueOf(*found), "inner");
}

TEST_F(SystemVariableHashTest, ACloneKeepsTheVersions)
{
    Put("outer", "0");
    m_hash.Push();
    m_hash.Push();
    Put("inner", "2");
    m_hash.Insert("empty", -1);
    Names copied(m_names);
    VariableHash plain(nullptr, &copied, m_hash);
    SystemVariableHash system(nullptr, &copied, m_hash);
    static const int versions[] = {0, 2, 2};
    for (VariableHash* clone : {&plain, static_cast<VariableHash*>(&system)}) {
        for (int slot = 0; slot < 3; ++slot) {
            SCOPED_TRACE(slot);
            _VH_Entry* entry = nullptr;
            ASSERT_EQ(clone->Seek(slot, nullptr, 0, &entry), slot);
            EXPECT_EQ(entry->version, versions[slot]);
        }
    }
}

// What a table with levels holds, kept in the simplest way: the text of each name, and
// for each level what the changed names had, in order. An absent text is "none".
struct Model {
    std::map<std::string, std::string> slots;
    std::vector<std::vector<std::pair<std::string, std::string>>> levels;

    bool has(const std::string& name) const { return slots.count(name) != 0; }
    void Change(const std::string& name, const std::string& text)
    {
        if (!levels.empty())
            levels.back().emplace_back(name, has(name) ? slots[name] : "none");
        slots[name] = text;
    }
    void Touch(const std::string& name)
    {
        if (has(name) && slots[name] == "none")
            Change(name, "");
    }
    void SetText(const std::string& name, const std::string& text)
    {
        if (!has(name))
            Change(name, text);
        Touch(name);
        slots[name] = text;
    }
    bool Pop()
    {
        if (levels.empty())
            return false;
        for (const auto& record : levels.back())
            slots[record.first] = record.second;
        levels.pop_back();
        return true;
    }
};

TEST_F(SystemVariableHashTest, RandomChangesMatchAPlainModel)
{
    std::mt19937 random(4711);
    auto below = [&](unsigned limit) { return unsigned(random() % limit); };
    Model model;
    Held target = Fresh("shared");
    for (int step = 0; step < 40000; ++step) {
        std::string name = "n" + std::to_string(below(12));
        std::string text = std::to_string(step);
        switch (below(8)) {
            case 0:
                m_hash.Push();
                model.levels.emplace_back();
                break;
            case 1:
                ASSERT_EQ(m_hash.Pop() != 0, model.Pop());
                break;
            case 2:
                Put(name.c_str(), text.c_str());
                model.Change(name, text);
                break;
            case 3:
                // At level 0 a name that is there would get a second slot.
                if (model.levels.empty() && model.has(name))
                    break;
                m_hash.Insert(new Variable(name.c_str(), -1, text.c_str(), -1));
                model.Change(name, text);
                break;
            case 4:
                m_hash.SetVariable(name.c_str(), -1, text.c_str(), -1);
                // The text of a reference is its target's.
                if (model.has(name) && model.slots[name] == "shared") {
                    target->SetValue("shared", -1);
                    break;
                }
                model.SetText(name, text);
                break;
            case 5:
                Look(name.c_str(), 1);
                model.Touch(name);
                break;
            case 6: {
                int slot = m_hash.Seek(-1, name.c_str(), -1, nullptr);
                if (m_hash.SetVariable_Reference(slot, target.get()))
                    model.Change(name, "shared");
                break;
            }
            default:
                EXPECT_EQ(m_hash.ClearVariable(name.c_str(), -1) != 0,
                          model.has(name) && model.slots[name] != "none");
                target->SetValue("shared", -1);
                if (model.has(name) && model.slots[name] != "none" && model.slots[name] != "shared")
                    model.slots[name] = "";
                break;
        }
        ASSERT_EQ(m_hash.Version(), int(model.levels.size()));
        ASSERT_EQ(size_t(m_hash.Entries()), model.slots.size());
        for (const auto& slot : model.slots)
            ASSERT_EQ(Value(slot.first.c_str()), slot.second) << slot.first << " " << step;
    }
    m_hash.Dump();
    while (m_hash.Pop()) {
    }
    m_hash.Dump();
    EXPECT_EQ(target->refcount(), 1);
}

}  // namespace
