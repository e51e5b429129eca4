// The list of instructions against the words of compiled files, and the machine against
// the list.
#include <map>
#include <set>

#include "TestMachine.h"

namespace {

const struct {
    int word;
    const char* name;
} all_words[] = {
    {0x0000, "noop"},
    {0x0007, "pushd"},
    {0x0009, "pushn"},
    {0x000B, "pop"},
    {0x000F, "popd"},
    {0x0011, "popn"},
    {0x0013, "spush"},
    {0x0014, "spop"},
    {0x0015, "out"},
    {0x0016, "add"},
    {0x0017, "sub"},
    {0x0018, "cat"},
    {0x0019, "bitand"},
    {0x001A, "bitor"},
    {0x001B, "bitxor"},
    {0x001C, "bitoc"},
    {0x001D, "bitsl"},
    {0x001E, "bitsr"},
    {0x001F, "div"},
    {0x0020, "mul"},
    {0x0021, "mod"},
    {0x0022, "rounds"},
    {0x0023, "crypt"},
    {0x0024, "pow"},
    {0x0025, "roundf"},
    {0x002C, "cmp"},
    {0x002D, "and"},
    {0x002E, "or"},
    {0x002F, "in"},
    {0x0030, "cin"},
    {0x0031, "ein"},
    {0x0032, "ecin"},
    {0x0033, "eq"},
    {0x0034, "ne"},
    {0x0035, "ge"},
    {0x0036, "le"},
    {0x0037, "lt"},
    {0x0038, "gt"},
    {0x0039, "not"},
    {0x003A, "dup"},
    {0x003B, "ret"},
    {0x003C, "retn"},
    {0x003E, "elem"},
    {0x003F, "elem_readonly"},
    {0x0040, "memb"},
    {0x0041, "memb_readonly"},
    {0x0042, "store"},
    {0x0043, "exit"},
    {0x0045, "op_do_file"},
    {0x0046, "op_do_function"},
    {0x0047, "hide"},
    {0x0048, "lockfile"},
    {0x0049, "lockfile_end"},
    {0x0051, "out_comp"},
    {0x0052, "op_errmsg"},
    {0x0055, "poprn"},
    {0x0057, "refer"},
    {0x0058, "capture"},
    {0x0059, "capture_end"},
    {0x005A, "isnull"},
    {0x005B, "swap"},
    {0x0105, "export"},
    {0x0108, "pop3delete"},
    {0x010B, "op_smtp_end"},
    {0x0116, "exit"},
    {0x0200, "dbopen"},
    {0x0201, "dbclose"},
    {0x0202, "dbskip"},
    {0x0203, "dbgo"},
    {0x0204, "dbadd"},
    {0x0205, "dbupdate"},
    {0x0206, "dbdelete"},
    {0x0207, "dbundelete"},
    {0x0208, "dbprimary"},
    {0x0209, "dbfind"},
    {0x020A, "dbsetindex"},
    {0x020B, "dbmakeindex"},
    {0x020C, "dbpack"},
    {0x020D, "dbreindex"},
    {0x020E, "dbcreate"},
    {0x0210, "dbopenview"},
    {0x0211, "dbcloseview"},
    {0x0212, "dbquery"},
    {0x0213, "dbfilter"},
    {0x0214, "dbrevealstructuredb"},
    {0x0215, "dbrevealstructureagg"},
    {0x0216, "dbopen"},
    {0x0217, "dbcommit"},
    {0x0218, "dbrollback"},
    {0x0219, "dbtransaction"},
    {0x021A, "dbcommand"},
    {0x4001, "pushc"},
    {0x4002, "pushi"},
    {0x4004, "pushs"},
    {0x4005, "pushg"},
    {0x4006, "pushl"},
    {0x400A, "pushnc"},
    {0x400C, "pops"},
    {0x400D, "popg"},
    {0x400E, "popl"},
    {0x4012, "popnc"},
    {0x4025, "jmp"},
    {0x4026, "jmp_eq"},
    {0x4027, "jmp_lt"},
    {0x4028, "jmp_gt"},
    {0x4029, "jmp_le"},
    {0x402A, "jmp_ge"},
    {0x402B, "jmp_ne"},
    {0x403D, "call"},
    {0x4044, "lineno"},
    {0x404A, "sourcefile"},
    {0x404C, "erroutput"},
    {0x404D, "poplvnc"},
    {0x404E, "localize"},
    {0x404F, "localizev"},
    {0x4050, "stdoutput"},
    {0x4053, "poprg"},
    {0x4054, "poprl"},
    {0x4056, "poprnc"},
    {0x4101, "import"},
    {0x4102, "importf"},
    {0x4103, "import_loop"},
    {0x4104, "import_stop"},
    {0x4106, "pop3"},
    {0x4107, "pop3loop"},
    {0x4109, "pop3stop"},
    {0x410A, "op_smtp"},
    {0x410C, "op_http"},
    {0x410D, "op_http_loop"},
    {0x410E, "op_http_stop"},
    {0x410F, "op_commerce"},
    {0x4110, "op_commerce_loop"},
    {0x4111, "op_commerce_stop"},
    {0x4112, "op_http"},
    {0x4115, "async"},
    {0x5008, "pushdc"},
    {0x5010, "popdc"},
    {0x504B, "tagerror"},
    {0x505C, "swapn"},
    {0x5113, "op_http"},
    {0x5114, "op_smtp"},
    {0x5301, "cmpgg"},
    {0x5302, "cmpgi"},
    {0x5303, "incg"},
    {0x5304, "modgg"},
    {0x5305, "storegi"},
    {0x8003, "pushf"},
};

const struct {
    int word;
    const char* name;
    bool runs;
} listed[] = {
#define ZEPH_OP(word, name, handler) {word, name, true},
#define ZEPH_WORD(word, name) {word, name, false},
#include "vm/Instructions.def"
#undef ZEPH_OP
#undef ZEPH_WORD
};

std::set<int> RunningWords()
{
    std::set<int> words;
    for (const auto& row : listed)
        if (row.runs)
            words.insert(row.word);
    return words;
}

TEST(Instructions, ListHasExactlyTheWordsOfTheInstructionSet)
{
    std::map<int, std::string> names;
    for (const auto& row : listed)
        names[row.word] = row.name;
    EXPECT_EQ(names.size(), std::size(listed)) << "a word stands twice";
    EXPECT_EQ(names.size(), std::size(all_words));
    for (const auto& row : all_words) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(names[row.word], row.name);
    }
}

