#include "variables/VariableHash.h"

#include <string.h>

#include <string>

#include <gtest/gtest.h>

#include "TestNames.h"
#include "TestVariables.h"
#include "variables/ReferenceVariable.h"

namespace {

TEST(VariableHash, AVariableIsMadeWhenItsSlotIsFirstTouched)
{
    Names names;
    VariableHash hash(&names, 12, 512);
    int slot = hash.Insert("Count", 5);
    EXPECT_EQ(hash.Index(slot, 0), nullptr);
    Variable* made = hash.Index(slot, 1);
    ASSERT_NE(made, nullptr);
    EXPECT_STREQ(made->name().data(), "Count");
    EXPECT_EQ(hash.Index(slot, 0), made);
}

TEST(VariableHash, AVariableOfASlotPointsAtAPermanentName)
{
    Names names;
    VariableHash hash(&names, 12, 512);
    int copied = hash.Insert("copied", -1);
    int borrowed = hash.Insert("borrowed", -1);
    int length;
    EXPECT_NE(hash.Index(copied, 1)->NameBytes(&length), hash.Name(copied, &length));
    names.is_permanent = true;
    EXPECT_EQ(hash.Index(borrowed, 1)->NameBytes(&length), hash.Name(borrowed, &length));
    EXPECT_EQ(NameOf(*hash.Index(borrowed, 0)), "borrowed");
    EXPECT_EQ(NameOf(*hash.Index(hash.Insert(-2), 1)), "");
}

// In one bucket, where every shorter name goes in front of all others.
TEST(VariableHash, ACopyFollowsItsOwnInsertionsAlone)
{
    Names names;
    VariableHash source(&names, 0, 8);
    source.Insert("first", -1);
    VariableHash copy(source);
    VariableHash untouched(source);
    source.Insert("two", -1);
    copy.Insert("next", -1);
    copy.Insert("3", -1);
    static const struct {
        const char* name;
        int in_source, in_copy, in_untouched;
    } rows[] = {{"first", 0, 0, 0}, {"two", 1, -1, -1}, {"next", -1, 1, -1}, {"3", -1, 2, -1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(source.Seek(-1, row.name, -1, nullptr), row.in_source);
        EXPECT_EQ(copy.Seek(-1, row.name, -1, nullptr), row.in_copy);
        EXPECT_EQ(untouched.Seek(-1, row.name, -1, nullptr), row.in_untouched);
    }
}

TEST(VariableHash, ASlotOutOfRangeHasNoVariable)
{
    Names names;
    VariableHash hash(&names, 12, 512);
    hash.Insert("a", 1);
    static const int outside[] = {-1, 1, 512, 0x7FFFFFFF, int(0x80000000u)};
    for (int slot : outside) {
        SCOPED_TRACE(slot);
        EXPECT_EQ(hash.Index(slot, 1), nullptr);
    }
}

TEST(VariableHash, NamesIgnoreLetterCaseAndKeepTheirFirstSpelling)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    hash.SetVariable("Total", -1, "1", -1);
    hash.SetVariable("TOTAL", -1, "2", -1);
    EXPECT_EQ(hash.Entries(), 1);
    Variable* found = nullptr;
    EXPECT_EQ(hash.Find(&found, "total", -1, 0), 1);
    EXPECT_STREQ(found->name().data(), "Total");
    EXPECT_STREQ(found->value().data(), "2");
}

TEST(VariableHash, FindLeavesTheResultAloneForAnUnknownName)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    hash.Insert("ab", 2);
    Variable other("x", -1);
    Variable* found = &other;
    EXPECT_EQ(hash.Find(&found, "a", 1, 1), 0);
    EXPECT_EQ(hash.Find(&found, "abc", 3, 1), 0);
    EXPECT_EQ(found, &other);
    EXPECT_EQ(hash.Find(&found, "ab", 2, 0), 1);
    EXPECT_EQ(found, nullptr);
}

TEST(VariableHash, SeekTakesANameFromThePool)
{
    Names names;
    int index = names.Entry_Add("beta", -1);
    VariableHash hash(&names, 0, 8);
    hash.Insert("alpha", -1);
    int slot = hash.Insert(index);
    _VH_Entry* entry = nullptr;
    EXPECT_EQ(hash.Seek(index, nullptr, 0, &entry), slot);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->dictionary_index, index);
    EXPECT_EQ(hash.Seek(99, nullptr, 0, nullptr), -1);
}

