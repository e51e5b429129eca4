// What the assembler writes, byte for byte.

#include "ToolRun.h"
#include "primitives/hash.h"

namespace {

// The code of segment 0: behind its list and the header of each segment.
std::string Code(ToolRun* run, const std::string& statements)
{
    std::string segments = ToolRun::Section(run->Assemble(".segment\n" + statements), "segs");
    return segments.substr(8 + 8 * ToolRun::Dword(segments, 0));
}

}  // namespace

TEST(Assembler, WritesASmallPageAsAWholeImage)
{
    ToolRun run;
    EXPECT_BYTES(
        run.Assemble("; A first page.\n.segment\n    pushc \"Hello\"\n    out\n    exit\n"),
        // header: magic, version, identifier, directory at 0x73 with 7 entries
        "5A657068 0B000100 00000000000000000000000000000000 73000000 07000000"
        // dict at 0x20: 1 entry, 5 bytes, no flags; offset 0, size 5
        "01000000 05000000 00000000 00000000 05000000 48656C6C6F"
        // syst and glbl at 0x39 and 0x40: no bucket, 8 bits, no variable
        "0000 08 00000000 0000 08 00000000"
        // locl at 0x47: no bucket, 4 bits, no language; locd at 0x4E: no piece
        "0000 04 00000000 00000000"
        // segs at 0x52: 1 segment, start 0; offset 0, size 10
        "01000000 00000000 00000000 0A000000 0140 00000000 1500 4300"
        // func at 0x6C: no bucket, 8 bits, no function
        "0000 08 00000000"
        "64696374 20000000 19000000 73797374 39000000 07000000"
        "676C626C 40000000 07000000 6C6F636C 47000000 07000000"
        "6C6F6364 4E000000 04000000 73656773 52000000 1A000000"
        "66756E63 6C000000 07000000");
}

TEST(Assembler, WritesHeaderFieldsAsTold)
{
    ToolRun run;
    std::string image = run.Assemble(
        ".version 0x10007\n.flags notrace 6\n.identifier 000102030405060708090a0B0C0D0E0F\n");
    EXPECT_BYTES(image.substr(0, 24), "5A657068 07000100 000102030405060708090A0B0C0D0E0F");
    EXPECT_BYTES(ToolRun::Section(image, "dict"), "00000000 00000000 07000000");
}

TEST(Assembler, FoldsTextsThatStandWithinEarlierOnes)
{
    ToolRun run;
    std::string image =
        run.Assemble(".text \"xabc\"\n.text \"bc\"\n.text \"abd\"\n.text \"xabc\"\n");
    EXPECT_BYTES(ToolRun::Section(image, "dict"),
                 "04000000 07000000 00000000"
                 "00000000 04000000  02000000 02000000  04000000 03000000  00000000 04000000"
                 "78616263 616264");
}

TEST(Assembler, FoldsTextsThatAreFarApart)
{
    ToolRun run;
    std::string first(10000, 'a'), second(10000, 'b');
    std::string source =
        ".text \"" + first + "\"\n.text \"" + second + "\"\n.text \"" + first + "\"\n";
    std::string dictionary = ToolRun::Section(run.Assemble(source), "dict");
    EXPECT_BYTES(dictionary.substr(0, 36),
                 "03000000 204E0000 00000000"
                 "00000000 10270000  10270000 10270000  00000000 10270000");
}

TEST(Assembler, AddsEveryDeclaredTextButUsesTheFirstOfEqualOnes)
{
    ToolRun run;
    std::string image = run.Assemble(
        ".text \"a\"\n.text \"b\"\n.text \"b\"\n.segment\npushc \"b\"\npushc #2\npushc \"B\"\n");
    EXPECT_EQ(ToolRun::Dword(ToolRun::Section(image, "dict"), 0), 4u);
    EXPECT_BYTES(ToolRun::Section(image, "segs").substr(16),
                 "0140 01000000 0140 02000000 0140 03000000");
}

