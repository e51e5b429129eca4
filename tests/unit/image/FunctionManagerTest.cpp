#include "image/FunctionManager.h"

#include "TestImage.h"
#include "image/Dictionary.h"

namespace {

// A table of locals without variables, as a file has it.
const std::string kNoLocals = Word(0) + char(8) + Dword(0);

std::string Header(int bucket_entries, int bits, long long count)
{
    return Word(bucket_entries) + char(bits) + Dword(count);
}

// Functions "f" (external, one parameter "x" by reference) and "gg" (segment 3,
// offset 9), in one bucket.
std::string GoodTable()
{
    return Header(1, 0, 2) + Word(0) + Dword(0) + Dwords({1, -1}) + Dwords({0, 1, 1, -1, -1}) +
           Dwords({1, 1, 0}) + Header(1, 0, 1) + Word(0) + Dword(0) + Dwords({1, -1}) +
           Dwords({2, 0, 4, 3, 9}) + kNoLocals;
}

class FunctionManagerTest : public ImageTest {
protected:
    void AddNames()
    {
        for (const char* name : {"f", "x", "gg"})
            m_dictionary.Entry_Add(name, -1);
    }
    // The text with which reading a "func" body fails; empty when it succeeds.
    std::string ReadError(const std::string& body)
    {
        EXPECT_TRUE(Open(TestImage().Add("func", body)));
        m_file.Error("cut short");
        return m_functions.Read(&m_file) ? "" : m_functions.error().data();
    }
    int Get(const char* name)
    {
        Function* function = m_functions.Function_Get(name, -1);
        return function ? function->index() : -1;
    }
    // The parameters as "name:flags@slot ...".
    static std::string Parameters(Function* function)
    {
        std::string text;
        List<FunctionParameter>* list = function->parameters();
        for (FunctionParameter* item = list->First(); item; item = list->Next())
            text += std::string(item->name().data()) + ":" + std::to_string(item->flags()) + "@" +
                    std::to_string(item->slot()) + " ";
        return text;
    }

