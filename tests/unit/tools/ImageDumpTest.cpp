// What the dump writes, and that the assembler makes the same image of it.

#include "ToolRun.h"

namespace {

const char kHead[] =
    ".version 0x1000B\n.identifier 00000000000000000000000000000000\n"
    ".buckets system 8\n.buckets global 8\n.buckets functions 8\n.buckets languages 4\n";

// The listing of segment 0, which is the only one.
std::string Listing(ToolRun* run, const std::string& statements)
{
    std::string text = run->Dump(run->Assemble(".segment\n" + statements));
    size_t at = text.find("\n.segment  ; #0\n");
    return at == std::string::npos ? text : text.substr(at + 16);
}

// Puts a number over 4 bytes.
void Patch(std::string* bytes, size_t at, unsigned int value)
{
    for (size_t i = 0; i < 4; ++i)
        bytes->at(at + i) = static_cast<char>(value >> (8 * i));
}

}  // namespace

TEST(ImageDump, ListsASmallPage)
{
    ToolRun run;
    EXPECT_EQ(run.Dump(run.Assemble(".global i\n.segment\npushc \"Hi\\n\"\nout\npopg i\nexit\n")),
              kHead + std::string(".text \"i\"  ; #0\n.text \"Hi\\n\"  ; #1\n.global i  ; #0\n"
                                  "\n.segment  ; #0\n"
                                  "    pushc \"Hi\\n\"\n    out\n    popg i\n    exit\n"));
}

TEST(ImageDump, WritesHeaderFields)
{
    ToolRun run;
    std::string text = run.Dump(run.Assemble(
        ".version 0x10001\n.flags notrace\n.identifier 000102030405060708090a0b0c0d0e0f\n"
        ".buckets languages 32\n"));
    EXPECT_EQ(text.find(".version 0x10001\n.flags notrace\n"
                        ".identifier 000102030405060708090a0b0c0d0e0f\n"),
              0u);
    EXPECT_NE(text.find(".buckets languages 32\n"), std::string::npos);
    text = run.Dump(run.Assemble(".flags 0x81\n"));
    EXPECT_NE(text.find("\n.flags 0x81\n"), std::string::npos);
}

TEST(ImageDump, TellsTextsAndNamesByIndexWhereTheFirstOfThemIsAnother)
{
    ToolRun run;
    std::string text = run.Dump(run.Assemble(
        ".text \"a\"\n.text \"a\"\n.global #1\n.global A\n.global \"x y\"\n.global #9\n"
        ".segment\npushc #1\npushc \"a\"\npushc #-1\npushg #0\npushg #1\npushg \"x y\"\n"
        "pushg #3\npushg #4\n"));
    EXPECT_NE(text.find(".global #1  ; #0\n.global A  ; #1\n.global \"x y\"  ; #2\n"
                        ".global #9  ; #3\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("    pushc #1\n    pushc \"a\"\n    pushc #-1\n    pushg a\n    pushg #1\n"
                        "    pushg \"x y\"\n    pushg #3\n    pushg #4\n"),
              std::string::npos)
        << text;
}

TEST(ImageDump, EscapesWhatIsNotPrintable)
{
    ToolRun run;
    std::string text = run.Dump(run.Assemble(".text \"\\\"\\\\\\n\\r\\t\\0\\x01\\x7F\\xe4~ ;\"\n"));
    EXPECT_NE(text.find(".text \"\\\"\\\\\\n\\r\\t\\0\\x01\\x7F\\xE4~ ;\"  ; #0\n"),
              std::string::npos)
        << text;
}

TEST(ImageDump, PutsLabelsWhereJumpsLead)
{
    ToolRun run;
    EXPECT_EQ(Listing(&run, "a: jmp b\njmp a\njmp +1\njmp +100\njmp -100\nb:\n"),
              "L0_0000:\n    jmp L0_001E\n    jmp L0_0000\n    jmp +1\n    jmp +100\n    jmp -100\n"
              "L0_001E:\n");
}

