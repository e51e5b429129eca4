#include "config/ExternalCall.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config/UNIXExternalLibrary.h"
#include "image/Dictionary.h"
#include "image/Function.h"
#include "variables/VariableHash.h"

namespace {

// Libraries whose tables are in the test, by their paths.
class MadeUpLibrary : public ExternalLibrary {
public:
    bool Load(const char* path) override
    {
        m_path = path;
        return true;
    }
    void* Get_Function(const char* name) override
    {
        if (m_path == "symbolless") {
            m_error = String("Unknown symbol '") + name + "'";
            return nullptr;
        }
        return reinterpret_cast<void*>(m_path == "tableless" ? &NoTable : &Table);
    }

private:
    static const _ZP_EL_Table* NoTable() { return nullptr; }
    static const _ZP_EL_Table* Table()
    {
        static const _ZP_EL_Function none[1] = {};
        static const _ZP_EL_Table table = {nullptr, none};
        return &table;
    }
};

class MadeUpLibraries : public ExternalLibraryManager {
public:
    ExternalLibrary* Load(const char* path) override
    {
        ++loaded;
        if (std::string(path) == "absent") {
            m_error = "cannot be opened";
            return nullptr;
        }
        MadeUpLibrary* library = new MadeUpLibrary;
        library->Load(path);
        return library;
    }

    int loaded = 0;
};

class ExternalCallTest : public ::testing::Test {
protected:
    void Register()
    {
        ASSERT_TRUE(m_calls.RegisterDSO(ZEPH_page_functions)) << m_calls.error().data();
        ASSERT_TRUE(m_calls.RegisterDSO(ZEPH_page_more_functions)) << m_calls.error().data();
    }
    // The text that a function of no parameters gives.
    std::string Called(ExternalCallManager* calls, const char* name)
    {
        ExternalCall* call = calls->Lookup_External(name, -1);
        return call ? call->Call(nullptr, &m_parameters)->value().data() : "(none)";
    }

    Dictionary m_dictionary;
    VariableHash m_parameters{&m_dictionary, 4, 16};
    UNIXExternalLibraryManager m_libraries;
    ExternalCallManager m_calls{&m_libraries};
};

TEST_F(ExternalCallTest, TheFirstLibraryOfANameIsTaken)
{
    Register();
    EXPECT_EQ(Called(&m_calls, "which"), "first library");
    ExternalCallManager other(&m_libraries);
    ASSERT_TRUE(other.RegisterDSO(ZEPH_page_more_functions));
    ASSERT_TRUE(other.RegisterDSO(ZEPH_page_functions));
    EXPECT_EQ(Called(&other, "which"), "second library");
}

TEST_F(ExternalCallTest, NamesIgnoreLetterCaseAndAreWhole)
{
    Register();
    ExternalCall* call = m_calls.Lookup_External("Which", -1);
    ASSERT_TRUE(call);
    EXPECT_EQ(m_calls.Lookup_External("WHICH", 5), call) << "one function, found once";
    EXPECT_EQ(m_calls.Lookup_External("whichever", 5), call);
    EXPECT_EQ(m_calls.Lookup_External("whichever", -1), nullptr);
    EXPECT_EQ(m_calls.Lookup_External("whic", -1), nullptr);
    EXPECT_EQ(m_calls.Lookup_External("", 0), nullptr);
}

TEST_F(ExternalCallTest, WithoutLibrariesThereAreNoFunctions)
{
    EXPECT_EQ(m_calls.Lookup_External("which", -1), nullptr);
    Register();
    EXPECT_NE(m_calls.Lookup_External("which", -1), nullptr) << "a miss is not kept";
}

TEST_F(ExternalCallTest, DescriptorTellsTheParameters)
{
    Register();
    ExternalCall* second = m_calls.Lookup_External("second", -1);
    ExternalCall* increment = m_calls.Lookup_External("increment", -1);
    ASSERT_TRUE(second && increment);
    EXPECT_EQ(second->parameters(), 2);
    EXPECT_EQ(second->ParameterFlags(0), 0);
    EXPECT_EQ(second->ParameterFlags(1), 0);
    EXPECT_EQ(increment->parameters(), 1);
    EXPECT_EQ(increment->ParameterFlags(0), FunctionParameter::kByReference);
    EXPECT_EQ(increment->ParameterFlags(1), 0) << "not declared";
    EXPECT_EQ(increment->ParameterFlags(-1), 0);
}

TEST_F(ExternalCallTest, TheLowestBitMeansAReference)
{
    static const struct {
        int flags, by_reference;
    } rows[] = {{0, 0}, {1, 1}, {2, 0}, {3, 1}, {4, 0}, {-4, 0}, {-1, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.flags);
        _ZP_EL_Parameter parameter = {"a", 1, row.flags};
        _ZP_EL_Function function = {"f", 1, 1, &parameter, nullptr};
        EXPECT_EQ(ExternalCall(&function).ParameterFlags(0), row.by_reference);
    }
}

TEST_F(ExternalCallTest, DataWordIsTheFunctionsForTheRun)
{
    Register();
    EXPECT_EQ(Called(&m_calls, "count"), "1");
    EXPECT_EQ(Called(&m_calls, "count"), "2");
    ExternalCallManager task(m_calls);
    EXPECT_EQ(Called(&task, "count"), "1") << "a task starts anew";
    EXPECT_EQ(Called(&m_calls, "count"), "3");
}

TEST_F(ExternalCallTest, ResultIsClearedOrLeftToItsKeeper)
{
    Register();
    ExternalCall* increment = m_calls.Lookup_External("increment", -1);
    m_parameters.Insert("a", -1);
    Variable* result = increment->Call(nullptr, &m_parameters);
    result->SetValue("left over", -1);
    EXPECT_EQ(increment->Call(nullptr, &m_parameters), result);
    EXPECT_TRUE(result->IsNULL());
    result->SetValue("kept", -1);
    result->IncRefCount();
    Variable* another = increment->Call(nullptr, &m_parameters);
    EXPECT_NE(another, result);
    EXPECT_STREQ(result->value().data(), "kept");
    EXPECT_EQ(result->refcount(), 1);
    result->DecRefCount();
    EXPECT_EQ(m_parameters.Index(0, 0)->value_integer(), 3);
}

TEST_F(ExternalCallTest, LibrariesThatCannotBeRegisteredSayWhy)
{
    static const struct {
        const char* path;
        const char* error;
    } rows[] = {
        {"absent", "cannot be opened"},
        {"symbolless", "Unknown symbol 'zeph_function_table'"},
        {"tableless", "Unable to retrieve function descriptor table"},
    };
    MadeUpLibraries libraries;
    ExternalCallManager calls(&libraries);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        EXPECT_FALSE(calls.RegisterDSO(row.path));
        EXPECT_STREQ(calls.error().data(), row.error);
    }
    EXPECT_EQ(calls.libraries(), 0);
}

