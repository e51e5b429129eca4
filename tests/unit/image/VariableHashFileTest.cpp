#include <stdlib.h>

#include <new>

#include "TestImage.h"
#include "image/Dictionary.h"
#include "variables/SystemVariableHash.h"
#include "variables/VariableHash.h"

namespace {

int s_chains;

}  // namespace

// Counts the chains that this program makes on the heap. Out of line, since the compiler warns
// of free() where it sees the one without the other.
[[gnu::noinline]] void* operator new(size_t size)
{
    s_chains += size == sizeof(HashChains);
    void* memory = malloc(size);
    if (!memory)
        abort();
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept
{
    free(memory);
}

namespace {

class VariableHashFileTest : public ImageTest {
protected:
    VariableHashFileTest()
    {
        for (const char* name : {"bb", "a", "CCC", "aa"})
            m_dictionary.Entry_Add(name, -1);
    }
    // The text with which reading a table fails; empty when it succeeds.
    std::string ReadError(const std::string& body)
    {
        EXPECT_TRUE(Open(TestImage().Add("glbl", body)));
        m_file.Error("cut short");
        return m_table.Read(&m_file, TagOf("glbl")) ? "" : m_table.error().data();
    }
    int Seek(const char* name) { return m_table.Seek(-1, name, -1, nullptr); }

    Dictionary m_dictionary;
    VariableHash m_table{&m_dictionary, 0, 8};
};

std::string Header(int bucket_entries, int bits, long long count)
{
    return Word(bucket_entries) + char(bits) + Dword(count);
}

// "a" in front of "aa", "bb" and "CCC", in one bucket.
std::string GoodTable()
{
    return Header(1, 0, 4) + Word(0) + Dword(1) + Dwords({0, 2, 1, 3, 2, -1, 3, 0});
}

TEST_F(VariableHashFileTest, WriteIsHeaderBucketsAndSlots)
{
    for (int index = 0; index < 4; ++index)
        EXPECT_EQ(m_table.Insert(index), index);
    EXPECT_EQ(Written([&](TaggedFile* file) { return m_table.Write(file, TagOf("glbl")); }),
              GoodTable());
}

TEST_F(VariableHashFileTest, WriteEndsItsSection)
{
    m_table.Insert(1);
    ASSERT_TRUE(m_file.Create(Path().c_str(), nullptr, 0));
    ASSERT_TRUE(m_table.Write(&m_file, TagOf("glbl")));
    std::string rest(5, 'x');
    m_file.Section_Write(rest.data(), 5);
    ASSERT_TRUE(m_file.Section_Flush());
    m_file.Close();
    std::string table = Header(1, 0, 1) + Word(0) + Dword(0) + Dwords({1, -1});
    std::string directory = "glbl" + Dword(32) + Dword((long long)table.size());
    EXPECT_EQ(Saved().substr(32), table + rest + directory);
}

TEST_F(VariableHashFileTest, EmptyTableIsAHeader)
{
    EXPECT_EQ(Written([&](TaggedFile* file) { return m_table.Write(file, TagOf("glbl")); }),
              std::string(7, '\0'));
    EXPECT_EQ(ReadError(std::string(7, '\0')), "");
    EXPECT_EQ(m_table.Entries(), 0);
}

TEST_F(VariableHashFileTest, ReadTableFindsItsNames)
{
    ASSERT_EQ(ReadError(GoodTable()), "");
    EXPECT_EQ(m_table.Entries(), 4);
    EXPECT_EQ(Seek("BB"), 0);
    EXPECT_EQ(Seek("a"), 1);
    EXPECT_EQ(Seek("ccc"), 2);
    EXPECT_EQ(Seek("aa"), 3);
    EXPECT_EQ(Seek("c"), -1);
    EXPECT_EQ(m_table.Index(0, 0), nullptr);
    _VH_Entry* entry = nullptr;
    ASSERT_EQ(m_table.Seek(2, nullptr, 0, &entry), 2);
    EXPECT_EQ(entry->version, 0);
    EXPECT_EQ(entry->dictionary_index, 2);
    // The section has ended.
    EXPECT_FALSE(m_file.Section_Read_Start(TagOf("none"), nullptr));
}

TEST_F(VariableHashFileTest, TableIsAppendedTo)
{
    ASSERT_EQ(ReadError(GoodTable()), "");
    EXPECT_EQ(m_table.Insert("ab", -1), 4);
    for (const char* name : {"bb", "a", "CCC", "aa", "AB"})
        EXPECT_GE(Seek(name), 0) << name;
}

TEST_F(VariableHashFileTest, HeaderIsTestedInOrder)
{
    static const char kBits[] = "variable_hash_header.bucket_bits out of range";
    static const char kBuckets[] = "read_bucket_size out of range";
    static const char kCount[] = "variable_hash_header.variable_count out of range";
    static const char kEntries[] = "variable_hash_header.bucket_entries out of range";
    static const struct {
        int entries, bits;
        long long count;
        const char* error;
    } rows[] = {
        {-1, 33, -1, kBits},
        {0, 255, 0, kBits},
        {-1, 29, -1, kBuckets},
        {0, 30, 0, kBuckets},
        {0, 31, 0, kBuckets},
        {0, 28, 0, ""},
        {0, 32, 0, ""},
        {-1, 0, -1, kCount},
        {0, 0, 0x8000000, kCount},
        {-1, 0, 0, kEntries},
        {0x8000, 12, 0, kEntries},
        {0x7FFF, 28, 0, "cut short"},
        {0, 0, 1, "cut short"},
        {0, 0, 0x7FFFFFF, "cut short"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(&row - rows));
        EXPECT_EQ(ReadError(Header(row.entries, row.bits, row.count)), row.error);
    }
}

TEST_F(VariableHashFileTest, BucketNumbersAreTestedAsSigned)
{
    static const char kIndex[] = "variable_hash_bucket.index out of range";
    static const struct {
        int bits, index;
        const char* error;
    } rows[] = {
        {0, 0, ""},           {0, 1, kIndex},   {4, 15, ""}, {4, 16, kIndex}, {28, -1, kIndex},
        {16, 0x8000, kIndex}, {16, 0x7FFF, ""}, {32, 0, ""}, {32, 1, kIndex},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(&row - rows));
        EXPECT_EQ(ReadError(Header(1, row.bits, 0) + Word(row.index) + Dword(0)), row.error);
    }
}

TEST_F(VariableHashFileTest, EveryCutIsAShortReadAndKeepsTheTable)
{
    ASSERT_EQ(ReadError(GoodTable()), "");
    Variable* variable = m_table.Index(1, 1);
    ASSERT_TRUE(variable);
    std::string body = GoodTable();
    for (size_t size = 0; size < body.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(ReadError(body.substr(0, size)), "cut short");
        EXPECT_EQ(m_table.Entries(), 4);
        EXPECT_EQ(m_table.Index(1, 0), variable);
    }
}

TEST_F(VariableHashFileTest, SuccessfulReadReleasesTheOldVariables)
{
    ASSERT_EQ(ReadError(GoodTable()), "");
    Variable* variable = m_table.Index(1, 1);
    ASSERT_TRUE(variable);
    variable->IncRefCount();
    ASSERT_EQ(ReadError(GoodTable()), "");
    EXPECT_EQ(m_table.Index(1, 0), nullptr);
    EXPECT_EQ(variable->refcount(), 1);
    variable->DecRefCount();
}

TEST_F(VariableHashFileTest, ACopyKeepsItsChainsWhenItsSourceIsRead)
{
    ASSERT_EQ(ReadError(GoodTable()), "");
    VariableHash copy(m_table);
    ASSERT_EQ(ReadError(Header(1, 0, 1) + Word(0) + Dword(0) + Dwords({3, -1})), "");
    EXPECT_EQ(Seek("aa"), 0);
    EXPECT_EQ(Seek("bb"), -1);
    int slot = 0;
    for (const char* name : {"bb", "a", "CCC", "aa"})
        EXPECT_EQ(copy.Seek(-1, name, -1, nullptr), slot++) << name;
}

TEST_F(VariableHashFileTest, ASourceKeepsItsChainsWhenItsCopyIsRead)
{
    VariableHash source(&m_dictionary, 0, 8);
    for (int index = 0; index < 4; ++index)
        source.Insert(index);
    VariableHash copy(source);
    ASSERT_TRUE(Open(TestImage().Add("glbl", Header(0, 4, 0))));
    ASSERT_TRUE(copy.Read(&m_file, TagOf("glbl")));
    EXPECT_EQ(copy.Entries(), 0);
    for (int index = 0; index < 4; ++index)
        EXPECT_EQ(source.Seek(index, nullptr, 0, nullptr), index);
}

TEST_F(VariableHashFileTest, ALevelEndsInATableThatWasReadAnewAndIsShorter)
{
    SystemVariableHash system(&m_dictionary, 0, 8);
    for (int index = 0; index < 4; ++index)
        system.Insert(index);
    Variable* former = new Variable("aa", -1, "former", -1);
    former->IncRefCount();
    system.SetVariable(former);
    Variable* first = system.Index(0, 1);
    system.Push();
    system.SetVariable(new Variable("aa", -1, "inner", -1));
    system.SetVariable(new Variable("bb", -1, "inner", -1));
    ASSERT_TRUE(Open(TestImage().Add("glbl", Header(1, 0, 1) + std::string(14, '\0'))));
    ASSERT_TRUE(system.Read(&m_file, TagOf("glbl")));
    EXPECT_EQ(system.Pop(), 1);
    EXPECT_EQ(system.Entries(), 1);
    EXPECT_EQ(system.Index(0, 0), first);
    // What stood in a slot that is gone ends with its record.
    EXPECT_EQ(former->refcount(), 1);
    former->DecRefCount();
}

TEST_F(VariableHashFileTest, MissingSectionTakesTheFilesError)
{
    ASSERT_TRUE(Open(TestImage()));
    EXPECT_FALSE(m_table.Read(&m_file, TagOf("glbl")));
    EXPECT_STREQ(m_table.error().data(), "Invalid section");
}

TEST_F(VariableHashFileTest, DamagedChainsEnd)
{
    static const struct {
        long long head;
        std::vector<long long> slots;
    } rows[] = {
        {0, {0, 0}},        // a slot behind itself
        {0, {1, 1, 1, 0}},  // two slots in a circle
        {0, {0, 7}},        // a slot that does not exist
        {0, {0, 0x7FFFFFFF}},  {0, {0, -0x80000000LL}}, {5, {0, -1}}, {-7, {0, -1}},
        {0x7FFFFFFF, {0, -1}}, {0, {99, 1, -5, 0}},  // names that do not exist
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(&row - rows));
        std::string body = Header(1, 0, (long long)row.slots.size() / 2) + Word(0) +
                           Dword(row.head) + Dwords(row.slots);
        ASSERT_EQ(ReadError(body), "");
        EXPECT_EQ(Seek("zzzz"), -1);
        int slot = m_table.Insert("zzzz", -1);
        EXPECT_EQ(slot, m_table.Entries() - 1);
        Seek("zzzz");
        m_table.Index(0, 1);
    }
}

