// What the assembler says about text that it cannot read.

#include <vector>

#include "ToolRun.h"
#include "primitives/hash.h"

namespace {

struct Row {
    const char* source;
    const char* messages;
};

// Of a name, before it is cut down to the buckets of a table.
unsigned int Hash(const std::string& name)
{
    return hashi(reinterpret_cast<const unsigned char*>(name.data()), unsigned(name.size()), 0);
}

void Expect(const Row* rows, size_t count)
{
    ToolRun run;
    for (size_t i = 0; i < count; ++i) {
        SCOPED_TRACE(rows[i].source);
        EXPECT_EQ(run.Messages(rows[i].source), rows[i].messages);
    }
}

}  // namespace

#define EXPECT_MESSAGES(rows) Expect(rows, sizeof rows / sizeof rows[0])

TEST(AssemblerError, NamesTokensThatCannotBeRead)
{
    static const Row rows[] = {
        {"  ! noop", "page:1:3: this byte can stand in a string only\n"},
        {"\x80", "page:1:1: this byte can stand in a string only\n"},
        {"\n.text \"abc", "page:2:7: this string has no end\n"},
        {".text \"a\\q\"",
         "page:1:9: expected \\n, \\r, \\t, \\0, \\\\, \\\" or \\x and two hexadecimal digits\n"},
        {".text \"\\x1g\"",
         "page:1:8: expected \\n, \\r, \\t, \\0, \\\\, \\\" or \\x and two hexadecimal digits\n"},
        {".text \"\\",
         "page:1:8: expected \\n, \\r, \\t, \\0, \\\\, \\\" or \\x and two hexadecimal digits\n"},
        {".text \"\\x",
         "page:1:8: expected \\n, \\r, \\t, \\0, \\\\, \\\" or \\x and two hexadecimal digits\n"},
    };
    EXPECT_MESSAGES(rows);
    ToolRun run;
    EXPECT_EQ(run.Messages(std::string("a\0b", 3)),
              "page:1:2: this byte can stand in a string only\n");
}

TEST(AssemblerError, NamesStatementsThatAreNone)
{
    static const Row rows[] = {
        {"foo", "page:1:1: expected an instruction, a directive or a label, found \"foo\"\n"},
        {"\"foo\"", "page:1:1: expected an instruction, a directive or a label, found \"foo\"\n"},
        {", noop", "page:1:1: expected an instruction, a directive or a label, found \",\"\n"},
        {".foo", "page:1:1: expected a directive, found \".foo\"\n"},
        {".segment\n1:", "page:2:1: expected a label, found \"1\"\n"},
        {".segment\nnoop noop", "page:2:6: expected the end of the line, found \"noop\"\n"},
        {".segment\nexit/0117", "page:2:1: there is no instruction \"exit/0117\"\n"},
        {".segment\nexit/0000", "page:2:1: there is no instruction \"exit/0000\"\n"},
        {".segment\nexit/", "page:2:1: there is no instruction \"exit/\"\n"},
        {".segment\nexit/+043", "page:2:1: there is no instruction \"exit/+043\"\n"},
        {".segment\nexit/-043", "page:2:1: there is no instruction \"exit/-043\"\n"},
        {".segment\nexit/0x43", "page:2:1: there is no instruction \"exit/0x43\"\n"},
        {".segment\nexit/043", "page:2:1: there is no instruction \"exit/043\"\n"},
        {".segment\nexit/00043", "page:2:1: there is no instruction \"exit/00043\"\n"},
        {"noop", "page:1:1: code must stand behind .segment\n"},
        {"a:", "page:1:1: code must stand behind .segment\n"},
        {".byte 1", "page:1:1: code must stand behind .segment\n"},
        {".function f()\n.endfunction", "page:1:1: code must stand behind .segment\n"},
    };
    EXPECT_MESSAGES(rows);
}

