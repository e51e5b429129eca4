// The instruction `call` for functions of a library.
#include "CalledMachine.h"
#include "app/LogParameter.h"

namespace {

int s_calls;
Variable* s_kept;
std::vector<std::string> s_seen;

std::string TextOf(VariableHash* parameters, int slot)
{
    Variable* variable = parameters->Index(slot, 0);
    return variable ? variable->value().data() : "(null)";
}

// Gives back its two values, joined.
int Join(ZephVM*, VariableHash* parameters, Variable* result, void**)
{
    ++s_calls;
    std::string text = TextOf(parameters, 0) + "+" + TextOf(parameters, 1);
    result->SetValue(text.data(), int(text.size()));
    return 1;
}

int SetReference(ZephVM*, VariableHash* parameters, Variable*, void**)
{
    parameters->Index(0, 1)->SetValue("set by the library", -1);
    return 0;
}

int Count(ZephVM*, VariableHash*, Variable* result, void** data)
{
    char* count = static_cast<char*>(*data) + 1;
    *data = count;
    return result->SetValue_Integer(int(reinterpret_cast<long long>(count)));
}

// Tells what its result held before.
int Former(ZephVM*, VariableHash*, Variable* result, void**)
{
    s_seen.push_back(result->value().data());
    s_kept = result;
    return result->SetValue_Integer(int(s_seen.size()));
}

int Refers(ZephVM* vm, VariableHash*, Variable* result, void**)
{
    ++s_calls;
    if (s_calls == 1)
        result->Make_Reference(vm->frame()->locals()->Index(0, 1));
    return 0;
}

int Fails(ZephVM* vm, VariableHash*, Variable* result, void**)
{
    result->SetValue("result", -1);
    return vm->FatalError("told by the library");
}

// Calls the script function "again" with its own argument, and tells its argument before
// and after.
int Nests(ZephVM* vm, VariableHash* parameters, Variable* result, void**)
{
    s_seen.push_back(TextOf(parameters, 0));
    result->SetValue(TextOf(parameters, 0).c_str(), -1);
    if (TextOf(parameters, 0) != "xxx") {
        VariableList arguments;
        arguments.Insert(parameters->Index(0, 1), kListTail, 1);
        Variable inner("", 0);
        vm->RunFunction("again", 5, &arguments, &inner);
        s_seen.push_back(inner.value().data());
    }
    s_seen.push_back(TextOf(parameters, 0));
    s_seen.push_back(result->value().data());
    return 0;
}

const _ZP_EL_Parameter kValue[] = {{"a", 0, 0}};
const _ZP_EL_Parameter kTwoValues[] = {{"a", 0, 0}, {"b", 0, 0}};
const _ZP_EL_Parameter kReference[] = {{"a", 0, ZP_EL_REFERENCE}};
// A bit that says nothing.
const _ZP_EL_Parameter kOtherBit[] = {{"a", 0, 2}};

const _ZP_EL_Function kLibrary[] = {
    {"join", 4, 2, kTwoValues, Join},        {"set", 3, 1, kReference, SetReference},
    {"set2", 4, 1, kOtherBit, SetReference}, {"count", 5, 0, nullptr, Count},
    {"former", 6, 0, nullptr, Former},       {"refers", 6, 0, nullptr, Refers},
    {"fails", 5, 0, nullptr, Fails},         {"nests", 5, 1, kValue, Nests},
    {"bare", 4, 2, nullptr, Join},           {nullptr, 0, 0, nullptr, nullptr},
};

class ExternalCallsTest : public CalledMachineTest {
protected:
    void SetUp() override
    {
        s_calls = 0;
        s_kept = nullptr;
        s_seen.clear();
        UseLibrary(kLibrary);
    }
    // Whether the arguments of a function are gone.
    bool IsEmpty(int function)
    {
        VariableHash* locals = functions.Index(function)->locals();
        for (int slot = 0; slot < locals->Entries(); ++slot)
            if (locals->Index(slot, 0))
                return false;
        return true;
    }
};

TEST_F(ExternalCallsTest, ArgumentsGoInAndTheResultComesBack)
{
    int join = External("join", "a,b");
    EXPECT_EQ(Run(PushText("first") + PushText("second") + Op(kCall, join) + Op(kOut)), 1);
    EXPECT_EQ(written(), "first+second");
    EXPECT_EQ(depth(), 0);
    EXPECT_EQ(vm()->frame()->type(), ZephVM_Frame::kRoot);
}

TEST_F(ExternalCallsTest, NamesDifferInLetterCaseOnly)
{
    int join = External("JOIN", "a,b");
    EXPECT_EQ(Run(PushText("1") + PushText("2") + Op(kCall, join) + Op(kOut)), 1);
    EXPECT_EQ(written(), "1+2");
}

TEST_F(ExternalCallsTest, ArgumentsOfAFormerCallAreGone)
{
    int join = External("join", "a,b");
    EXPECT_EQ(Run(PushText("first") + PushText("second") + Op(kCall, join) + Op(kPop)), 1);
    EXPECT_TRUE(IsEmpty(join));
    EXPECT_EQ(Run(PushText("3") + PushText("4") + Op(kCall, join) + Op(kOut)), 1);
    EXPECT_EQ(written(), "3+4");
    EXPECT_EQ(s_calls, 2);
}

TEST_F(ExternalCallsTest, ReferencesAreTheCallersVariable)
{
    Global(0)->SetValue("former", -1);
    int set = External("set", "a var");
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kCall, set)), 1);
    EXPECT_EQ(GlobalText(0), "set by the library");
    EXPECT_EQ(Global(0)->refcount(), 1);
    EXPECT_TRUE(IsEmpty(set));
}