    Dictionary m_dictionary;
    FunctionManager m_functions{&m_dictionary, 0};
};

TEST_F(FunctionManagerTest, NamesAreFoundInAnyLetterCase)
{
    EXPECT_EQ(m_functions.Function_Add("Alpha", -1, 0), 0);
    EXPECT_EQ(Get("alpha"), 0);
    EXPECT_EQ(Get("ALPHA"), 0);
    EXPECT_EQ(Get("alph"), -1);
    EXPECT_EQ(Get("alphab"), -1);
    EXPECT_EQ(m_functions.Function_Get("aLPHAbet", 5), m_functions.Index(0));
    EXPECT_EQ(m_functions.hash("aLPHA", 5), m_functions.hash("Alpha", -1));
    EXPECT_STREQ(m_functions.Index(0)->name().data(), "Alpha");
    EXPECT_EQ(m_functions.Index(1), nullptr);
    EXPECT_EQ(m_functions.Index(-1), nullptr);
}

TEST_F(FunctionManagerTest, EmptyTableHasNoFunctions)
{
    EXPECT_EQ(Get("f"), -1);
    EXPECT_EQ(Get(""), -1);
    EXPECT_EQ(m_functions.count(), 0);
}

TEST_F(FunctionManagerTest, DuplicateNamesKeepBothAndTheFirstIsFound)
{
    EXPECT_EQ(m_functions.Function_Add("twice", -1, 0), 0);
    EXPECT_EQ(m_functions.Function_Add("TWICE", -1, 0), 1);
    EXPECT_EQ(Get("twice"), 0);
    EXPECT_STREQ(m_functions.Index(1)->name().data(), "TWICE");
    EXPECT_EQ(m_functions.Index(1)->index(), 1);
}

TEST_F(FunctionManagerTest, ChainsAreSortedByLengthThenName)
{
    for (const char* name : {"ccc", "B", "aa", "C", "AB", "a"})
        m_functions.Function_Add(name, -1, 0);
    // a(5) B(1) C(3) aa(2) AB(4) ccc(0)
    std::string body = Written([&](TaggedFile* file) { return m_functions.Write(file); });
    EXPECT_EQ(body.substr(0, 13), Header(1, 0, 6) + Word(0) + Dword(5));
    EXPECT_EQ(body.substr(13, 24), Dwords({-1, 3, 4, 2, 0, 1}));
    for (const char* name : {"CCC", "b", "AA", "c", "ab", "A"})
        EXPECT_GE(Get(name), 0) << name;
}

TEST_F(FunctionManagerTest, LongerNameEndsTheSearch)
{
    AddNames();
    // A chain in the wrong order: "gg" in front of "f".
    std::string body = Header(1, 0, 2) + Word(0) + Dword(0) + Dwords({1, -1}) +
                       Dwords({2, 0, 0, 0, 0}) + kNoLocals + Dwords({0, 0, 0, 0, 0}) + kNoLocals;
    ASSERT_EQ(ReadError(body), "");
    EXPECT_EQ(Get("gg"), 0);
    EXPECT_EQ(Get("f"), -1);
    EXPECT_EQ(m_functions.Index(1)->name_index(), 0);
}

TEST_F(FunctionManagerTest, LaterNameOfEqualLengthEndsTheSearch)
{
    AddNames();
    // A chain in the wrong order: "x" in front of "f".
    std::string body = Header(1, 0, 2) + Word(0) + Dword(0) + Dwords({1, -1}) +
                       Dwords({1, 0, 0, 0, 0}) + kNoLocals + Dwords({0, 0, 0, 0, 0}) + kNoLocals;
    ASSERT_EQ(ReadError(body), "");
    EXPECT_EQ(Get("x"), 0);
    EXPECT_EQ(Get("X"), 0);
    EXPECT_EQ(Get("f"), -1);
    EXPECT_EQ(Get("y"), -1);
}

TEST_F(FunctionManagerTest, ExternalDeclarationHasNoCode)
{
    Function* function = m_functions.Index(m_functions.Function_Add("ext", 3, 4));
    EXPECT_EQ(function->flags(), 5);
    EXPECT_EQ(function->segment(), -1);
    EXPECT_EQ(function->offset(), -1);
    EXPECT_EQ(function->external_call(), nullptr);
    EXPECT_EQ(function->parameters()->Entries(), 0);
}

TEST_F(FunctionManagerTest, ScriptFunctionHasCodeAndParameters)
{
    int index = m_functions.Function_Add(2, 77, "f", 1, "a, b var", -1, 16);
    Function* function = m_functions.Index(index);
    EXPECT_EQ(function->flags(), 16);
    EXPECT_EQ(function->segment(), 2);
    EXPECT_EQ(function->offset(), 77);
    EXPECT_EQ(Parameters(function), "a:0@0 b:1@1 ");
    EXPECT_EQ(function->locals()->Seek(-1, "B", 1, nullptr), 1);
}

TEST_F(FunctionManagerTest, ParameterListsAreParsed)
{
    static const struct {
        const char* list;
        const char* parameters;
    } rows[] = {
        {"", ""},
        {"a", "a:0@0 "},
        {"a,b var,c VAR", "a:0@0 b:1@1 c:1@2 "},
        {"a,", "a:0@0 :0@1 "},
        {",", ":0@0 :0@1 "},
        {" a\t,\r\n b \t Var ", "a:0@0 b:1@1 "},
        {"a variable", "a:0@0 "},
        {"a va", "a:0@0 "},
        {"a var x", "a:0@0 "},
        {"var", "var:0@0 "},
        {"var var", "var:1@0 "},
        {" ", ":0@0 "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.list);
        int index = m_functions.Function_Add(0, 0, "f", 1, row.list, -1, 0);
        EXPECT_EQ(Parameters(m_functions.Index(index)), row.parameters);
    }
}

TEST_F(FunctionManagerTest, ParameterListEndsAtItsLength)
{
    int index = m_functions.Function_Add(0, 0, "f", 1, "a,bc", 3, 0);
    EXPECT_EQ(Parameters(m_functions.Index(index)), "a:0@0 b:0@1 ");
}

TEST_F(FunctionManagerTest, TableGrows)
{
    FunctionManager wide(&m_dictionary, 8);
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(wide.Function_Add(("f" + std::to_string(i)).c_str(), -1, 0), i);
    for (int i = 0; i < 300; ++i) {
        Function* function = wide.Function_Get(("F" + std::to_string(i)).c_str(), -1);
        ASSERT_TRUE(function);
        EXPECT_EQ(function->index(), i);
    }
}

TEST_F(FunctionManagerTest, ChainsAreWalkedByTheirLengthsAlone)
{
    // One bucket: the head is longer than what is asked for.
    m_functions.Function_Add("longer", -1, 0);
    EXPECT_EQ(Get("long"), -1);
    m_functions.Function_Add("long", -1, 0);
    EXPECT_EQ(Get("long"), 1);
    EXPECT_EQ(Get("longer"), 0);
    EXPECT_EQ(Get("longest"), -1);
}

TEST_F(FunctionManagerTest, FunctionWithoutParametersHasItsLocals)
{
    int index = m_functions.Function_Add(0, 0, "f", 1, "", 0, 0);
    m_functions.Index(index)->locals()->Insert("local", -1);
    std::string body = Written([&](TaggedFile* file) { return m_functions.Write(file); });
    FunctionManager copy(&m_dictionary, 0);
    ASSERT_TRUE(Open(TestImage().Add("func", body)));
    ASSERT_TRUE(copy.Read(&m_file)) << copy.error().data();
    EXPECT_EQ(copy.Index(0)->parameters()->Entries(), 0);
    EXPECT_EQ(copy.Index(0)->locals()->Entries(), 1);
    EXPECT_EQ(copy.Index(0)->locals()->Seek(-1, "LOCAL", -1, nullptr), 0);
}

TEST_F(FunctionManagerTest, CopySharesNothingWithItsSource)
{
    const int kScript = m_functions.Function_Add(2, 77, "script", -1, "a, b var", -1, 16);
    const int kExternal = m_functions.Function_Add("external", -1, 4);
    Function* script = m_functions.Index(kScript);
    script->locals()->Insert("local", -1);
    script->locals()->Index(0, 1)->SetValue("kept", -1);
    m_functions.Index(kExternal)->SetExternalCall(reinterpret_cast<ExternalCall*>(this));

    Dictionary dictionary(m_dictionary);
    FunctionManager copy(nullptr, &dictionary, m_functions);
    EXPECT_EQ(copy.count(), 2);
    Function* copied = copy.Function_Get("SCRIPT", -1);
    ASSERT_TRUE(copied);
    EXPECT_NE(copied, script);
    EXPECT_EQ(copied->index(), kScript);
    EXPECT_EQ(copied->flags(), 16);
    EXPECT_EQ(copied->segment(), 2);
    EXPECT_EQ(copied->offset(), 77);
    EXPECT_EQ(copied->name_index(), script->name_index());
    EXPECT_STREQ(copied->name().data(), "script");
    EXPECT_EQ(Parameters(copied), "a:0@0 b:1@1 ");
    EXPECT_EQ(copied->locals()->Entries(), 3);
    EXPECT_EQ(copied->locals()->Seek(-1, "local", -1, nullptr), 2);
    EXPECT_STREQ(copied->locals()->Index(0, 0)->value().data(), "kept");
    EXPECT_NE(copied->locals()->Index(0, 0), script->locals()->Index(0, 0));
    EXPECT_EQ(copied->locals()->names(), &dictionary);
    ASSERT_TRUE(copy.Index(kExternal));
    EXPECT_EQ(copy.Index(kExternal)->external_call(), nullptr) << "it binds anew";
    EXPECT_EQ(copy.Index(kExternal)->flags(), 5);
}

TEST_F(FunctionManagerTest, CopyGrowsOnItsOwn)
{
    FunctionManager source(&m_dictionary, 4);
    for (int i = 0; i < 65; ++i)
        source.Function_Add(("f" + std::to_string(i)).c_str(), -1, 0);
    Dictionary dictionary(m_dictionary);
    FunctionManager copy(nullptr, &dictionary, source);
    for (int i = 65; i < 200; ++i)
        EXPECT_EQ(copy.Function_Add(("f" + std::to_string(i)).c_str(), -1, 0), i);
    for (int i = 0; i < 200; ++i) {
        Function* function = copy.Function_Get(("F" + std::to_string(i)).c_str(), -1);
        ASSERT_TRUE(function) << i;
        EXPECT_EQ(function->index(), i);
    }
    EXPECT_EQ(source.count(), 65);
    EXPECT_EQ(source.Function_Get("f65", -1), nullptr);
}

TEST_F(FunctionManagerTest, CopyOfAnEmptyTableIsEmpty)
{
    FunctionManager copy(nullptr, &m_dictionary, m_functions);
    EXPECT_EQ(copy.count(), 0);
    EXPECT_EQ(copy.Function_Get("f", -1), nullptr);
    EXPECT_EQ(copy.Function_Add("f", -1, 0), 0);
    EXPECT_NE(copy.Function_Get("F", -1), nullptr);
}

TEST_F(FunctionManagerTest, ImportDeclaresAFunctionOfAnotherImage)
{
    Dictionary theirs;
    theirs.Entry_Add("shifts the indices", -1);
    FunctionManager source(&theirs, 8);
    int index = source.Function_Add(5, 9, "Other", -1, "a, b var", -1, 17);
    source.Index(index)->locals()->Insert("local", -1);
    m_functions.Function_Add("first", -1, 0);

    ASSERT_EQ(m_functions.Function_Add(source.Index(index)), 1);
    Function* imported = m_functions.Function_Get("OTHER", -1);
    ASSERT_TRUE(imported);
    EXPECT_EQ(imported->index(), 1);
    EXPECT_STREQ(imported->name().data(), "Other");
    EXPECT_EQ(imported->flags(), 17);
    EXPECT_EQ(imported->segment(), -1);
    EXPECT_EQ(imported->offset(), -1);
    EXPECT_EQ(imported->external_call(), nullptr);
    EXPECT_EQ(Parameters(imported), "a:0@0 b:1@1 ");
    EXPECT_EQ(imported->locals()->Entries(), 2) << "the parameters and no other";
    EXPECT_EQ(imported->locals()->names(), &m_dictionary);
    EXPECT_EQ(m_functions.Function_Add(source.Index(index)), 2) << "equal names are not refused";
    EXPECT_EQ(Get("other"), 1);
}

TEST_F(FunctionManagerTest, WriteIsTheTableByteForByte)
{
    m_dictionary.Entry_Add("unused", -1);
    int external = m_functions.Function_Add("f", -1, 0);
    m_functions.Index(external)->AddParameter(1, "x", -1);
    m_functions.Function_Add(3, 9, "gg", -1, "", 0, 4);
    // Names have the indices 1, 2, 3; the bucket of the local is that of "x".
    std::string body = Written([&](TaggedFile* file) { return m_functions.Write(file); });
    std::string start = Header(1, 0, 2) + Word(0) + Dword(0) + Dwords({1, -1}) +
                        Dwords({1, 1, 1, -1, -1}) + Dwords({2, 1, 0}) + Header(1, 8, 1);
    std::string end = Dword(0) + Dwords({2, -1}) + Dwords({3, 0, 4, 3, 9}) + kNoLocals;
    ASSERT_EQ(body.size(), start.size() + 2 + end.size());
    EXPECT_EQ(body.substr(0, start.size()), start);
    EXPECT_EQ(body.substr(start.size() + 2), end);
}

TEST_F(FunctionManagerTest, WriteLeavesItsSectionOpen)
{
    m_functions.Function_Add("f", -1, 0);
    ASSERT_TRUE(m_file.Create(Path().c_str(), nullptr, 0));
    ASSERT_TRUE(m_functions.Write(&m_file));
    m_file.Section_Write("more", 4);
    m_file.Section_End();
    ASSERT_TRUE(m_file.Section_Flush());
    ASSERT_TRUE(m_file.Open(Path().c_str(), 1));
    int size = 0;
    ASSERT_TRUE(m_file.Section_Read_Start(TagOf("func"), &size));
    EXPECT_EQ(size, 7 + 6 + 4 + 20 + 7 + 4);
}

TEST_F(FunctionManagerTest, ReadTakesFunctionsParametersAndLocals)
{
    AddNames();
    ASSERT_EQ(ReadError(GoodTable()), "");
    EXPECT_EQ(m_functions.count(), 2);
    Function* external = m_functions.Function_Get("F", 1);
    ASSERT_TRUE(external);
    EXPECT_EQ(external->index(), 0);
    EXPECT_EQ(external->flags(), Function::kExternal);
    EXPECT_EQ(external->segment(), -1);
    EXPECT_EQ(Parameters(external), "x:1@0 ");
    EXPECT_EQ(external->locals()->Entries(), 1);
    EXPECT_EQ(external->locals()->Seek(-1, "X", 1, nullptr), 0);
    Function* second = m_functions.Function_Get("gg", 2);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->index(), 1);
    EXPECT_EQ(second->flags(), 4);
    EXPECT_EQ(second->segment(), 3);
    EXPECT_EQ(second->offset(), 9);
    EXPECT_EQ(second->parameters()->Entries(), 0);
    EXPECT_EQ(second->locals()->Entries(), 0);
    EXPECT_FALSE(m_file.Section_Read_Start(TagOf("none"), nullptr));
    // And on with additions.
    EXPECT_EQ(m_functions.Function_Add("hh", -1, 0), 2);
    EXPECT_EQ(Get("HH"), 2);
    EXPECT_EQ(Get("gg"), 1);
}