TEST(AssemblerError, NamesOperandsOfAnotherKind)
{
    static const struct {
        const char* statement;
        const char* message;
    } rows[] = {
        {"pushg 5", "7: expected a global variable or #slot, found \"5\""},
        {"pushg #5x", "7: expected a global variable or #slot, found \"#5x\""},
        {"pushg #4294967296", "7: expected a global variable or #slot, found \"#4294967296\""},
        {"cmpgg a", "8: expected a global variable or #slot, found the end of the line"},
        {"pushs (", "7: expected a system variable or #slot, found \"(\""},
        {"pushl -", "7: expected a global variable or #slot, found \"-\""},
        {"pushc 5", "7: expected a text or #index, found \"5\""},
        {"pushc", "6: expected a text or #index, found the end of the line"},
        {"call 3", "6: expected a function or #index, found \"3\""},
        {"jmp 3", "5: expected a label, or a distance with its sign, found \"3\""},
        {"jmp +x", "5: expected a label, or a distance with its sign, found \"+x\""},
        {"pushi x", "7: expected an integer of 32 bits, found \"x\""},
        {"pushi 4294967296", "7: expected an integer of 32 bits, found \"4294967296\""},
        {"pushi -2147483649", "7: expected an integer of 32 bits, found \"-2147483649\""},
        {"pushi 99999999999999999999",
         "7: expected an integer of 32 bits, found \"99999999999999999999\""},
        {"pushi 0x", "7: expected an integer of 32 bits, found \"0x\""},
        {"pushi \"1\"", "7: expected an integer of 32 bits, found \"1\""},
        {"pushi #1", "7: expected an integer of 32 bits, found \"#1\""},
        {"pushf x",
         "7: expected a number, inf, nan or 16 hexadecimal digits behind 0x, found \"x\""},
        {"pushf 1e999",
         "7: expected a number, inf, nan or 16 hexadecimal digits behind 0x, found \"1e999\""},
        {"pushf 1.5x",
         "7: expected a number, inf, nan or 16 hexadecimal digits behind 0x, found \"1.5x\""},
        {".byte 256", "7: expected a number from 0 to 255, found \"256\""},
        {".byte -1", "7: expected a number from 0 to 255, found \"-1\""},
        {".byte", "6: expected a number from 0 to 255, found the end of the line"},
        {".word 0x10000", "7: expected a number from 0 to 0xFFFF, found \"0x10000\""},
        {"pushi 1 2", "9: expected the end of the line, found \"2\""},
        {"tagerror 1", "11: expected an integer of 32 bits, found the end of the line"},
    };
    ToolRun run;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.statement);
        EXPECT_EQ(run.Messages(".segment\n" + std::string(row.statement)),
                  "page:2:" + std::string(row.message) + "\n");
    }
}

TEST(AssemblerError, NamesWhatIsNotThereOrThereTwice)
{
    static const Row rows[] = {
        {".segment\na:\na:", "page:3:1: label \"a\" stands here for the second time\n"},
        {".segment\n  jmp a", "page:2:7: there is no label \"a\"\n"},
        {".segment\njmp A\na:", "page:2:5: there is no label \"A\"\n"},
        {".segment\njmp a\n.segment\na:", "page:2:5: label \"a\" stands in another segment\n"},
        {".segment\ncall f", "page:2:6: there is no function \"f\"\n"},
        {".segment\n.function f(a)\npushl b\n.endfunction",
         "page:3:7: there is no local variable \"b\"\n"},
        {".segment\n.function f(a)\npushl 1\n.endfunction",
         "page:3:7: expected a local variable or #slot, found \"1\"\n"},
        {".local x", "page:1:1: a local variable belongs between .function and .endfunction\n"},
        {".endfunction", "page:1:1: there is no open function\n"},
        {".segment start\n.segment start", "page:2:10: there is another start segment\n"},
        {".segment stop", "page:1:10: expected the end of the line, found \"stop\"\n"},
        {".localized k de", "page:1:14: there is no language \"de\"\n"},
        {".language de\n.localized k #1 \"x\"", "page:2:14: there is no language \"#1\"\n"},
        {".language de\n.localized k #-1 \"x\"", "page:2:14: there is no language \"#-1\"\n"},
    };
    EXPECT_MESSAGES(rows);
}

TEST(AssemblerError, NamesFunctionsThatAreLeftOpen)
{
    static const Row rows[] = {
        {".segment\n .function f()",
         "page:2:2: this function has no .endfunction in front of the end of the file\n"},
        {".segment\n.function f()\n.segment",
         "page:2:1: this function has no .endfunction in front of the next segment\n"},
        {".segment\n.function f()\n.function g()\n.endfunction",
         "page:2:1: this function has no .endfunction in front of the next function\n"},
    };
    EXPECT_MESSAGES(rows);
}