TEST(VariableHash, AnIndexWithoutANameIsStoredButNotLinked)
{
    Names names;
    VariableHash hash(&names, 0, 8);
    EXPECT_EQ(hash.Insert(77), 0);
    EXPECT_EQ(hash.Entries(), 1);
    EXPECT_EQ(hash.Seek(77, nullptr, 0, nullptr), -1);
    hash.Insert("later", -1);
    EXPECT_EQ(hash.Seek(-1, "later", -1, nullptr), 1);
}

TEST(VariableHash, AnIndexWithoutANameIsNotTheEmptyName)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    int empty = names.Entry_Add("", 0);
    hash.Insert(empty);
    EXPECT_EQ(hash.Seek(empty, nullptr, 0, nullptr), 0);
    EXPECT_EQ(hash.Seek(77, nullptr, 0, nullptr), -1);
    EXPECT_EQ(hash.Seek(-1, nullptr, 0, nullptr), -1);
}

TEST(VariableHash, AKnownIndexDoesNotAddTheNameAgain)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    int index = names.Entry_Add("x", -1);
    hash.Insert(index, "x", 1, nullptr);
    EXPECT_EQ(names.size(), 1u);
    hash.Insert(-1, "y", 1, nullptr);
    EXPECT_EQ(names.size(), 2u);
}

TEST(VariableHash, SetVariableTakesThePlaceOfTheOneThatWasThere)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    Variable* first = new Variable("v", -1, "1", -1);
    first->IncRefCount();
    hash.SetVariable(first);
    hash.SetVariable(new Variable("V", -1, "2", -1));
    EXPECT_EQ(first->refcount(), 1);
    first->DecRefCount();
    Variable* found = nullptr;
    hash.Find(&found, "v", -1, 0);
    EXPECT_STREQ(found->value().data(), "2");
    EXPECT_EQ(hash.Entries(), 1);
}

TEST(VariableHash, ClearVariableTellsWhetherItWasThere)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    hash.SetVariable("v", -1, "1", -1);
    hash.Insert("untouched", -1);
    EXPECT_EQ(hash.ClearVariable("V", -1), 1);
    EXPECT_TRUE(hash.Index(0, 0)->IsNULL());
    EXPECT_EQ(hash.ClearVariable("untouched", -1), 0);
    EXPECT_EQ(hash.ClearVariable("nosuch", -1), 0);
}

TEST(VariableHash, GrowsBeyondItsFirstBlockAndFindsAll)
{
    Names names;
    VariableHash hash(&names, 2, 8);
    for (int i = 0; i < 2000; ++i)
        EXPECT_EQ(hash.Insert(("name" + std::to_string(i)).c_str(), -1), i);
    for (int i = 0; i < 2000; ++i)
        EXPECT_EQ(hash.Seek(-1, ("NAME" + std::to_string(i)).c_str(), -1, nullptr), i);
}

TEST(VariableHash, ACopyHasTheSlotsAndNamesButNoVariables)
{
    Names names;
    VariableHash source(&names, 4, 8);
    source.SetVariable("a", -1, "1", -1);
    source.Insert("b", -1);
    VariableHash copy(source);
    EXPECT_EQ(copy.Entries(), 2);
    EXPECT_EQ(copy.Index(0, 0), nullptr);
    EXPECT_EQ(copy.Seek(-1, "B", -1, nullptr), 1);
    _VH_Entry* entry = nullptr;
    copy.Seek(-1, "a", -1, &entry);
    EXPECT_EQ(entry->version, -1);
    copy.SetVariable("a", -1, "2", -1);
    EXPECT_STREQ(source.Index(0, 0)->value().data(), "1");
    EXPECT_EQ(copy.Insert("c", -1), 2);
    EXPECT_EQ(source.Entries(), 2);
}

// The slots of a copy have the version -1 until something is put into them.
TEST(VariableHash, WhateverFillsASlotSetsItsVersion)
{
    Names names;
    VariableHash source(&names, 4, 8);
    for (const char* name : {"made", "stored", "reference", "untouched"})
        source.Insert(name, -1);
    VariableHash copy(source);
    Held target = Fresh("target");
    copy.Index(0, 1);
    copy.SetVariable(new Variable("stored", -1, "1", -1));
    EXPECT_EQ(copy.SetVariable_Reference(2, target.get()), 1);
    static const int versions[] = {0, 0, 0, -1};
    for (int slot = 0; slot < 4; ++slot) {
        SCOPED_TRACE(slot);
        _VH_Entry* entry = nullptr;
        ASSERT_EQ(copy.Seek(slot, nullptr, 0, &entry), slot);
        EXPECT_EQ(entry->version, versions[slot]);
    }
}