TEST_F(ExternalCallTest, AnyNumberOfLibrariesIsKept)
{
    MadeUpLibraries libraries;
    ExternalCallManager calls(&libraries);
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(calls.RegisterDSO(std::to_string(i).c_str()));
    EXPECT_EQ(calls.libraries(), 100);
    EXPECT_EQ(calls.Lookup_External("f", 1), nullptr);
    ExternalCallManager task(calls);
    EXPECT_EQ(task.libraries(), 100);
    EXPECT_EQ(libraries.loaded, 100) << "the same open libraries";
}

// ---- Persistent data

std::vector<std::string> s_ended;

void End(void* vm, void* value)
{
    s_ended.push_back(*static_cast<const char*>(vm) + std::string(static_cast<char*>(value)));
}

class PersistentDataTest : public ExternalCallTest {
protected:
    void SetUp() override { s_ended.clear(); }
    void Keep(ExternalCallManager* calls, const char* key, int length, const char* value)
    {
        static char machine = '@';
        calls->Register_Persistent(reinterpret_cast<ZephVM*>(&machine), key, length,
                                   const_cast<char*>(value), End);
    }
    static std::string Kept(ExternalCallManager* calls, const char* key, int length = -1)
    {
        void* value = calls->Lookup_Persistent(key, length);
        return value ? static_cast<char*>(value) : "(none)";
    }
};

TEST_F(PersistentDataTest, ValuesAreFoundInAnyLetterCase)
{
    char key[] = "Key";
    Keep(&m_calls, key, -1, "value");
    key[0] = '-';
    EXPECT_EQ(Kept(&m_calls, "key"), "value") << "the key has been copied";
    EXPECT_EQ(Kept(&m_calls, "KEYS", 3), "value");
    EXPECT_EQ(Kept(&m_calls, "KEYS"), "(none)");
    EXPECT_EQ(Kept(&m_calls, "-ey"), "(none)");
}

TEST_F(PersistentDataTest, KeysAreBytes)
{
    Keep(&m_calls, "a\0b", 3, "with b");
    Keep(&m_calls, "a\0c", 3, "with c");
    EXPECT_EQ(Kept(&m_calls, "a\0b", 3), "with b");
    EXPECT_EQ(Kept(&m_calls, "a\0C", 3), "with c");
    EXPECT_EQ(Kept(&m_calls, "a"), "(none)");
}

TEST_F(PersistentDataTest, ANewValueEndsTheFormerOne)
{
    Keep(&m_calls, "key", -1, "first");
    Keep(&m_calls, "other", -1, "other");
    Keep(&m_calls, "KEY", -1, "second");
    EXPECT_EQ(s_ended, std::vector<std::string>{"@first"});
    EXPECT_EQ(Kept(&m_calls, "key"), "second");
    EXPECT_EQ(Kept(&m_calls, "other"), "other");
}

TEST_F(PersistentDataTest, ValuesEndWithTheirManager)
{
    {
        ExternalCallManager calls(&m_libraries);
        Keep(&calls, "one", -1, "1");
        Keep(&calls, "two", -1, "2");
        calls.Register_Persistent(nullptr, "no function", -1, &calls, nullptr);
        EXPECT_TRUE(s_ended.empty());
    }
    EXPECT_EQ(s_ended, (std::vector<std::string>{"@1", "@2"}));
}

TEST_F(PersistentDataTest, ATaskHasNoneOfThem)
{
    Keep(&m_calls, "key", -1, "value");
    {
        ExternalCallManager task(m_calls);
        EXPECT_EQ(Kept(&task, "key"), "(none)");
    }
    EXPECT_TRUE(s_ended.empty());
}

TEST_F(PersistentDataTest, EndingAValueMayLookForOthersAndKeepMore)
{
    static ExternalCallManager* manager;
    struct Ending {
        static void Function(void*, void*)
        {
            s_ended.push_back(Kept(manager, "own") + " " + Kept(manager, "other"));
            manager->Register_Persistent(nullptr, "more", -1, const_cast<char*>("more"), Last);
        }
        static void Last(void*, void* value) { s_ended.push_back(static_cast<char*>(value)); }
    };
    {
        ExternalCallManager calls(&m_libraries);
        manager = &calls;
        calls.Register_Persistent(nullptr, "own", -1, const_cast<char*>("own"), Ending::Function);
        calls.Register_Persistent(nullptr, "other", -1, const_cast<char*>("other"), nullptr);
    }
    EXPECT_EQ(s_ended, (std::vector<std::string>{"(none) other", "more"}));
}

}  // namespace
