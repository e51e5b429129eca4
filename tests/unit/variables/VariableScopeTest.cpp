#include <string>

#include <gtest/gtest.h>

#include "variables/VariableHash.h"

namespace {

const int kLocal = 0;
const int kGlobal = 1;
const int kSystem = 2;
const int kDatabase = 3;
const int kNone = 5;

struct Parsed {
    explicit Parsed(const std::string& name)
    {
        const char* start = nullptr;
        const char* alias_start = nullptr;
        int length = -1, alias_length = -1;
        kind = VariableHash::Scope(name.data(), int(name.size()), &start, &length, &alias_start,
                                   &alias_length);
        rest.assign(start, size_t(length));
        alias.assign(alias_start, size_t(alias_length));
    }
    int kind;
    std::string rest;
    std::string alias;
};

struct Row {
    const char* name;
    int kind;
    const char* rest;
    const char* alias;
};

template <size_t Count>
void Expect(const Row (&rows)[Count])
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Parsed parsed(row.name);
        EXPECT_EQ(parsed.kind, row.kind);
        EXPECT_EQ(parsed.rest, row.rest);
        EXPECT_EQ(parsed.alias, row.alias);
    }
}

TEST(VariableScope, OneLetterTellsTheScope)
{
    static const Row rows[] = {
        {"l.x", kLocal, "x", ""},      {"L.x", kLocal, "x", ""},    {"g.x", kGlobal, "x", ""},
        {"G.x", kGlobal, "x", ""},     {"s.x", kSystem, "x", ""},   {"S.x", kSystem, "x", ""},
        {"d.x", kDatabase, "x", ""},   {"D.x", kDatabase, "x", ""}, {"g.", kGlobal, "", ""},
        {"d.", kDatabase, "", ""},     {"g", kNone, "g", ""},       {"x.y", kNone, "x.y", ""},
        {"g.a.b", kGlobal, "a.b", ""},
    };
    Expect(rows);
}

TEST(VariableScope, ALetterWithAScopeOfItsOwnIsNoAlias)
{
    static const Row rows[] = {
        {"g.d.name", kGlobal, "d.name", ""},
        {"l.d.name", kLocal, "d.name", ""},
        {"s.database.name", kSystem, "database.name", ""},
        {"d.d.name", kDatabase, "d.name", ""},
        {"D.database.name", kDatabase, "database.name", ""},
    };
    Expect(rows);
}

TEST(VariableScope, AliasOfOneLetterNamesADatabase)
{
    static const Row rows[] = {
        {"a.d.field", kDatabase, "field", "a"},
        {"A.D.Field", kDatabase, "Field", "A"},
        {"a.d.f", kDatabase, "f", "a"},
        {"a.database.field", kDatabase, "field", "a"},
        {"a.DataBase.f", kDatabase, "f", "a"},
        {"a.d.b.c", kDatabase, "b.c", "a"},
        {"a.d", kNone, "a.d", ""},
        {"a.dx", kNone, "a.dx", ""},
        {"a.dx.y", kNone, "a.dx.y", ""},
        {"a.database", kNone, "a.database", ""},
        {"a.databases.x", kNone, "a.databases.x", ""},
        // A '.' stands for any letter.
        {"..d.x", kDatabase, "x", "."},
        {"..database.x", kDatabase, "x", "."},
    };
    Expect(rows);
}

TEST(VariableScope, AliasWithNothingBehindItIsReadAsAWord)
{
    static const Row rows[] = {
        {"a.d.", kDatabase, "", "a"},
        {"a.database.", kDatabase, "", "a"},
        // Here the word in front of the first '.' is empty.
        {"..d.", kNone, "..d.", ""},
    };
    Expect(rows);
}

TEST(VariableScope, WordsTellTheScopeInAnyLetterCase)
{
    static const Row rows[] = {
        {"local.x", kLocal, "x", ""},
        {"LOCAL.x", kLocal, "x", ""},
        {"global.x", kGlobal, "x", ""},
        {"GLOBAL.x", kGlobal, "x", ""},
        {"Global.X", kGlobal, "X", ""},
        {"system.x", kSystem, "x", ""},
        {"SYSTEM.x", kSystem, "x", ""},
        {"global.", kGlobal, "", ""},
        {"global", kNone, "global", ""},
        {"locals.x", kNone, "locals.x", ""},
        {"loca.xy", kNone, "loca.xy", ""},
        {"globals.xy", kNone, "globals.xy", ""},
        // A word decides before a database is looked for.
        {"global.d.x", kGlobal, "d.x", ""},
        {"local.database.x", kLocal, "database.x", ""},
    };
    Expect(rows);
}

