#include "variables/VariableHash.h"

#include <string.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

// A pool of names that counts how often it is added to.
class Names : public NamePool {
public:
    const char* Entry(int index, int* size) override
    {
        bool known = index >= 0 && size_t(index) < m_texts.size();
        if (size)
            *size = known ? int(m_texts[size_t(index)].size()) : 0;
        return known ? m_texts[size_t(index)].data() : nullptr;
    }
    int Entry_Add(const char* text, int length) override
    {
        m_texts.emplace_back(text, length < 0 ? strlen(text) : size_t(length));
        return int(m_texts.size()) - 1;
    }
    size_t size() const { return m_texts.size(); }

private:
    std::vector<std::string> m_texts;
};

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

}  // namespace