TEST_F(VariableHashFileTest, BucketThatTheFileCannotNumberIsNotWritten)
{
    VariableHash wide(&m_dictionary, 20, 8);
    for (int i = 0; i < 64; ++i)
        wide.Insert(std::to_string(i).c_str(), -1);
    ASSERT_TRUE(m_file.Create(Path().c_str(), nullptr, 0));
    EXPECT_FALSE(wide.Write(&m_file, TagOf("glbl")));
    EXPECT_STREQ(wide.error().data(), "variable_hash_bucket.index out of range");
}

TEST_F(VariableHashFileTest, ReadUsesTheChainsThatTheTableHas)
{
    ASSERT_TRUE(Open(TestImage().Add("glbl", GoodTable())));
    s_chains = 0;
    VariableHash table(&m_dictionary, 0, 8);
    EXPECT_EQ(s_chains, 1);
    ASSERT_TRUE(table.Read(&m_file, TagOf("glbl")));
    EXPECT_EQ(s_chains, 1);
    EXPECT_EQ(table.Seek(-1, "CCC", -1, nullptr), 2);
}

TEST_F(VariableHashFileTest, ReadLeavesTheChainsThatACopyShares)
{
    m_table.Insert("before", -1);
    VariableHash copy(m_table);
    ASSERT_EQ(ReadError(GoodTable()), "");
    EXPECT_EQ(Seek("before"), -1);
    EXPECT_EQ(Seek("aa"), 3);
    EXPECT_EQ(copy.Seek(-1, "before", -1, nullptr), 0);
    EXPECT_EQ(copy.Seek(-1, "aa", -1, nullptr), -1);
}

}  // namespace