TEST_F(FunctionManagerTest, HeaderIsTestedInOrder)
{
    static const char kBits[] = "function_list_header.bucket_bits out of range";
    static const char kBuckets[] = "read_bucket_size out of range";
    static const char kCount[] = "function_list_header.function_count out of range";
    static const char kEntries[] = "function_list_header.bucket_entries out of range";
    static const struct {
        int entries, bits;
        long long count;
        const char* error;
    } rows[] = {
        {-1, 33, -1, kBits},
        {-1, 200, -1, kBits},
        {-1, 29, -1, kBuckets},
        {-1, 31, -1, kBuckets},
        {-1, 8, -1, kCount},
        {-1, 8, 0x20000000, kCount},
        {0, 8, 0x10000000, kCount},
        {-1, 8, 0xFFFFFFF, kEntries},
        {0x7FFF, 8, 0, "cut short"},
        {0, 8, 0xFFFFFFF, "cut short"},
        {0, 8, 0x1000, "cut short"},
        {0, 32, 0, ""},
        {0, 28, 0, ""},
        {0, 0, 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(&row - rows));
        EXPECT_EQ(ReadError(Header(row.entries, row.bits, row.count)), row.error);
    }
}

TEST_F(FunctionManagerTest, BitsOf32AreOneBucket)
{
    AddNames();
    static const struct {
        int index;
        const char* error;
    } rows[] = {
        {0, ""},
        {1, "function_hash_bucket.index out of range"},
        {-1, "function_hash_bucket.index out of range"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.index);
        EXPECT_EQ(ReadError(Header(1, 32, 1) + Word(row.index) + Dword(0) + Dword(-1) +
                            Dwords({2, 0, 0, 0, 0}) + kNoLocals),
                  row.error);
    }
    EXPECT_EQ(m_functions.count(), 1);
    EXPECT_EQ(Get("gg"), 0);
}

