// Faults that the check finds in images that load.

#include "ToolRun.h"

namespace {

void Patch(std::string* bytes, size_t at, unsigned int value)
{
    for (size_t i = 0; i < 4; ++i)
        bytes->at(at + i) = static_cast<char>(value >> (8 * i));
}

// An old file of many languages, all of which share the one index of some texts.
std::string ImageOfASharedIndex(ToolRun* run, int languages, int texts)
{
    std::string source = ".version 0x10007\n";
    for (int i = 0; i < languages; ++i)
        source += ".language l" + std::to_string(i) + "\n";
    for (int i = 0; i < texts; ++i)
        source += ".localized t" + std::to_string(i) + " l0\n";
    std::string image = run->Assemble(source);
    size_t entry = ToolRun::Dword(image, 24);
    for (unsigned int i = 0; i < ToolRun::Dword(image, 28); ++i, entry += 12)
        if (image.compare(entry, 2, "LX") == 0)
            Patch(&image, entry, ToolRun::Dword(image, entry) == 0x584C ? 0 : 0x20202020);
    return image;
}

}  // namespace

TEST(ImageCheck, FindsNothingInASoundImage)
{
    ToolRun run;
    EXPECT_EQ(run.Check(run.Assemble(
                  ".system s\n.global a\n.global b\n.global A\n.language d\n.language e\n"
                  ".localized k d \"1\" $n\n.localized k e \"2\"\n.external x(p)\n"
                  ".segment\npushl b\npushs s\njmp end\nback: call f\ncall x\nexit\n"
                  ".function f(p, q var)\n.local r\npushl r\njmp_eq back2\nback2: ret\n"
                  ".endfunction\nend: jmp back\n.segment\n.segment\nlocalize k\n")),
              "");
    EXPECT_EQ(run.Check(run.Assemble("")), "");
}

