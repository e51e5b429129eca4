// The script functions that decide about a file upload.
#include "CalledMachine.h"

namespace {

using UploadHooksTest = CalledMachineTest;

TEST_F(UploadHooksTest, UploadsWithoutHooksGoOn)
{
    Code("");
    int limit = 5;
    EXPECT_TRUE(vm()->ValidateFileUpload("a", 1, "b", 1, "c", 1, &limit));
    EXPECT_EQ(limit, -1);
    EXPECT_TRUE(vm()->ProcessFileUpload("a", 1, "b", 1, "c", 1, "d", 1, "e", 1, 6));
    EXPECT_EQ(depth(), 0);
}

TEST_F(UploadHooksTest, HooksWithOtherParametersAreRefused)
{
    Script("Zeph_ValidateFileUpload", "a,b", Op(kPushI, 1) + Op(kRet));
    Script("Zeph_ProcessFileUpload", "a,b,c,d,e", Op(kRetN));
    Code("");
    int limit = 5;
    EXPECT_FALSE(vm()->ValidateFileUpload("a", 1, "b", 1, "c", 1, &limit));
    EXPECT_EQ(limit, -1);
    EXPECT_FALSE(vm()->ProcessFileUpload("a", 1, "b", 1, "c", 1, "d", 1, "e", 1, 6));
    EXPECT_EQ(depth(), 0);
    EXPECT_FALSE(vm()->halted());
}

TEST_F(UploadHooksTest, ValidateHookAnswersWithAnInteger)
{
    Script("zeph_validatefileupload", "a,b,c",
           Op(kPushL, 0) + Op(kOut) + Op(kPushL, 1) + Op(kOut) + Op(kPushL, 2) + Op(kOut) +
               PushText("512") + Op(kRet));
    Code(PushText("main") + Op(kOut));
    int limit = 0;
    EXPECT_TRUE(vm()->ValidateFileUpload("field", 5, "file.txt", 4, "text", 4, &limit));
    EXPECT_EQ(limit, 512);
    EXPECT_EQ(written(), "fieldfiletext");
    EXPECT_EQ(depth(), 0);
    EXPECT_EQ(vm()->Go(), 1) << "the script begins at its start";
    EXPECT_EQ(written(), "fieldfiletextmain");
}

TEST_F(UploadHooksTest, ProcessHookGetsFiveTextsAndANumber)
{
    std::string show;
    for (int slot = 0; slot < 6; ++slot)
        show += Op(kPushL, slot) + Op(kOut);
    Script("Zeph_ProcessFileUpload", "a,b,c,d,e,f", show + PushText("dropped") + Op(kRet));
    Code("");
    EXPECT_TRUE(vm()->ProcessFileUpload("1", 1, "2", 1, "3", 1, "4", 1, "5", 1, -6));
    EXPECT_EQ(written(), "12345-6");
    EXPECT_EQ(depth(), 0);
}

TEST_F(UploadHooksTest, HooksThatStopTheMachineAreFalse)
{
    for (bool exits : {false, true}) {
        SCOPED_TRACE(exits);
        End();
        exited = 0;
        application.fatal_errors.clear();
        FunctionManager hooks(&dictionary, 8);
        std::string code = exits ? Op(kExit) : Op(0xFFFF);
        Script("hook", "", code);
        int segment = functions.Index(functions.count() - 1)->segment();
        hooks.Function_Add(segment, 0, "Zeph_ValidateFileUpload", -1, "a,b,c", -1, 0);
        hooks.Function_Add(segment, 0, "Zeph_ProcessFileUpload", -1, "a,b,c,d,e,f", -1, 0);
        Code("");
        ZephVM* machine = new ZephVM("/www/x.zpc", -1, &application, &dictionary, &systems,
                                     &globals, &segments, &hooks, &calls, nullptr, nullptr, nullptr,
                                     nullptr, &heartbeat, &cancelled, &exited, nullptr);
        int limit = 0;
        EXPECT_FALSE(machine->ValidateFileUpload("a", 1, "b", 1, "c", 1, &limit));
        EXPECT_EQ(limit, -1);
        EXPECT_FALSE(machine->ProcessFileUpload("a", 1, "b", 1, "c", 1, "d", 1, "e", 1, 6));
        EXPECT_EQ(application.fatal_errors.empty(), exits);
        machine->Shutdown();
    }
}

}  // namespace