TEST_F(FunctionManagerTest, FunctionsAreTestedInOrder)
{
    AddNames();
    static const char kCount[] = "function_header.parameter_count out of range";
    static const struct {
        std::vector<long long> fields;
        std::string locals;
        const char* error;
    } rows[] = {
        {{3, -1, 0, 0, 0}, "", "Invalid function header name index"},
        {{-1, 0, 0, 0, 0}, "", "Invalid function header name index"},
        {{0, -1, 0, 0, 0}, "", kCount},
        {{0, 0xAAAAAAB, 0, 0, 0}, "", kCount},
        {{0, 0xAAAAAAA, 0, 0, 0}, "", "Invalid size"},
        {{0, 0xAAAA000, 0, 0, 0}, "", "cut short"},
        {{0, 1, 0, 0, 0}, "", "cut short"},
        {{0, 1, 0, 0, 0, 3, 0, 0}, "", "Invalid function parameter name index"},
        {{0, 1, 0, 0, 0, 1, 0, 0}, "", "cut short"},
        {{0, 0, 0, 0, 0}, Header(0, 33, 0), "variable_hash_header.bucket_bits out of range"},
        {{0, 0, 0, 0, 0}, Header(0, 8, 0), ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(&row - rows));
        EXPECT_EQ(ReadError(Header(0, 8, 1) + Dword(-1) + Dwords(row.fields) + row.locals),
                  row.error);
    }
}