TEST(Assembler, GivesEmptyTextsAByteToLieAt)
{
    ToolRun run;
    // The reader refuses an entry that begins at the end of the data.
    EXPECT_BYTES(ToolRun::Section(run.Assemble(".text \"\"\n"), "dict"),
                 "02000000 01000000 00000000  00000000 00000000  00000000 01000000  2D");
    EXPECT_BYTES(ToolRun::Section(run.Assemble(".text \"\"\n.text \"a\"\n"), "dict"),
                 "02000000 01000000 00000000  00000000 00000000  00000000 01000000  61");
}

TEST(Assembler, ReadsEveryEscapeAndAnyByteInAString)
{
    ToolRun run;
    std::string source = ".text \"\\n\\r\\t\\0\\\\\\\"\\x41\\xfF;";
    source += std::string("\x00\x80", 2) + "\"\n";
    std::string dictionary = ToolRun::Section(run.Assemble(source), "dict");
    EXPECT_BYTES(dictionary.substr(20), "0A 0D 09 00 5C 22 41 FF 3B 00 80");
}

TEST(Assembler, LinksVariablesByLengthThenByName)
{
    ToolRun run;
    // One bucket, so that all are in one chain: a, then AA and Bb of one length.
    std::string image =
        run.Assemble(".buckets system 0\n.system Bb\n.system a\n.system AA\n.system bb\n");
    EXPECT_BYTES(ToolRun::Section(image, "syst"),
                 "0100 00 04000000  0000 01000000"
                 "00000000 03000000  01000000 02000000  02000000 00000000  03000000 FFFFFFFF");
}

TEST(Assembler, PutsAVariableIntoTheBucketOfItsNameInSmallLetters)
{
    ToolRun run;
    std::string global = ToolRun::Section(run.Assemble(".global Name\n"), "glbl");
    unsigned int bucket = hashi(reinterpret_cast<const unsigned char*>("name"), 4, 0) & 0xFF;
    ASSERT_EQ(global.size(), 7u + 6 + 8);
    EXPECT_EQ(static_cast<unsigned char>(global[7]), bucket);
}

TEST(Assembler, TakesBucketsAnywhereInTheFile)
{
    ToolRun run;
    std::string image = run.Assemble(
        ".global a\n.segment\n.buckets global 3\n.buckets functions 5\n.buckets languages 32\n");
    EXPECT_EQ(ToolRun::Section(image, "glbl")[2], 3);
    EXPECT_EQ(ToolRun::Section(image, "func")[2], 5);
    EXPECT_EQ(ToolRun::Section(image, "locl")[2], 32);
}

TEST(Assembler, DeclaresVariablesAtTheirFirstUseWithoutRegardToCase)
{
    ToolRun run;
    std::string image = run.Assemble(
        ".global x\n.segment\npushg a\npushs s\npushg X\npopg A\npushg \"x y\"\npushl x\npoprg "
        "#7\n");
    EXPECT_BYTES(ToolRun::Section(image, "segs").substr(16),
                 "0540 01000000 0440 00000000 0540 00000000 0D40 01000000 0540 02000000"
                 "0640 00000000 5340 07000000");
    EXPECT_EQ(ToolRun::Dword(ToolRun::Section(image, "glbl"), 3), 3u);
    EXPECT_EQ(ToolRun::Dword(ToolRun::Section(image, "syst"), 3), 1u);
}

TEST(Assembler, CountsJumpsFromTheEndOfTheInstruction)
{
    ToolRun run;
    EXPECT_BYTES(Code(&run, "top: jmp end\njmp top\njmp +3\njmp -6\njmp #5\nend: noop\n"),
                 "2540 18000000 2540 F4FFFFFF 2540 03000000 2540 FAFFFFFF 2540 05000000 0000");
    // The jump stands in front of another operand here.
    EXPECT_BYTES(Code(&run, "op_http end, 9\nend:\n"), "1351 00000000 09000000");
}

