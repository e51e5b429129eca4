// What assembler, dump and check take for the instruction set, against a list of its own.

#include "image_text/InstructionSet.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

// Every word, with its name and what its operands mean.
const struct {
    unsigned int word;
    const char* name;
    const char* operands;
} kWords[] = {
    {0x0000, "noop", ""},
    {0x0007, "pushd", ""},
    {0x0009, "pushn", ""},
    {0x000B, "pop", ""},
    {0x000F, "popd", ""},
    {0x0011, "popn", ""},
    {0x0013, "spush", ""},
    {0x0014, "spop", ""},
    {0x0015, "out", ""},
    {0x0016, "add", ""},
    {0x0017, "sub", ""},
    {0x0018, "cat", ""},
    {0x0019, "bitand", ""},
    {0x001A, "bitor", ""},
    {0x001B, "bitxor", ""},
    {0x001C, "bitoc", ""},
    {0x001D, "bitsl", ""},
    {0x001E, "bitsr", ""},
    {0x001F, "div", ""},
    {0x0020, "mul", ""},
    {0x0021, "mod", ""},
    {0x0022, "rounds", ""},
    {0x0023, "crypt", ""},
    {0x0024, "pow", ""},
    {0x0025, "roundf", ""},
    {0x002C, "cmp", ""},
    {0x002D, "and", ""},
    {0x002E, "or", ""},
    {0x002F, "in", ""},
    {0x0030, "cin", ""},
    {0x0031, "ein", ""},
    {0x0032, "ecin", ""},
    {0x0033, "eq", ""},
    {0x0034, "ne", ""},
    {0x0035, "ge", ""},
    {0x0036, "le", ""},
    {0x0037, "lt", ""},
    {0x0038, "gt", ""},
    {0x0039, "not", ""},
    {0x003A, "dup", ""},
    {0x003B, "ret", ""},
    {0x003C, "retn", ""},
    {0x003E, "elem", ""},
    {0x003F, "elem_readonly", ""},
    {0x0040, "memb", ""},
    {0x0041, "memb_readonly", ""},
    {0x0042, "store", ""},
    {0x0043, "exit", ""},
    {0x0045, "op_do_file", ""},
    {0x0046, "op_do_function", ""},
    {0x0047, "hide", ""},
    {0x0048, "lockfile", ""},
    {0x0049, "lockfile_end", ""},
    {0x0051, "out_comp", ""},
    {0x0052, "op_errmsg", ""},
    {0x0055, "poprn", ""},
    {0x0057, "refer", ""},
    {0x0058, "capture", ""},
    {0x0059, "capture_end", ""},
    {0x005A, "isnull", ""},
    {0x005B, "swap", ""},
    {0x0105, "export", ""},
    {0x0108, "pop3delete", ""},
    {0x010B, "op_smtp_end", ""},
    {0x0116, "exit", ""},
    {0x0200, "dbopen", ""},
    {0x0201, "dbclose", ""},
    {0x0202, "dbskip", ""},
    {0x0203, "dbgo", ""},
    {0x0204, "dbadd", ""},
    {0x0205, "dbupdate", ""},
    {0x0206, "dbdelete", ""},
    {0x0207, "dbundelete", ""},
    {0x0208, "dbprimary", ""},
    {0x0209, "dbfind", ""},
    {0x020A, "dbsetindex", ""},
    {0x020B, "dbmakeindex", ""},
    {0x020C, "dbpack", ""},
    {0x020D, "dbreindex", ""},
    {0x020E, "dbcreate", ""},
    {0x0210, "dbopenview", ""},
    {0x0211, "dbcloseview", ""},
    {0x0212, "dbquery", ""},
    {0x0213, "dbfilter", ""},
    {0x0214, "dbrevealstructuredb", ""},
    {0x0215, "dbrevealstructureagg", ""},
    {0x0216, "dbopen", ""},
    {0x0217, "dbcommit", ""},
    {0x0218, "dbrollback", ""},
    {0x0219, "dbtransaction", ""},
    {0x021A, "dbcommand", ""},
    {0x4001, "pushc", "text"},
    {0x4002, "pushi", "integer"},
    {0x4004, "pushs", "system"},
    {0x4005, "pushg", "global"},
    {0x4006, "pushl", "local"},
    {0x400A, "pushnc", "text"},
    {0x400C, "pops", "system"},
    {0x400D, "popg", "global"},
    {0x400E, "popl", "local"},
    {0x4012, "popnc", "text"},
    {0x4025, "jmp", "jump"},
    {0x4026, "jmp_eq", "jump"},
    {0x4027, "jmp_lt", "jump"},
    {0x4028, "jmp_gt", "jump"},
    {0x4029, "jmp_le", "jump"},
    {0x402A, "jmp_ge", "jump"},
    {0x402B, "jmp_ne", "jump"},
    {0x403D, "call", "function"},
    {0x4044, "lineno", "integer"},
    {0x404A, "sourcefile", "text"},
    {0x404C, "erroutput", "integer"},
    {0x404D, "poplvnc", "text"},
    {0x404E, "localize", "text"},
    {0x404F, "localizev", "text"},
    {0x4050, "stdoutput", "integer"},
    {0x4053, "poprg", "global"},
    {0x4054, "poprl", "local"},
    {0x4056, "poprnc", "text"},
    {0x4101, "import", "jump"},
    {0x4102, "importf", "jump"},
    {0x4103, "import_loop", "jump"},
    {0x4104, "import_stop", "jump"},
    {0x4106, "pop3", "jump"},
    {0x4107, "pop3loop", "jump"},
    {0x4109, "pop3stop", "jump"},
    {0x410A, "op_smtp", "jump"},
    {0x410C, "op_http", "jump"},
    {0x410D, "op_http_loop", "jump"},
    {0x410E, "op_http_stop", "jump"},
    {0x410F, "op_commerce", "jump"},
    {0x4110, "op_commerce_loop", "jump"},
    {0x4111, "op_commerce_stop", "jump"},
    {0x4112, "op_http", "jump"},
    {0x4115, "async", "jump"},
    {0x5008, "pushdc", "text text"},
    {0x5010, "popdc", "text text"},
    {0x504B, "tagerror", "integer integer"},
    {0x505C, "swapn", "integer integer"},
    {0x5113, "op_http", "jump integer"},
    {0x5114, "op_smtp", "jump integer"},
    {0x5301, "cmpgg", "global global"},
    {0x5302, "cmpgi", "global integer"},
    {0x5303, "incg", "global integer"},
    {0x5304, "modgg", "global global"},
    {0x5305, "storegi", "global integer"},
    {0x8003, "pushf", "double"},
};