TEST_F(ExternalCallsTest, ValuesAreCopied)
{
    int nests = External("nests", "a");
    Global(0)->SetValue("xxx", -1);
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kCall, nests)), 1);
    EXPECT_EQ(Global(0)->refcount(), 1);
}

TEST_F(ExternalCallsTest, UnresolvedNameIsFatal)
{
    int unknown = External("Un<known>", "");
    EXPECT_EQ(Run(Op(kCall, unknown)), 0);
    EXPECT_EQ(Fatal(), "Unresolved call to external function 'Un<known>'");
    EXPECT_EQ(vm()->frame()->type(), ZephVM_Frame::kRoot);
}

TEST_F(ExternalCallsTest, OtherNumberOfParametersIsFatal)
{
    for (const char* parameters : {"", "a", "a,b,c"}) {
        SCOPED_TRACE(parameters);
        application.fatal_errors.clear();
        int join = External("join", parameters);
        EXPECT_EQ(Run(PushText("1") + PushText("2") + Op(kCall, join)), 0);
        EXPECT_EQ(Fatal(), "Number of parameters mismatch in call to external function");
        EXPECT_EQ(depth(), 2) << "nothing is taken";
    }
    EXPECT_EQ(s_calls, 0);
}

TEST_F(ExternalCallsTest, OtherKindOfParameterIsFatalAndStopsTheWalk)
{
    static const struct {
        const char* name;
        const char* parameters;
        int left;
    } rows[] = {
        {"join", "a,b var", 2}, {"join", "a var,b", 1}, {"set", "a", 2},
        {"set2", "a var", 2},   {"bare", "a,b var", 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + " " + row.parameters);
        application.fatal_errors.clear();
        int function = External(row.name, row.parameters);
        EXPECT_EQ(Run(Op(kPushG, 0) + Op(kPushG, 1) + Op(kCall, function)), 0);
        EXPECT_EQ(Fatal(), "Parameter type mismatch in call to external function");
        EXPECT_EQ(depth(), row.left);
        EXPECT_TRUE(IsEmpty(function));
    }
    EXPECT_EQ(s_calls, 0);
    End();
    EXPECT_EQ(Global(0)->refcount(), 1) << "what was taken is given back";
    EXPECT_EQ(Global(1)->refcount(), 1);
}

TEST_F(ExternalCallsTest, OtherFlagsOfTheImageAreAMismatch)
{
    int set = functions.Function_Add("set", -1, 0);
    functions.Index(set)->AddParameter(FunctionParameter::kByReference | 6, "a", -1);
    EXPECT_EQ(Run(Op(kPushG, 0) + Op(kCall, set)), 0);
    EXPECT_EQ(Fatal(), "Parameter type mismatch in call to external function");
}

TEST_F(ExternalCallsTest, MissingDeclarationsAreValues)
{
    int bare = External("bare", "a,b");
    EXPECT_EQ(Run(PushText("1") + PushText("2") + Op(kCall, bare) + Op(kOut)), 1);
    EXPECT_EQ(written(), "1+2");
}

TEST_F(ExternalCallsTest, SlotThatIsNotThereIsFatal)
{
    int join = External("join", "a,b");
    List<FunctionParameter>* parameters = functions.Index(join)->parameters();
    delete parameters->Remove(kListHead);
    parameters->Insert(new FunctionParameter(&dictionary, 0, 0, 9), kListHead);
    EXPECT_EQ(Run(PushText("1") + PushText("2") + Op(kCall, join)), 0);
    EXPECT_EQ(Fatal(), "Invalid parameter reference");
    EXPECT_EQ(depth(), 1);
    EXPECT_TRUE(IsEmpty(join));
    EXPECT_EQ(s_calls, 0);
}