TEST(Assembler, TakesAStatementBehindALabel)
{
    ToolRun run;
    EXPECT_BYTES(Code(&run, "a: b: pushi 1\nc: .byte 7\njmp b\n"),
                 "0240 01000000 07 2540 F3FFFFFF");
}

TEST(Assembler, TellsWordsOfOneNameApart)
{
    ToolRun run;
    static const struct {
        const char* statement;
        const char* bytes;
    } rows[] = {
        {"exit", "4300"},
        {"exit/0116", "1601"},
        {"exit/0043", "4300"},
        {"dbopen", "0002"},
        {"dbopen/0216", "1602"},
        {"op_http +0", "0C41 00000000"},
        {"op_http/4112 +0", "1241 00000000"},
        {"op_http +0, 12", "1351 00000000 0C000000"},
        {"op_smtp +0", "0A41 00000000"},
        {"op_smtp +0 9", "1451 00000000 09000000"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.statement);
        EXPECT_BYTES(Code(&run, row.statement), row.bytes);
    }
}

TEST(Assembler, ReadsIntegersAndDoublesInAllTheirForms)
{
    ToolRun run;
    static const struct {
        const char* statement;
        const char* bytes;
    } rows[] = {
        {"pushi 0", "0240 00000000"},
        {"pushi +7", "0240 07000000"},
        {"pushi -1", "0240 FFFFFFFF"},
        {"pushi 4294967295", "0240 FFFFFFFF"},
        {"pushi -2147483648", "0240 00000080"},
        {"pushi 0xDeadBeef", "0240 EFBEADDE"},
        {"pushf 1", "0380 000000000000F03F"},
        {"pushf -2.5e1", "0380 00000000000039C0"},
        {"pushf .5", "0380 000000000000E03F"},
        {"pushf 0x1.8p1", "0380 0000000000000840"},
        {"pushf -0.0", "0380 0000000000000080"},
        {"pushf inf", "0380 000000000000F07F"},
        {"pushf -inf", "0380 000000000000F0FF"},
        {"pushf nan", "0380 000000000000F87F"},
        {"pushf 0xFFF8000000000001", "0380 010000000000F8FF"},
        {".byte 0 0xFF, 16", "00 FF 10"},
        {".word 0x1234 65535", "3412 FFFF"},
        {"pushdc v, f", "0850 00000000 01000000"},
        {"cmpgi #5 -3", "0253 05000000 FDFFFFFF"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.statement);
        EXPECT_BYTES(Code(&run, row.statement), row.bytes);
    }
}

TEST(Assembler, AssemblesEveryWordByItsNameOrItsSuffix)
{
    ToolRun run;
    for (int i = 0; i < InstructionCount(); ++i) {
        const Instruction& instruction = InstructionAt(i);
        char suffix[16];
        snprintf(suffix, sizeof suffix, "/%04X", instruction.word);
        std::string statement = instruction.name + std::string(suffix);
        SCOPED_TRACE(statement);
        std::string expected;
        expected += static_cast<char>(instruction.word);
        expected += static_cast<char>(instruction.word >> 8);
        for (int place = 0; place < instruction.operands(); ++place) {
            switch (instruction.kinds[place]) {
                case OperandKind::kDouble:
                    statement += " 0x0000000000000001";
                    expected += std::string("\1\0\0\0\0\0\0\0", 8);
                    break;
                case OperandKind::kInteger:
                    statement += " 1";
                    expected += std::string("\1\0\0\0", 4);
                    break;
                default:
                    statement += " #1";
                    expected += std::string("\1\0\0\0", 4);
            }
        }
        EXPECT_EQ(ToHex(Code(&run, statement)), ToHex(expected));
    }
    EXPECT_EQ(InstructionCount(), 147);
}

TEST(Assembler, NumbersSegmentsInOrderAndStartsWhereTold)
{
    ToolRun run;
    EXPECT_BYTES(
        ToolRun::Section(run.Assemble(".segment\nnoop\n.segment start\n.segment\nexit\n"), "segs"),
        "03000000 01000000  00000000 02000000  02000000 00000000  02000000 02000000  0000 4300");
    // Without any, the image still has its start segment.
    EXPECT_BYTES(ToolRun::Section(run.Assemble(""), "segs"), "01000000 00000000 00000000 00000000");
}