const int kWordCount = int(sizeof kWords / sizeof kWords[0]);

std::string KindName(OperandKind kind)
{
    switch (kind) {
        case OperandKind::kNone:
            return "";
        case OperandKind::kText:
            return "text";
        case OperandKind::kSystem:
            return "system";
        case OperandKind::kGlobal:
            return "global";
        case OperandKind::kLocal:
            return "local";
        case OperandKind::kFunction:
            return "function";
        case OperandKind::kJump:
            return "jump";
        case OperandKind::kInteger:
            return "integer";
        case OperandKind::kDouble:
            return "double";
    }
    return "?";
}

std::string Operands(const Instruction& instruction)
{
    const std::string second = KindName(instruction.kinds[1]);
    return KindName(instruction.kinds[0]) + (second.empty() ? "" : " " + second);
}

// The operands of a row as the manual calls them.
std::string ManualOperands(const std::string& operands)
{
    static const struct {
        const char* operands;
        const char* words;
    } rows[] = {
        {"system", "system variable"},
        {"global", "global variable"},
        {"local", "local variable"},
        {"jump", "label"},
        {"text text", "text, text"},
        {"integer integer", "integer, integer"},
        {"jump integer", "label, integer"},
        {"global global", "global variable, global variable"},
        {"global integer", "global variable, integer"},
    };
    for (const auto& row : rows)
        if (operands == row.operands)
            return row.words;
    return operands;
}

}  // namespace

TEST(InstructionSet, HasEveryWordWithItsNameAndOperands)
{
    ASSERT_EQ(InstructionCount(), kWordCount);
    for (int i = 0; i < kWordCount; ++i) {
        SCOPED_TRACE(testing::Message() << std::hex << kWords[i].word);
        const Instruction& instruction = InstructionAt(i);
        EXPECT_EQ(instruction.word, kWords[i].word);
        EXPECT_STREQ(instruction.name, kWords[i].name);
        EXPECT_EQ(Operands(instruction), kWords[i].operands);
        EXPECT_EQ(FindInstruction(kWords[i].word), &instruction);
    }
}

TEST(InstructionSet, HasNoOtherWord)
{
    int found = 0;
    for (unsigned int word = 0; word <= 0xFFFF; ++word)
        found += FindInstruction(word) != nullptr;
    EXPECT_EQ(found, kWordCount);
}

// An operand of 4 bytes, or of 8 for a double, stands behind the 2 bytes of the word.
TEST(InstructionSet, HasTheSizeThatItsOperandsTake)
{
    for (const auto& row : kWords) {
        SCOPED_TRACE(testing::Message() << std::hex << row.word);
        const std::string operands = row.operands;
        int size = 2;
        if (operands == "double")
            size += 8;
        else if (!operands.empty())
            size += operands.find(' ') == std::string::npos ? 4 : 8;
        EXPECT_EQ(InstructionSize(row.word), size);
    }
}

TEST(InstructionSet, EndsARunOnlyWhereNothingFollows)
{
    for (const auto& row : kWords) {
        SCOPED_TRACE(row.name);
        const std::string name = row.name;
        const bool ends = name == "jmp" || name == "ret" || name == "retn" || name == "exit";
        EXPECT_EQ(FallsThrough(row.word), !ends);
    }
}

TEST(InstructionSet, IsListedInTheManualWordByWord)
{
    std::ifstream file(ASSEMBLER_MANUAL);
    const std::string manual{std::istreambuf_iterator<char>(file), {}};
    for (const auto& row : kWords) {
        char word[8];
        snprintf(word, sizeof word, "%04X", row.word);
        const std::string line = std::string("\n| `") + row.name + "` | " + word + " | " +
                                 ManualOperands(row.operands) + " |";
        EXPECT_NE(manual.find(line), std::string::npos) << line;
    }
}