TEST_F(ExternalCallsTest, ConstantForAReferenceIsFatal)
{
    int set = External("set", "a var");
    EXPECT_EQ(Run(PushText("constant") + Op(kCall, set)), 0);
    EXPECT_EQ(Fatal(), "Expected variable, found constant");
}

TEST_F(ExternalCallsTest, ResultIsPushedAsOwnedAndUsedAgain)
{
    int former = External("former", "");
    EXPECT_EQ(Run(Op(kCall, former)), 1);
    Stack_Entry* entry = stack()->Peek();
    ASSERT_EQ(entry->kind, Stack_Entry::kVariable);
    EXPECT_EQ(entry->owned, 1);
    EXPECT_EQ(entry->variable->refcount(), 2);
    Variable* first = entry->variable;
    stack()->Pop();
    EXPECT_EQ(Run(Op(kCall, former) + Op(kPop)), 1);
    EXPECT_EQ(s_kept, first);
    EXPECT_EQ(s_seen, (std::vector<std::string>{"", ""})) << "it is cleared for each call";
}

TEST_F(ExternalCallsTest, ResultThatIsKeptStaysAsItIs)
{
    int former = External("former", "");
    int keep = Script("keep", "a var", Op(kPushL, 0) + Op(kRet));
    // Three results at once on the stack.
    EXPECT_EQ(Run(Op(kCall, former) + Op(kCall, former) + Op(kCall, former) + Op(kOut) + Op(kOut) +
                  Op(kOut) + Op(kCall, former) + Op(kCall, keep) + Op(kCall, former) + Op(kOut) +
                  Op(kOut)),
              1);
    EXPECT_EQ(written(), "32154");
    EXPECT_EQ(s_seen, (std::vector<std::string>{"", "", "", "", ""}));
}

TEST_F(ExternalCallsTest, ResultThatBecameAReferenceIsNotClearedThrough)
{
    int refers = External("refers", "");
    Global(0)->SetValue("target", -1);
    EXPECT_EQ(Run(Op(kCall, refers) + Op(kOut) + Op(kCall, refers) + Op(kOut)), 1);
    EXPECT_EQ(written(), "target");
    EXPECT_EQ(GlobalText(0), "target");
    EXPECT_EQ(Global(0)->refcount(), 1);
}

TEST_F(ExternalCallsTest, DataWordLastsForTheRun)
{
    int count = External("count", "");
    int other = External("COUNT", "");
    EXPECT_EQ(Run(Op(kCall, count) + Op(kOut) + Op(kCall, other) + Op(kOut) + Op(kCall, count) +
                  Op(kOut)),
              1);
    EXPECT_EQ(written(), "123") << "both declarations are one function";
    EXPECT_NE(functions.Index(count)->external_call(), nullptr);
    EXPECT_EQ(functions.Index(count)->external_call(), functions.Index(other)->external_call());
}

TEST_F(ExternalCallsTest, ErrorOfTheLibraryHaltsBehindTheCall)
{
    int fails = External("fails", "");
    EXPECT_EQ(Run(Op(kCall, fails) + Op(kOut)), 0);
    EXPECT_EQ(Fatal(), "told by the library");
    EXPECT_EQ(depth(), 1) << "the result is there all the same";
    EXPECT_EQ(written(), "");
}

TEST_F(ExternalCallsTest, FullStackReleasesTheResult)
{
    std::string full;
    for (int i = 0; i < ZephVM_Stack::kFrameCapacity; ++i)
        full += Op(kPushI, i);
    int former = External("former", "");
    EXPECT_EQ(Run(full + Op(kCall, former)), 0);
    EXPECT_EQ(Fatal(), "Stack overflow");
    EXPECT_EQ(s_kept->refcount(), 1);
}

TEST_F(ExternalCallsTest, FunctionThatIsCalledAgainKeepsItsArgumentsAndResult)
{
    int nests = External("nests", "a");
    enum {
        kCat = 0x0018
    };
    Script("again", "a", PushText("x") + Op(kPushL, 0) + Op(kCat) + Op(kCall, nests) + Op(kRet));
    EXPECT_EQ(Run(PushText("x") + Op(kCall, nests) + Op(kOut)), 1);
    EXPECT_EQ(s_seen, (std::vector<std::string>{"x", "xx", "xxx", "xxx", "xxx", "xxx", "xx", "xx",
                                                "xx", "x", "x"}));
    EXPECT_EQ(written(), "x");
    EXPECT_TRUE(IsEmpty(nests));
    EXPECT_FALSE(functions.Index(nests)->is_running());
}