TEST_F(FunctionManagerTest, EveryCutIsAShortReadAndKeepsTheTable)
{
    AddNames();
    m_functions.Function_Add("kept", -1, 0);
    std::string body = GoodTable();
    for (size_t size = 0; size < body.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(ReadError(body.substr(0, size)), "cut short");
        EXPECT_EQ(m_functions.count(), 1);
        EXPECT_EQ(Get("kept"), 0);
    }
}

TEST_F(FunctionManagerTest, MissingSectionIsInvalid)
{
    ASSERT_TRUE(Open(TestImage()));
    EXPECT_FALSE(m_functions.Read(&m_file));
    EXPECT_STREQ(m_functions.error().data(), "Invalid section");
}

TEST_F(FunctionManagerTest, DamagedChainsEnd)
{
    AddNames();
    static const long long values[] = {0, 1, 2, 100, -2, 0x7FFFFFFF, -0x80000000LL};
    for (long long head : values)
        for (long long next : values) {
            SCOPED_TRACE(std::to_string(head) + " " + std::to_string(next));
            std::string function = Dwords({0, 0, 0, 0, 0}) + kNoLocals;
            ASSERT_EQ(ReadError(Header(1, 0, 2) + Word(0) + Dword(head) + Dwords({next, next}) +
                                function + function),
                      "");
            EXPECT_EQ(Get("absent"), -1);
            EXPECT_EQ(Get("f") >= 0, head == 0 || head == 1);
            EXPECT_EQ(m_functions.Function_Add("z", -1, 0), 2);
        }
}

}  // namespace