TEST(Assembler, WritesFunctionsWithParametersFlagsAndLocals)
{
    ToolRun run;
    std::string image = run.Assemble(
        ".buckets functions 0\n"
        ".segment\n"
        "call ff\n"
        ".function ff(a, b var) output 0x40\n"
        ".local t\n"
        "pushl T\n"
        ".endfunction\n"
        ".external e(a) hideerrors\n"
        "call E\n");
    // Texts: ff, a, b, t, e.
    EXPECT_BYTES(ToolRun::Section(image, "segs").substr(16),
                 "3D40 00000000 0640 02000000 3D40 01000000");
    std::string functions = ToolRun::Section(image, "func");
    EXPECT_BYTES(functions.substr(0, 7 + 6 + 8 + 20 + 24),
                 // one bucket; e is shorter and stands in front of ff
                 "0100 00 02000000  0000 01000000  FFFFFFFF 00000000"
                 // ff: name, 2 parameters, flags, segment 0, offset 6
                 "00000000 02000000 42000000 00000000 06000000"
                 "01000000 00000000 00000000  02000000 01000000 01000000");
    EXPECT_BYTES(functions.substr(65 + 2, 5), "08 03000000");
    size_t locals = 7 + 3 * 6 + 3 * 8;
    EXPECT_BYTES(functions.substr(65 + locals, 20 + 12),
                 "04000000 01000000 09000000 FFFFFFFF FFFFFFFF  01000000 00000000 00000000");
}

TEST(Assembler, PlacesFunctionsWhereTold)
{
    ToolRun run;
    std::string image = run.Assemble(
        ".buckets functions 0\n.function f(a slot 3 , b flags 6) at 2 0x10\n.endfunction\n");
    EXPECT_BYTES(ToolRun::Section(image, "func").substr(7 + 6 + 4, 20 + 24),
                 "00000000 02000000 00000000 02000000 10000000"
                 "01000000 00000000 03000000  02000000 06000000 00000000");
}

TEST(Assembler, WritesLanguagesPiecesAndIndexes)
{
    ToolRun run;
    std::string image = run.Assemble(
        ".buckets languages 0\n"
        ".language \"en-US\"\n"
        ".language de\n"
        ".localized k de \"Hallo \" $n\n"
        ".localized k en-US \"Hi\"\n"
        ".localized j de\n"
        ".localized i de #2\n"
        ".piece $n next 0\n");
    // Texts: en-US, de, k, "Hallo ", n, Hi, j, i.
    EXPECT_BYTES(ToolRun::Section(image, "locl"),
                 "0100 00 02000000  0000 01000000  00000000 FFFFFFFF  01000000 00000000");
    EXPECT_BYTES(ToolRun::Section(image, "locd"),
                 "04000000  01000000 03000000 01000000  00000000 04000000 FFFFFFFF"
                 "01000000 05000000 FFFFFFFF  00000000 04000000 00000000");
    std::string german = ToolRun::Section(image, std::string("LX\1\0", 4));
    EXPECT_BYTES(german.substr(0, 11), "0300 0C 03000000 00000000");
    EXPECT_BYTES(german.substr(11 + 3 * 6),
                 "02000000 FFFFFFFF 00000000"
                 "06000000 FFFFFFFF FFFFFFFF"
                 "07000000 FFFFFFFF 02000000");
    std::string english = ToolRun::Section(image, std::string("LX\0\0", 4));
    EXPECT_BYTES(english.substr(11 + 6), "02000000 FFFFFFFF 02000000");
    unsigned int bucket = hashi(reinterpret_cast<const unsigned char*>("k"), 1, 0) & 0xFFF;
    EXPECT_EQ(ToolRun::Dword(english, 11) & 0xFFFF, bucket);
}