TEST(AssemblerError, NamesFaultsOfDirectives)
{
    static const Row rows[] = {
        {".version x", "page:1:10: expected a version, found \"x\"\n"},
        {".version 0", "page:1:10: expected a version, found \"0\"\n"},
        {".version 1 2", "page:1:12: expected the end of the line, found \"2\"\n"},
        {".flags", "page:1:7: expected notrace or a number, found the end of the line\n"},
        {".flags trace", "page:1:8: expected notrace or a number, found \"trace\"\n"},
        {".identifier 12", "page:1:13: expected 32 hexadecimal digits, found \"12\"\n"},
        {".identifier 0011223344556677889900112233445g",
         "page:1:13: expected 32 hexadecimal digits, found \"0011223344556677889900112233445g\"\n"},
        {".buckets local 1",
         "page:1:10: expected system, global, functions or languages, found \"local\"\n"},
        {".buckets global 29", "page:1:17: expected a number from 0 to 28, or 32, found \"29\"\n"},
        {".buckets global -1", "page:1:17: expected a number from 0 to 28, or 32, found \"-1\"\n"},
        {".text abc", "page:1:7: expected a text in quotes, found \"abc\"\n"},
        {".system 1", "page:1:9: expected a name or #index, found \"1\"\n"},
        {".global", "page:1:8: expected a name or #index, found the end of the line\n"},
        {".language", "page:1:10: expected a name or #index, found the end of the line\n"},
        {".localized 1", "page:1:12: expected a text or #index, found \"1\"\n"},
        {".localized k 1", "page:1:14: expected a language or #number, found \"1\"\n"},
        {".language d\n.localized k d 1",
         "page:2:16: expected a text, $name or #number, found \"1\"\n"},
        {".language d\n.localized k d $1", "page:2:17: expected a name or #index, found \"1\"\n"},
        {".piece", "page:1:7: expected a text, $name or #number, found the end of the line\n"},
        {".piece $x next y", "page:1:16: expected the number of a piece, found \"y\"\n"},
        {".piece $x y", "page:1:11: expected the end of the line, found \"y\"\n"},
        {".external f", "page:1:12: expected \"(\", found the end of the line\n"},
        {".external f(a", "page:1:14: expected \",\" or \")\", found the end of the line\n"},
        {".external f(a b)", "page:1:15: expected \",\" or \")\", found \"b\"\n"},
        {".external f(a,)", "page:1:15: expected a name or #index, found \")\"\n"},
        {".external f(a flags x)", "page:1:21: expected a number, found \"x\"\n"},
        {".external f(a slot x)", "page:1:20: expected a slot, found \"x\"\n"},
        {".external f() x",
         "page:1:15: expected a flag of the function, a number or at, found \"x\"\n"},
        {".external f() at 1 2", "page:1:15: expected the end of the line, found \"at\"\n"},
        {".function f() at x\n.endfunction", "page:1:18: expected a segment number, found \"x\"\n"},
        {".function f() at 1 x\n.endfunction", "page:1:20: expected an offset, found \"x\"\n"},
        {".function f() at 1 2 3\n.endfunction",
         "page:1:22: expected the end of the line, found \"3\"\n"},
    };
    EXPECT_MESSAGES(rows);
}

TEST(AssemblerError, KeepsWhatWasReadOfAFaultyFunction)
{
    static const Row rows[] = {
        {".segment\ncall f\n.function f(a) bad\n.local b\npushl a\npushl b\n.endfunction",
         "page:3:16: expected a flag of the function, a number or at, found \"bad\"\n"},
        {".segment\ncall f\n.external f(a) bad",
         "page:3:16: expected a flag of the function, a number or at, found \"bad\"\n"},
        {".segment\ncall f\n.function f(a, 5)\npushl a\n.endfunction",
         "page:3:16: expected a name or #index, found \"5\"\n"},
        {".segment\n.function f(a, 5) bad\npushl a\n.endfunction",
         "page:2:19: expected a flag of the function, a number or at, found \"bad\"\n"
         "page:2:16: expected a name or #index, found \"5\"\n"},
        {".segment\n.function 5(a)\n.endfunction",
         "page:2:11: expected a name or #index, found \"5\"\n"},
    };
    EXPECT_MESSAGES(rows);
}

