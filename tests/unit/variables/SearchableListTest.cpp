#include "variables/SearchableList.h"

#include <gtest/gtest.h>

#include <strings.h>

#include <string>

namespace {

struct Index {
    const char* name;
    int number;
};

class IndexList : public SearchableList<Index, const char*> {
public:
    IndexList() : SearchableList(0) {}
    int Compare(const char* key, Index* index) override { return strcasecmp(key, index->name); }
};

}  // namespace

TEST(SearchableList, FindsFromTheHeadAndOnFromTheCursor)
{
    Index indexes[] = {{"name", 1}, {"city", 2}, {"NAME", 3}, {"zip", 4}};
    IndexList list;
    for (Index& index : indexes)
        list.Insert(&index, kListTail);
    EXPECT_EQ(list.Find("Name"), &indexes[0]);
    EXPECT_EQ(list.Current(), &indexes[0]);
    EXPECT_EQ(list.FindNext("Name"), &indexes[2]);
    EXPECT_EQ(list.Current(), &indexes[2]);
    EXPECT_EQ(list.Next(), &indexes[3]);
    EXPECT_EQ(list.FindNext("name"), nullptr);
    EXPECT_EQ(list.Current(), nullptr);
    EXPECT_EQ(list.FindNext("name"), nullptr);
    EXPECT_EQ(list.Find("zip"), &indexes[3]);
    EXPECT_EQ(list.Find("none"), nullptr);
    EXPECT_EQ(list.Current(), nullptr);
}

TEST(SearchableList, FindsNothingInAnEmptyList)
{
    IndexList list;
    EXPECT_EQ(list.Find("name"), nullptr);
    EXPECT_EQ(list.FindNext("name"), nullptr);
}