TEST(VariableHash, DumpReleasesTheVariablesAndKeepsTheSlots)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    Variable* variable = new Variable("v", -1, "1", -1);
    variable->IncRefCount();
    hash.SetVariable(variable);
    hash.Dump();
    EXPECT_EQ(variable->refcount(), 1);
    variable->DecRefCount();
    EXPECT_EQ(hash.Entries(), 1);
    EXPECT_EQ(hash.Index(0, 0), nullptr);
}

TEST(VariableHash, AReferenceTakesThePlaceOfASlotsVariable)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    Variable* former = new Variable("Slot", -1, "1", -1);
    former->IncRefCount();
    hash.SetVariable(former);
    Held target = Fresh("target");
    EXPECT_EQ(hash.SetVariable_Reference(0, target.get()), 1);
    EXPECT_EQ(former->refcount(), 1);
    former->DecRefCount();
    Variable* reference = hash.Index(0, 0);
    EXPECT_EQ(reference->type(), Variable::kReference);
    EXPECT_EQ(reference->NextIdentity(), target.get());
    EXPECT_EQ(NameOf(*reference), "Slot");
    EXPECT_EQ(reference->refcount(), 1);
    EXPECT_EQ(target->refcount(), 2);
    EXPECT_EQ(hash.SetVariable_Reference(0, reference), 1);
    EXPECT_EQ(hash.Index(0, 0), reference);
    EXPECT_EQ(reference->refcount(), 1);
}

TEST(VariableHash, AReferenceFillsAnEmptySlotAndNoOther)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    hash.Insert("a", -1);
    Held target = Fresh("target");
    EXPECT_EQ(hash.SetVariable_Reference(0, target.get()), 1);
    EXPECT_EQ(ValueOf(*hash.Index(0, 0)), "target");
    for (int slot : {-1, 1, 0x7FFFFFFF}) {
        SCOPED_TRACE(slot);
        EXPECT_EQ(hash.SetVariable_Reference(slot, target.get()), 0);
    }
    EXPECT_EQ(target->refcount(), 2);
}

TEST(VariableHash, AReferenceMayLeadToTheVariableThatItReplaces)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    hash.SetVariable("v", -1, "value", -1);
    Held onto(new ReferenceVariable("r", -1, hash.Index(0, 0)));
    EXPECT_EQ(hash.SetVariable_Reference(0, onto.get()), 1);
    EXPECT_EQ(ValueOf(*hash.Index(0, 0)), "value");
}

TEST(VariableHash, AllocatedVarsAreThoseThatWereMade)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    hash.SetVariable("z", -1, "1", -1);
    hash.Insert("untouched", -1);
    hash.SetVariable("a", -1, "2", -1);
    Held first = Fresh();
    {
        VariableList list;
        list.Insert(first.get(), kListTail);
        hash.AllocatedVars(&list);
        EXPECT_EQ(list.Entries(), 3);
        EXPECT_EQ(list.First(), first.get());
        EXPECT_EQ(list.Next(), hash.Index(0, 0));
        EXPECT_EQ(list.Next(), hash.Index(2, 0));
        EXPECT_EQ(hash.Index(0, 0)->refcount(), 2);
    }
    EXPECT_EQ(hash.Index(0, 0)->refcount(), 1);
}

TEST(VariableHash, ADeepCopyHasAVariableOfItsOwnForEachOne)
{
    Names names;
    VariableHash source(&names, 4, 8);
    source.SetVariable("a", -1, "1", -1);
    source.Insert("b", -1);
    source.SetVariable_Fancy("c[2]:x", -1, "deep", -1, 0);
    Names copied(names);
    VariableHash copy(nullptr, &copied, source);
    EXPECT_EQ(copy.names(), &copied);
    EXPECT_EQ(copy.Entries(), 3);
    EXPECT_EQ(copy.Index(1, 0), nullptr);
    ASSERT_NE(copy.Index(0, 0), nullptr);
    EXPECT_EQ(copy.Index(0, 0)->refcount(), 1);
    copy.SetVariable("A", -1, "2", -1);
    EXPECT_EQ(ValueOf(*source.Index(0, 0)), "1");
    EXPECT_EQ(NameOf(*copy.Index(0, 0)), "a");
    copy.SetVariable_Fancy("c[2]:x", -1, "changed", -1, 0);
    EXPECT_EQ(ValueOf(*At(*source.Index(2, 0), 2)), "deep");
    copy.Insert("d", -1);
    EXPECT_EQ(names.size(), 3u);
    EXPECT_EQ(copied.size(), 4u);
}