// The names decide which buckets a table needs, so the fault is found at the end, and
// told where the number stands.
TEST(AssemblerError, NamesBucketsThatCannotBeStored)
{
    std::string name = "v";
    unsigned int bucket = 0;
    for (int i = 0; bucket < 0x8000; ++i) {
        name = "v" + std::to_string(i);
        bucket = Hash(name) & 0xFFFF;
    }
    static const struct {
        const char* table;
        const char* before;
        const char* behind;
    } rows[] = {
        {"system", ".system ", "\n"},
        {"global", ".global ", "\n"},
        {"functions", ".external ", "()\n"},
        {"languages", ".language ", "\n"},
    };
    ToolRun run;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.table);
        const std::string directive = std::string("  .buckets ") + row.table + " ";
        const std::string names = row.before + name + row.behind;
        EXPECT_EQ(run.Messages("\n" + directive + "16\n" + names),
                  "page:2:" + std::to_string(directive.size() + 1) + ": \"" + name +
                      "\" belongs to bucket " + std::to_string(bucket) +
                      " of so many, and numbers above 32767 cannot be stored\n");
        EXPECT_EQ(run.Messages(directive + "16\n" + names + directive + "15\n"), "");
        EXPECT_EQ(run.Messages(directive + "16\n"), "");
        run.Assemble(directive + "15\n" + names);
    }
}

TEST(AssemblerError, NamesATableOfMoreBucketsInUseThanCanBeCounted)
{
    std::vector<std::string> names(0x8000);
    size_t found = 0;
    for (int i = 0; found < names.size(); ++i) {
        const std::string name = "v" + std::to_string(i);
        std::string& place = names[Hash(name) & 0x7FFF];
        found += place.empty();
        if (place.empty())
            place = name;
    }
    ToolRun run;
    std::string source = ".buckets global 15\n";
    for (size_t i = 1; i < names.size(); ++i)
        source += ".global " + names[i] + "\n";
    EXPECT_EQ(run.Check(run.Assemble(source)), "");
    EXPECT_EQ(run.Messages(source + ".global " + names[0] + "\n"),
              "page:1:17: the names belong to 32768 buckets of so many, and 32767 can be stored\n");
}

TEST(AssemblerError, NamesALanguageThatIsOneTooMany)
{
    ToolRun run;
    std::string source;
    for (int i = 0; i < 65536; ++i)
        source += ".language l" + std::to_string(i) + "\n";
    EXPECT_EQ(run.Messages(source), "");
    EXPECT_EQ(run.Messages(source + " .language more\n"),
              "page:65537:2: a file has 65536 languages at most\n");
}

TEST(AssemblerError, GoesOnWithTheNextLine)
{
    ToolRun run;
    EXPECT_EQ(run.Messages(".segment\nfoo\npushg 1\r\njmp a\nbar\n"),
              "page:2:1: expected an instruction, a directive or a label, found \"foo\"\n"
              "page:3:7: expected a global variable or #slot, found \"1\"\n"
              "page:5:1: expected an instruction, a directive or a label, found \"bar\"\n"
              "page:4:5: there is no label \"a\"\n");
}

TEST(AssemblerError, StopsAtTwenty)
{
    ToolRun run;
    std::string source, messages;
    for (int i = 1; i <= 30; ++i) {
        source += "?\n";
        if (i <= 20)
            messages += "page:" + std::to_string(i) + ":1: this byte can stand in a string only\n";
    }
    EXPECT_EQ(run.Messages(source), messages + "page: too many errors\n");
}

TEST(AssemblerError, StopsAtTwentyNamesThatAreNotThere)
{
    ToolRun run;
    std::string source = ".segment\n", messages;
    for (int i = 0; i < 30; ++i) {
        source += "jmp nowhere\n";
        if (i < 20)
            messages += "page:" + std::to_string(i + 2) + ":5: there is no label \"nowhere\"\n";
    }
    EXPECT_EQ(run.Messages(source), messages + "page: too many errors\n");
}

TEST(AssemblerError, QuotesWhatIsNotPrintable)
{
    ToolRun run;
    EXPECT_EQ(run.Messages(".segment\npushi \"\x01\xFF\"\n"),
              "page:2:7: expected an integer of 32 bits, found \"\\x01\\xFF\"\n");
}

TEST(AssemblerError, SurvivesVeryLongLinesAndForeignBytes)
{
    ToolRun run;
    std::string name(300000, 'a');
    EXPECT_EQ(run.Messages(".segment\njmp " + name + "\n"),
              "page:2:5: there is no label \"" + name + "\"\n");
    EXPECT_EQ(run.Messages(".segment\npushc \"" + name + "\"\n"), "");
    std::string bytes;
    unsigned int state = 1;
    for (int i = 0; i < 100000; ++i) {
        state = state * 1103515245 + 12345;
        bytes += static_cast<char>(state >> 16);
    }
    EXPECT_NE(run.Messages(bytes), "");
}