TEST(ImageDump, WritesASuffixWhereTheNameAloneIsAnotherWord)
{
    ToolRun run;
    EXPECT_EQ(Listing(&run, "exit/0043\nexit/0116\nop_http +9\nop_http/4112 +9\nop_http +9 7\n"),
              "    exit\n    exit/0116\n    op_http +9\n    op_http/4112 +9\n    op_http +9, 7\n");
}

TEST(ImageDump, WritesDoublesThatReadBackExactly)
{
    ToolRun run;
    EXPECT_EQ(Listing(&run,
                      "pushf 1\npushf -0.0\npushf 0.1\npushf 1e300\npushf 5e-324\npushf inf\n"
                      "pushf -inf\npushf nan\npushf 0x7FF8000000000001\n"
                      "pushf 0.30000000000000004\n"),
              "    pushf 1.0\n    pushf -0.0\n    pushf 0.1\n    pushf 1e+300\n"
              "    pushf 4.94065645841247e-324\n    pushf inf\n    pushf -inf\n    pushf nan\n"
              "    pushf 0x7FF8000000000001\n    pushf 0.30000000000000004\n");
}

TEST(ImageDump, WritesBytesThatAreNoInstruction)
{
    ToolRun run;
    EXPECT_EQ(Listing(&run, ".word 0x0001\nnoop\n.word 0x4FFF 1 2\n.word 0x4001 5\n"),
              "    .byte 0x01 0x00  ; no instruction\n    noop\n"
              "    .byte 0xFF 0x4F 0x01 0x00 0x02 0x00  ; no instruction\n"
              "    .byte 0x01 0x40 0x05 0x00  ; cut off\n");
    EXPECT_EQ(Listing(&run, "noop\n.byte 7\n"), "    noop\n    .byte 0x07  ; cut off\n");
}

TEST(ImageDump, WritesFunctionsWithTheirCode)
{
    ToolRun run;
    EXPECT_EQ(Listing(&run,
                      "call g\n.function f(a, b var, c flags 4) output 0x100\n.local t\npushl a\n"
                      "pushl t\npushl #4\nret\n.endfunction\n.external e(x) hideerrors\n"
                      ".function g()\npushl #0\n.endfunction\nexit\n"),
              "    call g\n\n.function f(a, b var, c flags 0x4) output 0x100  ; #0\n"
              ".local t  ; #3\n    pushl a\n    pushl t\n    pushl #4\n    ret\n.endfunction\n\n"
              ".external e(x) hideerrors  ; #1\n\n"
              ".function g()  ; #2\n    pushl #0\n    exit\n.endfunction\n");
}

TEST(ImageDump, WritesThePlaceOfFunctionsThatAreOutOfOrder)
{
    ToolRun run;
    std::string text = run.Dump(run.Assemble(
        ".function late() at 0 2\n.endfunction\n.function early() at 0 0\n.local l\n"
        ".endfunction\n.function inside() at 0 5\n.endfunction\n.segment\nnoop\nnoop\npushi 1\n"));
    EXPECT_NE(text.find("\n.segment  ; #0\n    noop\n\n.function late()  ; #0\n    noop\n"
                        "    pushi 1\n.endfunction\n\n.function early() at 0 0  ; #1\n"
                        ".local l  ; #0\n.endfunction\n\n.function inside() at 0 5  ; #2\n"
                        ".endfunction\n"),
              std::string::npos)
        << text;
}

TEST(ImageDump, WritesPiecesThatAreNotInOneTextByThemselves)
{
    ToolRun run;
    std::string source =
        ".language d\n.text \"x\"\n.text \"x\"\n"
        ".localized a d \"1\" $n \"2\"\n.localized b d #1\n.localized c d\n.piece \"3\" next 1\n"
        ".piece #2\n.localized e d #4\n.localized f d #3\n.localized g d \"5\" #2\n"
        ".piece $n next 7\n.piece $#99 next 7\n.localized h d #7\n";
    std::string text = run.Dump(run.Assemble(source));
    EXPECT_NE(text.find(".localized \"a\" \"d\" \"1\" $n \"2\"\n.piece \"3\" next 1\n.piece #2\n"
                        ".localized \"b\" \"d\" #1\n.localized \"c\" \"d\"\n"
                        ".localized \"e\" \"d\" #4\n.localized \"f\" \"d\" #3\n"
                        ".localized \"g\" \"d\" \"5\" #2\n"
                        ".piece $n next 7\n.piece $#99 next 7\n.localized \"h\" \"d\" #7\n"),
              std::string::npos)
        << text;
}