TEST(VariableHash, APlainTableHasNoLevels)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    hash.SetVariable("v", -1, "1", -1);
    hash.Push();
    hash.SetVariable(new Variable("v", -1, "2", -1));
    EXPECT_EQ(hash.Pop(), 0);
    EXPECT_EQ(ValueOf(*hash.Index(0, 0)), "2");
    EXPECT_EQ(hash.Version(), 0);
    EXPECT_EQ(hash.RealIdentity(), &hash);
    EXPECT_FALSE(hash.is_system());
}

// The place of a virtual function in the table of its class, as a pointer to it tells.
template <class Function>
long PlaceOf(Function function)
{
    long word;
    memcpy(&word, &function, sizeof word);
    return (word & ~1L) / long(sizeof(void*));
}

TEST(VariableHash, VirtualFunctionsStandInTheirOrder)
{
    using Hash = VariableHash;
    const int kDestructors = 2;
    const long places[] = {
        PlaceOf<int (Hash::*)(Variable*)>(&Hash::Insert),
        PlaceOf<int (Hash::*)(const char*, int)>(&Hash::Insert),
        PlaceOf<int (Hash::*)(int)>(&Hash::Insert),
        PlaceOf<int (Hash::*)(const char*, int, const char*, int)>(&Hash::SetVariable),
        PlaceOf<int (Hash::*)(Variable*)>(&Hash::SetVariable),
        PlaceOf(&Hash::SetVariable_Reference),
        PlaceOf(&Hash::SetVariable_Fancy),
        PlaceOf(&Hash::Seek),
        PlaceOf<int (Hash::*)(int, const char*, int, Variable*)>(&Hash::Insert),
        PlaceOf(&Hash::Version),
        PlaceOf(&Hash::ClearVariable),
        PlaceOf(&Hash::Find),
        PlaceOf(&Hash::LookupVariable_Fancy),
        PlaceOf(&Hash::Index),
        PlaceOf(&Hash::Entries),
        PlaceOf(&Hash::AllocatedVars),
        PlaceOf<bool (Hash::*)(TaggedFile*, int)>(&Hash::Read),
        PlaceOf<bool (Hash::*)(TaggedFile*, int)>(&Hash::Write),
        PlaceOf<bool (Hash::*)(TaggedFile*)>(&Hash::Read),
        PlaceOf<bool (Hash::*)(TaggedFile*)>(&Hash::Write),
        PlaceOf(&Hash::error),
        PlaceOf(&Hash::Error),
        PlaceOf(&Hash::Push),
        PlaceOf(&Hash::Pop),
        PlaceOf(&Hash::RealIdentity),
    };
    long expected = kDestructors;
    for (long place : places)
        EXPECT_EQ(place, expected++);
}

TEST(VariableHash, RecyclingKeepsPlainScalarsOfTheFirstSlotsAsNull)
{
    Names names;
    VariableHash hash(&names, 4, 8);
    for (const char* name : {"text", "integer", "double", "array", "shared", "behind"})
        hash.Insert(name, -1);
    Variable* kept[3];
    for (int slot = 0; slot < 3; ++slot)
        kept[slot] = hash.Index(slot, 1);
    kept[0]->SetValue("text", -1);
    kept[1]->SetValue_Integer(7);
    kept[2]->SetValue_Double(0.5);
    hash.Index(3, 1)->Element(AggregateIndex(1), 1);
    Variable* shared = hash.Index(4, 1);
    shared->SetValue("shared", -1);
    shared->IncRefCount();
    hash.Index(5, 1);
    hash.Recycle(5);
    for (int slot = 0; slot < 3; ++slot) {
        SCOPED_TRACE(slot);
        ASSERT_EQ(hash.Index(slot, 0), kept[slot]);
        EXPECT_TRUE(kept[slot]->IsNULL());
        EXPECT_EQ(kept[slot]->primary_type(), Variable::kNone);
        EXPECT_STREQ(kept[slot]->value().data(), "");
        EXPECT_EQ(kept[slot]->value_integer(), 0);
    }
    for (int slot : {3, 5})
        EXPECT_EQ(hash.Index(slot, 0), nullptr);
    // One that lives on elsewhere leaves another one of its name.
    ASSERT_NE(hash.Index(4, 0), nullptr);
    EXPECT_NE(hash.Index(4, 0), shared);
    EXPECT_STREQ(hash.Index(4, 0)->name().data(), "shared");
    EXPECT_TRUE(hash.Index(4, 0)->IsNULL());
    EXPECT_STREQ(shared->value().data(), "shared");
    EXPECT_EQ(shared->refcount(), 1);
    shared->DecRefCount();
}

}  // namespace