TEST(Instructions, ListRises)
{
    for (size_t i = 1; i < std::size(listed); ++i)
        EXPECT_LT(listed[i - 1].word, listed[i].word);
}

class InstructionsTest : public MachineTest {
protected:
    // Runs one word with operands of zero on an empty stack.
    bool IsIllegal(int word)
    {
        application.fatal_errors.clear();
        exited = 0;
        // No global is zero, so that a remainder has its divisor.
        for (int slot = 0; slot < globals.Entries(); ++slot)
            globals.Index(slot, 1)->SetValue_Integer(7);
        Run(Op(word) + std::string(16, '\0'));
        for (const std::string& error : application.fatal_errors)
            if (error.find(": Illegal Instruction\n") != std::string::npos)
                return true;
        return false;
    }
};

TEST_F(InstructionsTest, EveryOtherWordIsIllegal)
{
    std::set<int> running = RunningWords();
    for (int word = 0; word < 0x10000; ++word)
        if (IsIllegal(word) == (running.count(word) == 1))
            ADD_FAILURE() << std::hex << "0x" << word;
}

TEST_F(InstructionsTest, AnotherOperandFormIsAnotherWord)
{
    for (int word : {0x0001, 0x4000, 0x8001, 0xC001, 0x5001, 0x4015, 0x1000, 0x3000, 0x0003}) {
        SCOPED_TRACE(word);
        EXPECT_EQ(Run(Op(word) + std::string(16, '\0')), 0);
        EXPECT_EQ(Fatal(), "Illegal Instruction");
        application.fatal_errors.clear();
    }
}

}  // namespace