TEST(VariableScope, WordInFrontOfADatabaseIsItsAlias)
{
    static const Row rows[] = {
        {"people.d.name", kDatabase, "name", "people"},
        {"People.D.Name", kDatabase, "Name", "People"},
        {"people.d.", kDatabase, "", "people"},
        {"people.d", kNone, "people.d", ""},
        {"people.database.name", kDatabase, "name", "people"},
        {"people.DATABASE.name", kDatabase, "name", "people"},
        {"people.database.", kDatabase, "", "people"},
        {"people.database", kNone, "people.database", ""},
        {"people.databases.x", kNone, "people.databases.x", ""},
        {"people.name", kNone, "people.name", ""},
        {"people.dx.y", kNone, "people.dx.y", ""},
        {".d.x", kDatabase, "x", ""},
        {".database.x", kDatabase, "x", ""},
    };
    Expect(rows);
}

TEST(VariableScope, DatabaseAloneIsAllOpenDatabases)
{
    static const Row rows[] = {
        {"database.field", kDatabase, "field", ""},
        {"DataBase.field", kDatabase, "field", ""},
        {"database.xy", kDatabase, "xy", ""},
        // With less behind it than any form of a field has, it is a name.
        {"database.x", kNone, "database.x", ""},
        {"database.", kNone, "database.", ""},
        {"database", kNone, "database", ""},
        {"databases.xy", kNone, "databases.xy", ""},
        // As the alias of another one.
        {"database.d.x", kDatabase, "x", "database"},
        {"database.database.x", kDatabase, "x", "database"},
    };
    Expect(rows);
}

TEST(VariableScope, NameWithoutAScopeIsAllOfTheText)
{
    static const Row rows[] = {
        {"", kNone, "", ""},     {"x", kNone, "x", ""},   {"x:y[2]", kNone, "x:y[2]", ""},
        {".", kNone, ".", ""},   {"..", kNone, "..", ""}, {"...", kNone, "...", ""},
        {".x", kNone, ".x", ""},
    };
    Expect(rows);
}

TEST(VariableScope, ReadsNoByteBehindTheText)
{
    const std::string texts[] = {"g.x",
                                 "a.d.field",
                                 "a.database.field",
                                 "people.d.name",
                                 "people.database.name",
                                 "database.field",
                                 "database.d.field",
                                 "global.x"};
    for (const std::string& text : texts) {
        for (size_t size = 0; size <= text.size(); ++size) {
            SCOPED_TRACE(text.substr(0, size));
            Parsed expected(text.substr(0, size));
            const char *rest, *alias;
            int rest_length, alias_length;
            // What follows would make another scope of it.
            EXPECT_EQ(VariableHash::Scope(text.data(), int(size), &rest, &rest_length, &alias,
                                          &alias_length),
                      expected.kind);
            EXPECT_EQ(rest + rest_length, text.data() + size);
            // In memory of its own, where a sanitizer sees a byte too much.
            char* bytes = new char[size];
            text.copy(bytes, size);
            EXPECT_EQ(
                VariableHash::Scope(bytes, int(size), &rest, &rest_length, &alias, &alias_length),
                expected.kind);
            delete[] bytes;
        }
    }
}

TEST(VariableScope, LengthOfMinusOneEndsAtTheNulAndNullIsEmpty)
{
    const char *rest, *alias;
    int rest_length, alias_length;
    EXPECT_EQ(VariableHash::Scope("s.name", -1, &rest, &rest_length, &alias, &alias_length),
              kSystem);
    EXPECT_EQ(rest_length, 4);
    EXPECT_STREQ(rest, "name");
    EXPECT_EQ(VariableHash::Scope(nullptr, 9, &rest, &rest_length, &alias, &alias_length), kNone);
    EXPECT_EQ(rest_length, 0);
    EXPECT_EQ(alias_length, 0);
}

}  // namespace