TEST_F(ExternalCallsTest, FunctionRunsInTheFrameOfItsCaller)
{
    int refers = External("refers", "");
    int f = Script("f", "local", Op(kCall, refers) + Op(kRet));
    EXPECT_EQ(Run(PushText("of f") + Op(kCall, f) + Op(kOut)), 1);
    EXPECT_EQ(written(), "of f");
}

TEST_F(ExternalCallsTest, CallsAreLogged)
{
    LogLevel(kLogExternalCall | kLogExternalParameter | kLogExternalReturnValue |
             kLogExternalReturn | kLogFunctionCall | kLogFunctionParameter);
    int join = External("Join", "a,b");
    EXPECT_EQ(
        Run(Op(kSourceFile, 3) + Op(kLineNo, 7) + PushText("1") + PushText("2") + Op(kCall, join)),
        1);
    EXPECT_EQ(application.log,
              (std::vector<std::string>{
                  "External Function Call|/www/x.zpc|x.zp|7|Join",
                  "External Function Parameter|/www/x.zpc|x.zp|7|Join|b|variable 2",
                  "External Function Parameter|/www/x.zpc|x.zp|7|Join|a|variable 1",
                  "External Function Return Value|/www/x.zpc|x.zp|7|Join|variable 1+2",
                  "External Function Return|/www/x.zpc|x.zp|7|Join",
              }));
}

TEST_F(ExternalCallsTest, EachEventHasABitOfItsOwn)
{
    int join = External("join", "a,b");
    for (unsigned int event :
         {kLogExternalCall, kLogExternalParameter, kLogExternalReturnValue, kLogExternalReturn}) {
        application.log.clear();
        LogLevel(event);
        EXPECT_EQ(Run(PushText("1") + PushText("2") + Op(kCall, join)), 1);
        EXPECT_EQ(application.log.size(), event == kLogExternalParameter ? 2u : 1u);
        for (const std::string& line : application.log)
            EXPECT_EQ(line.find(std::string(application.Log_Description(event)) + "|"), 0u);
    }
}

TEST_F(ExternalCallsTest, RefusedCallsAreNotLogged)
{
    LogLevel(~0u);
    int unknown = External("unknown", "");
    Run(Op(kCall, unknown));
    int join = External("join", "");
    Run(Op(kCall, join));
    for (const std::string& line : application.log)
        EXPECT_EQ(line.find("External"), std::string::npos) << line;
}

TEST_F(ExternalCallsTest, FilterStopsTheEventsOfCalls)
{
    static const unsigned int kEvents[] = {
        kLogFunctionCall, kLogFunctionParameter, kLogFunctionReturnValue, kLogFunctionReturn,
        kLogExternalCall, kLogExternalParameter, kLogExternalReturnValue, kLogExternalReturn,
    };
    static const unsigned int kBits[] = {16, 32, 64, 128, 256, 512, 1024, 2048};
    static const _ZP_EL_Function library[] = {
        {"join", 4, 2, kTwoValues, Join},
        {nullptr, 0, 0, nullptr, nullptr},
    };
    UseLibrary(library);
    int join = External("join", "a,b");
    int f = Script("f", "a", Op(kPushL, 0) + Op(kRet));
    std::string code = Op(kSourceFile, 3) + Op(kLineNo, 7) + PushText("x") + Op(kCall, f) +
                       PushText("y") + Op(kCall, join) + Op(kOut);
    for (size_t i = 0; i < std::size(kEvents); ++i) {
        SCOPED_TRACE(application.Log_Description(kEvents[i]));
        EXPECT_EQ(kEvents[i], kBits[i]);
        LogLevel(kEvents[i]);
        size_t lines = kEvents[i] == kLogExternalParameter ? 2 : 1;
        static const struct {
            const char* filter;
            bool passes;
        } rows[] = {{"!x.zp", false}, {"x.zp:8", false}, {"other.zp", false}, {"x.zp:7", true}};
        for (const auto& row : rows) {
            SCOPED_TRACE(row.filter);
            application.ParseLogFilter(row.filter);
            application.log.clear();
            EXPECT_EQ(Run(code), 1);
            EXPECT_EQ(application.log.size(), row.passes ? lines : 0);
        }
    }
    application.ParseLogFilter("");
}

}  // namespace