TEST(ImageCheck, NamesFaultsOfTheCode)
{
    ToolRun run;
    static const struct {
        const char* statements;
        const char* faults;
    } rows[] = {
        {"noop\npushc #0", "image: segment 0 offset 0x2: dictionary entry 0 does not exist\n"},
        {"pushnc #-1", "image: segment 0 offset 0x0: dictionary entry -1 does not exist\n"},
        {"pushs #0", "image: segment 0 offset 0x0: system variable 0 does not exist\n"},
        {"popg #-1", "image: segment 0 offset 0x0: global variable -1 does not exist\n"},
        {"cmpgg #0 #1",
         "image: segment 0 offset 0x0: global variable 0 does not exist\n"
         "image: segment 0 offset 0x0: global variable 1 does not exist\n"},
        {"pushl #0", "image: segment 0 offset 0x0: local variable 0 does not exist\n"},
        {"call #0", "image: segment 0 offset 0x0: function 0 does not exist\n"},
        {"jmp +1", "image: segment 0 offset 0x0: the jump by 1 leads out of the segment\n"},
        {"jmp -7", "image: segment 0 offset 0x0: the jump by -7 leads out of the segment\n"},
        {"jmp #0x80000000",
         "image: segment 0 offset 0x0: the jump by -2147483648 leads out of the segment\n"},
        {"jmp -5",
         "image: segment 0 offset 0x0: the jump leads to offset 0x1, into an "
         "instruction\n"},
        {"op_smtp -1 9",
         "image: segment 0 offset 0x0: the jump leads to offset 0x9, into an instruction\n"},
        {"tagerror 76 0\ntagerror 0 99", ""},
        {"tagerror 77 0", "image: segment 0 offset 0x0: error setting 77 does not exist\n"},
        {"noop\ntagerror -1 0", "image: segment 0 offset 0x2: error setting -1 does not exist\n"},
        {".word 1\n.word 0x4FFF 0 0",
         "image: segment 0 offset 0x0: 0x0001 is no instruction\n"
         "image: segment 0 offset 0x2: 0x4FFF is no instruction\n"},
        {"noop\n.word 0x4001 0",
         "image: segment 0 offset 0x2: the instruction is cut off by the end of the segment\n"},
        {"noop\n.byte 0",
         "image: segment 0 offset 0x2: the instruction is cut off by the end of the segment\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.statements);
        EXPECT_EQ(run.Check(run.Assemble(".segment\n" + std::string(row.statements))), row.faults);
    }
}

TEST(ImageCheck, LooksAtLocalVariablesWhereverAFunctionReaches)
{
    ToolRun run;
    // Slot 1 is good for the function of two and bad for that of one; what nothing
    // reaches is not judged.
    EXPECT_EQ(run.Check(run.Assemble(".text \"x\"\n.segment\nexit\npushl #99\n"
                                     ".function g(a, b)\njmp_eq body\n.endfunction\n"
                                     ".function f(a)\njmp_eq body\nbody: pushl #1\nret\n"
                                     "pushl #99\n.endfunction\n")),
              "image: segment 0 offset 0x14: local variable 1 does not exist\n");
}

TEST(ImageCheck, TellsAFaultOnceHoweverManyFunctionsReachIt)
{
    ToolRun run;
    const char* source =
        ".segment\nexit\npushl #0\npushl #1\npushl #2\npushl #3\nret\n"
        ".segment\npushl #1\nret\n"
        ".function a(p, q, r) at 0 2\n.endfunction\n.function b(p) at 0 2\n.endfunction\n"
        ".function c(p, q) at 0 2\n.endfunction\n.function d(p, q) at 1 0\n.endfunction\n"
        ".function e() at 0 14\n.endfunction\n";
    EXPECT_EQ(run.Check(run.Assemble(source)),
              "image: segment 0 offset 0xE: local variable 2 does not exist\n"
              "image: segment 0 offset 0x14: local variable 3 does not exist\n"
              "image: segment 0 offset 0x8: local variable 1 does not exist\n");
}

TEST(ImageCheck, NamesFaultsOfFunctions)
{
    ToolRun run;
    static const struct {
        const char* functions;
        const char* faults;
    } rows[] = {
        {".function f() at 0 1",
         "image: function 0: its entry point, offset 0x1, lies in an "
         "instruction\n"},
        {".function f() at 0 3",
         "image: function 0: its entry point, offset 0x3, is not in "
         "segment 0\n"},
        {".function f() at 0 -1",
         "image: function 0: its entry point, offset 0xFFFFFFFF, is not "
         "in segment 0\n"},
        {".function f() at 1 0", "image: function 0: segment 1 does not exist\n"},
        {".function f() at -1 -1", "image: function 0: it has no code and is not external\n"},
        {".function f() at 0 2", ""},
        {".function f() external at -1 -1", ""},
        {".function f(a slot 0) at 0 0",
         "image: function 0: parameter 0: local variable 0 does not exist\n"},
        {".function f(a, b slot -1) at 0 0",
         "image: function 0: parameter 1: local variable -1 does not exist\n"},
        {".function f() at 0 0\n.local #50",
         "image: function 0: local variable 0: its name, dictionary entry 50, does not exist\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.functions);
        EXPECT_EQ(run.Check(run.Assemble(".segment\nnoop\n" + std::string(row.functions) +
                                         "\n.endfunction\n")),
                  row.faults);
    }
}

TEST(ImageCheck, NamesFaultsOfChains)
{
    ToolRun run;
    // In one chain: a (slot 1), aa (slot 2), bb (slot 0).
    std::string sound = run.Assemble(".buckets global 0\n.global bb\n.global a\n.global aa\n");
    ASSERT_EQ(run.Check(sound), "");
    size_t table = ToolRun::SectionAt(sound, "glbl");
    const size_t head = table + 9;
    const size_t slots = table + 13;
    struct Change {
        size_t at;
        unsigned int value;
    };
    const struct {
        Change changes[3];
        const char* faults;
    } rows[] = {
        {{{head, 2}}, "image: global variable 1: it is in no chain\n"},
        {{{head, 3}},
         "image: global variable: the chain of bucket 0 leads to 3, which does not exist\n"
         "image: global variable 0: it is in no chain\n"
         "image: global variable 1: it is in no chain\n"
         "image: global variable 2: it is in no chain\n"},
        {{{slots + 4, 1}},
         "image: global variable 1: the chain of bucket 0 comes here a second time\n"},
        {{{slots + 4, 0xFFFFFFFE}},
         "image: global variable: the chain of bucket 0 leads to -2, which does not exist\n"},
        {{{head, 0}, {slots + 4, 1}, {slots + 20, 0xFFFFFFFF}},
         "image: global variable 1: it stands behind 0 in its chain, against the order\n"},
        {{{slots + 12, 0}, {slots + 4, 2}, {slots + 20, 0xFFFFFFFF}},
         "image: global variable 2: it stands behind 0 in its chain, against the order\n"},
        {{{slots + 8, 99}},
         "image: global variable 1: its name, dictionary entry 99, does not exist\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.faults);
        std::string image = sound;
        for (const Change& change : row.changes)
            if (change.at != 0)
                Patch(&image, change.at, change.value);
        EXPECT_EQ(run.Check(image), row.faults);
    }
}

TEST(ImageCheck, NamesFaultsOfBuckets)
{
    ToolRun run;
    std::string image = run.Assemble(".global a\n");
    size_t bucket = ToolRun::SectionAt(image, "glbl") + 7;
    int own = static_cast<unsigned char>(image[bucket]);
    image[bucket] = static_cast<char>(own ^ 1);
    EXPECT_EQ(run.Check(image), "image: global variable 0: it is in the chain of bucket " +
                                    std::to_string(own ^ 1) + ", but its name belongs to bucket " +
                                    std::to_string(own) + "\n");
    Patch(&image, bucket + 2, 0xFFFFFFFF);
    EXPECT_EQ(run.Check(image), "image: global variable: bucket " + std::to_string(own ^ 1) +
                                    " is listed, but empty\n"
                                    "image: global variable 0: it is in no chain\n");
}

TEST(ImageCheck, NamesABucketThatIsListedTwice)
{
    ToolRun run;
    // Two variables in two buckets, of which one then gets the other's number.
    std::string image = run.Assemble(".global a\n.global bc\n");
    size_t table = ToolRun::SectionAt(image, "glbl");
    ASSERT_EQ(image[table], 2);
    image[table + 13] = image[table + 7];
    std::string faults = run.Check(image);
    EXPECT_NE(faults.find(" is listed twice\n"), std::string::npos) << faults;
}

TEST(ImageCheck, NamesFaultsOfLocalizedTexts)
{
    ToolRun run;
    static const struct {
        const char* statements;
        const char* faults;
    } rows[] = {
        {".localized k d #0", "image: language 0: text 0: its first piece, 0, does not exist\n"},
        {".localized k d #-2", "image: language 0: text 0: its first piece, -2, does not exist\n"},
        {".localized #77 d",
         "image: language 0: text 0: its name, dictionary entry 77, does not exist\n"},
        {".piece $#66", "image: piece 0: its text, dictionary entry 66, does not exist\n"},
        {".piece $n next 1", "image: piece 0: the next piece, 1, does not exist\n"},
        {".piece $n next -2", "image: piece 0: the next piece, -2, does not exist\n"},
        {".piece $n next 0", "image: piece 0: its chain comes back to it\n"},
        {".piece $n next 1\n.piece $n next 2\n.piece $n next 1",
         "image: piece 1: its chain comes back to it\n"},
        {".piece $n next 2\n.piece $n next 2\n.piece $n", ""},
        {".language #55", "image: language 1: its name, dictionary entry 55, does not exist\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.statements);
        EXPECT_EQ(run.Check(run.Assemble(".language d\n" + std::string(row.statements) + "\n")),
                  row.faults);
    }
}

TEST(ImageCheck, NamesALanguageWithoutAnIndex)
{
    ToolRun run;
    std::string image = run.Assemble(".language d\n");
    size_t entry = image.find(std::string("LX\0\0", 4), ToolRun::Dword(image, 24));
    ASSERT_NE(entry, std::string::npos);
    Patch(&image, entry, 0x12345678);
    for (unsigned int version : {0x10001, 0x10007, 0x10008, 0x1000B}) {
        SCOPED_TRACE(version);
        Patch(&image, 4, version);
        EXPECT_EQ(run.Check(image), "image: language 0: it has no index\n");
        EXPECT_NE(run.Dump(image).find(".language \"d\""), std::string::npos) << run.Dump(image);
    }
}

TEST(ImageCheck, RefusesASmallFileWhoseIndexesWouldFillTheMemory)
{
    ToolRun run;
    EXPECT_EQ(run.Check(ImageOfASharedIndex(&run, 20, 2000)), "");
    EXPECT_EQ(run.Check(ImageOfASharedIndex(&run, 1000, 2000)),
              "the indexes of the languages share too many bytes");
}

TEST(ImageCheck, GivesTheReadersTextForAnImageThatDoesNotLoad)
{
    ToolRun run;
    std::string image = run.Assemble(".language d\n.localized k d\n");
    size_t entry = image.find(std::string("LX\0\0", 4), ToolRun::Dword(image, 24));
    image[ToolRun::Dword(image, entry + 4) + 2] = 33;
    EXPECT_EQ(run.Check(image),
              "index of a language: localized_index_header.bucket_bits out of range");
}

TEST(ImageCheck, SurvivesDamageAnywhere)
{
    ToolRun run;
    std::string sound = run.Assemble(
        ".language d\n.localized k d \"1\" $n\n.global a\n.system b\n.external x(p)\n"
        ".segment\npushg a\njmp end\n.function f(p, q var)\n.local r\npushl r\nend: ret\n"
        ".endfunction\n");
    for (size_t at = 0; at < sound.size(); ++at) {
        for (int bit = 0; bit < 8; bit += 7) {
            std::string image = sound;
            image[at] = static_cast<char>(image[at] ^ 1 << bit);
            run.Check(image);
            EXPECT_NE(run.Dump(image), "");
        }
        EXPECT_NE(run.Check(sound.substr(0, at)), "") << at;
    }
}