TEST(ImageDump, KeepsTheOrderOfTextsWhosePiecesAreInAnother)
{
    ToolRun run;
    std::string source =
        ".language d\n.localized late d #1\n.localized early d \"1\"\n.piece \"2\"\n";
    std::string text = run.Dump(run.Assemble(source));
    EXPECT_NE(text.find(".localized \"late\" \"d\" #1\n.localized \"early\" \"d\" \"1\"\n"
                        ".piece \"2\"\n\n.segment"),
              std::string::npos)
        << text;
}

TEST(ImageDump, ReadsTheOneIndexOfAnOldFile)
{
    ToolRun run;
    std::string image =
        run.Assemble(".version 0x10007\n.language d\n.localized k d \"text\"\n.segment\n");
    size_t entry = image.find(std::string("LX\0\0", 4), ToolRun::Dword(image, 24));
    ASSERT_NE(entry, std::string::npos);
    Patch(&image, entry, 0);
    EXPECT_NE(run.Dump(image).find(".localized \"k\" \"d\" \"text\"\n"), std::string::npos);
    Patch(&image, 4, 0x10008);
    EXPECT_EQ(run.Dump(image).find(".localized"), std::string::npos);
}

TEST(ImageDump, RefusesWhatTheRuntimeRefuses)
{
    ToolRun run;
    std::string sound = run.Assemble(".global i\n.segment\nnoop\n");
    EXPECT_EQ(run.Dump("Zeph"), "!File is either corrupt or not a valid compiled Zeph Script file");
    std::string image = sound;
    Patch(&image, 4, 0x1000C);
    EXPECT_EQ(run.Dump(image),
              "!File was generated by an incompatible version of the Zeph Script Compiler");
    static const struct {
        const char* tag;
        size_t at;
        unsigned int value;
        const char* error;
    } rows[] = {
        {"dict", 0, 0x8000000, "!section \"dict\": dictionary_header.entries out of range"},
        {"syst", 3, 0x8000000,
         "!section \"syst\": variable_hash_header.variable_count out of range"},
        {"glbl", 3, 0xFFFFFFFF,
         "!section \"glbl\": variable_hash_header.variable_count out of range"},
        {"locl", 3, 0x10000000,
         "!section \"locl\": localized_language_header.index_count out of range"},
        {"locd", 0, 0xFFFFFFFF, "!section \"locd\": loc_dictionary_header.entries out of range"},
        {"segs", 4, 1, "!section \"segs\": segment_list.start out of range"},
        {"func", 3, 0xFFFFFFFF,
         "!section \"func\": function_list_header.function_count out of range"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tag);
        image = sound;
        Patch(&image, ToolRun::SectionAt(image, row.tag) + row.at, row.value);
        EXPECT_EQ(run.Dump(image), row.error);
        image = sound;
        size_t entry = image.find(row.tag, ToolRun::Dword(image, 24));
        Patch(&image, entry, 0x20202020);
        EXPECT_EQ(run.Dump(image), "!there is no section \"" + std::string(row.tag) + "\"");
    }
}

TEST(ImageDump, AssemblesToTheSameBytesAgain)
{
    ToolRun run;
    std::ifstream list(ZASM_SOURCES);
    std::string path;
    int files = 0;
    while (std::getline(list, path)) {
        if (path.empty())
            continue;
        SCOPED_TRACE(path);
        ++files;
        std::string source = ToolRun::ReadFile(path);
        ASSERT_NE(source, "");
        std::string image = run.Assemble(source);
        std::string text = run.Dump(image);
        EXPECT_TRUE(run.Assemble(text) == image) << text;
        EXPECT_EQ(run.Dump(image), text);
    }
    EXPECT_GT(files, 3);
}
