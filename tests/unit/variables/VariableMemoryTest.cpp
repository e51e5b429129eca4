#include <gtest/gtest.h>

#include "TestVariables.h"

// What a variable holds already is used again.

namespace {

TEST(VariableMemory, AValueThatFitsNeedsNoNewStorage)
{
    Held v = Fresh("twenty-three bytes long");
    const char* storage = v->value().data();
    v->SetValue("short", 5);
    EXPECT_EQ(v->value().data(), storage);
    v->SetValue_Integer(-2147483647);
    EXPECT_EQ(v->value().data(), storage);
    EXPECT_EQ(ValueOf(*v), "-2147483647");
    v->SetValue_Double(-123456.789012345);
    EXPECT_EQ(v->value().data(), storage);
    EXPECT_EQ(ValueOf(*v), "-123456.789012345");
    Held other = Fresh("another");
    v->SetValue(*other);
    EXPECT_EQ(v->value().data(), storage);
    EXPECT_EQ(ValueOf(*v), "another");
}

TEST(VariableMemory, ALongNumberGetsTheStorageThatItNeeds)
{
    Held v = Fresh("x");
    v->SetValue_Double(1e300);
    EXPECT_EQ(v->value().length(), 301);
    v->SetValue_Double(-1e21);
    EXPECT_EQ(ValueOf(*v), "-1000000000000000000000");
}

}  // namespace
