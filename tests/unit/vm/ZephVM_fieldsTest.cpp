// Fields of databases while none is open: they read as NULL and swallow what is stored.
#include <limits.h>

#include "TestMachine.h"

namespace {

const int kPushD = 0x0007;
const int kPopD = 0x000F;
const int kPushDC = 0x5008;
const int kPopDC = 0x5010;

using FieldsTest = MachineTest;

TEST_F(FieldsTest, AFieldThatIsNotThereReadsAsNull)
{
    for (const std::string& push :
         {Op(kPushC, 0) + Op(kPushC, 1) + Op(kPushD), Op(kPushDC, 0, 1), Op(kPushDC, 4, 1)}) {
        ASSERT_EQ(Run(push), 1);
        ASSERT_EQ(depth(), 1) << "the names are gone";
        EXPECT_EQ(stack()->Peek()->kind, Stack_Entry::kVariable);
        EXPECT_TRUE(stack()->PopNull());
    }
}

TEST_F(FieldsTest, WhatGoesIntoAFieldThatIsNotThereIsDropped)
{
    for (const std::string& pop :
         {Op(kPushC, 0) + Op(kPushC, 1) + Op(kPopD), Op(kPopDC, 0, 1), Op(kPopDC, 4, 1)}) {
        ASSERT_EQ(Run(Op(kPushI, 7) + Op(kPushI, 8) + pop), 1);
        ASSERT_EQ(depth(), 1) << "names and value are gone";
        EXPECT_EQ(stack()->PopI(), 7);
    }
}

TEST_F(FieldsTest, NamesThatAreNotInTheDictionaryAreFatal)
{
    for (int word : {kPushDC, kPopDC}) {
        for (int entry : {dictionary.Entries(), INT_MAX, -1}) {
            SCOPED_TRACE(entry);
            for (const std::string& names : {Op(word, entry, 0), Op(word, 0, entry)}) {
                application.fatal_errors.clear();
                EXPECT_EQ(Run(Op(kPushI, 7) + names), 0);
                EXPECT_EQ(Fatal(), "Invalid dictionary reference");
                EXPECT_EQ(depth(), 1) << "nothing is taken";
                End();
            }
        }
    }
}

TEST_F(FieldsTest, AMissingNameOrValueIsAnUnderflow)
{
    for (const std::string& code : {Op(kPushC, 0) + Op(kPushD), Op(kPushC, 0) + Op(kPopD),
                                    Op(kPushC, 0) + Op(kPushC, 1) + Op(kPopD), Op(kPopDC, 0, 1)}) {
        application.fatal_errors.clear();
        EXPECT_EQ(Run(code), 0);
        EXPECT_EQ(Fatal(), "Stack underflow");
        EXPECT_EQ(depth(), 0);
    }
}

}  // namespace
