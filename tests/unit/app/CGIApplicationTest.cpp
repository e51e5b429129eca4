// The application object: arguments, names, languages and character sets.
#include "app/CGIApplication.h"

#include <errno.h>
#include <unistd.h>

#include <sys/time.h>

#include "TestCGIApplication.h"
#include "primitives/MD5.h"

namespace {

TEST_F(ApplicationTest, RequestWithoutAConfigurationLibraryEndsWithAnErrorPage)
{
    Start();
    EXPECT_EQ(m_status, 1);
    size_t body = m_response.find("\r\n\r\n");
    ASSERT_NE(body, std::string::npos);
    EXPECT_EQ(m_response.substr(body + 4),
              "Configuration Error: Error loading configuration library: "
              "Unable to locate/load libzephconfig.so<br>"
              "Please contact the server administrator: webmaster@localhost");
    EXPECT_EQ(m_response.substr(0, 25), "Content-Type: text/html\r\n");
}

TEST_F(ApplicationTest, BasenameStandsBehindTheLastSlash)
{
    static const struct {
        const char* argument;
        const char* basename;
    } rows[] = {
        {"/usr/lib/cgi-bin/zeph", "zeph"},
        {"zeph", "zeph"},
        {"./a/", ""},
        {"", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.argument);
        ArgumentArea arguments({row.argument});
        CGIApplication application(arguments.argc(), arguments.argv());
        EXPECT_STREQ(application.basename(), row.basename);
        EXPECT_STREQ(application.process_name(), row.argument);
    }
}

TEST_F(ApplicationTest, ProgramMayHaveNoArgumentsAtAll)
{
    ArgumentArea arguments({});
    CGIApplication application(arguments.argc(), arguments.argv());
    EXPECT_STREQ(application.basename(), "");
    EXPECT_STREQ(application.process_name(), "");
    application.SetProcessName("name", 4);
    EXPECT_STREQ(application.process_name(), "");
}

TEST_F(ApplicationTest, ProcessNameFillsTheAreaOfAllArguments)
{
    // "prog", "one", "two": 5 + 4 + 4 bytes with their NULs.
    static const struct {
        const char* name;
        int length;
        const char* shown;
    } rows[] = {
        {"x", 1, "x"},
        {"", 0, ""},
        {"script.zpc", -1, "script.zpc"},
        {"script.zpc", 3, "scr"},
        {"0123456789ab", 12, "0123456789ab"},
        {"0123456789abc", 13, "0123456789ab"},
        {"0123456789abcdefghijklmnopqrstuvwxyz", -1, "0123456789ab"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ArgumentArea arguments({"prog", "one", "two"});
        CGIApplication application(arguments.argc(), arguments.argv());
        application.SetProcessName(row.name, row.length);
        EXPECT_STREQ(application.process_name(), row.shown);
        std::string area = row.shown;
        area.resize(13, '\0');
        EXPECT_EQ(arguments.bytes(), area + "environment");
    }
}

TEST_F(ApplicationTest, ProcessNameLeavesTheCopiesOfTheArguments)
{
    ArgumentArea arguments({"/bin/prog", "one"});
    CGIApplication application(arguments.argc(), arguments.argv());
    application.SetProcessName("other", 5);
    EXPECT_STREQ(application.basename(), "prog");
}

TEST_F(ApplicationTest, IdsAreThoseOfTheProcess)
{
    EXPECT_EQ(application().processid(), getpid());
    EXPECT_EQ(application().threadid(), getpid());
    EXPECT_EQ(application().GetUserID().data(), std::to_string(geteuid()));
    char host[256] = {};
    gethostname(host, 255);
    EXPECT_STREQ(application().hostname(), host);
}

TEST_F(ApplicationTest, LastErrorIsTheSystemsText)
{
    errno = ENOENT;
    EXPECT_STREQ(application().lasterror(), "No such file or directory");
}

TEST_F(ApplicationTest, SessionIDIsNewEachTimeAndHas32HexadecimalDigits)
{
    std::string former;
    for (int i = 0; i < 100; ++i) {
        int length = 0;
        char* text = application().MakeSessionID(&length);
        EXPECT_EQ(length, 32);
        EXPECT_EQ(strlen(text), 32u);
        EXPECT_EQ(strspn(text, "0123456789abcdef"), 32u) << text;
        EXPECT_NE(text, former);
        former = text;
        delete[] text;
    }
}

// The digest of the host's name, three numbers with their high bytes first, and the
// generator's bytes to the end.
std::string SessionID(const std::string& host, int process, const timeval& now)
{
    std::string seed = host;
    for (unsigned int number : {unsigned(process), unsigned(now.tv_sec), unsigned(now.tv_usec)})
        for (int shift : {24, 16, 8, 0})
            seed += char(number >> shift);
    while (seed.size() < 319)
        seed += char(rand());
    MD5Encoder encoder;
    unsigned char digest[16];
    encoder.Reset();
    encoder.Encode(reinterpret_cast<const unsigned char*>(seed.data()), 319, digest);
    char text[33] = {};
    encoder.Make_Printable(digest, text);
    return text;
}

TEST_F(ApplicationTest, SessionIDIsMadeOfHostProcessTimeAndChance)
{
    application().config()->SetValue(ZPCONFIG_LOCK_HOSTNAME, "the host", -1, 0);
    timeval now, after;
    gettimeofday(&now, nullptr);
    srand(7);
    int length;
    char* made = application().MakeSessionID(&length);
    gettimeofday(&after, nullptr);
    bool is_found = false;
    while (!is_found && !timercmp(&now, &after, >)) {
        srand(7);
        is_found = SessionID("the host", getpid(), now) == made;
        now.tv_sec += now.tv_usec == 999999;
        now.tv_usec = (now.tv_usec + 1) % 1000000;
    }
    EXPECT_TRUE(is_found) << made;
    delete[] made;
}

TEST_F(ApplicationTest, SessionIDTakesAtMost255BytesOfTheHostName)
{
    std::string host(1000, 'h');
    application().config()->SetValue(ZPCONFIG_LOCK_HOSTNAME, host.c_str(), -1, 0);
    int length;
    char* text = application().MakeSessionID(&length);
    EXPECT_EQ(strlen(text), 32u);
    delete[] text;
}

TEST_F(ApplicationTest, LockHostNameIsStoredInTheSettings)
{
    ASSERT_EQ(application().config()->value_string(ZPCONFIG_LOCK_HOSTNAME, nullptr), nullptr);
    char host[255] = {};
    gethostname(host, 254);
    const char* name = application().lockhostname();
    EXPECT_STREQ(name, host);
    int length;
    EXPECT_EQ(application().config()->value_string(ZPCONFIG_LOCK_HOSTNAME, &length), name);
    EXPECT_EQ(length, int(strlen(host)));
    EXPECT_EQ(application().lockhostname(), name);
}

TEST_F(ApplicationTest, LockHostNameOfTheSettingsIsTaken)
{
    application().config()->SetValue(ZPCONFIG_LOCK_HOSTNAME, "shared", -1, 0);
    EXPECT_STREQ(application().lockhostname(), "shared");
}

TEST_F(ApplicationTest, LockExpirationComesFromTheSettings)
{
    EXPECT_EQ(application().lockexpiration(), 90);
    Set(ZPCONFIG_LOCK_EXPIRATION, 17);
    EXPECT_EQ(application().lockexpiration(), 17);
}

struct LanguageRow {
    const char* name;
    const char* start;
    const String& (ZephApplication::*text)();
    int (ZephApplication::*count)();
    void (ZephApplication::*set)(const char*, int);
};

TEST_F(ApplicationTest, LanguagesDatabaseAndCharacterSetCountTheirChanges)
{
    static const LanguageRow rows[] = {
        {"language", "en-US", &ZephApplication::language, &ZephApplication::languagecount,
         &ZephApplication::SetLanguage},
        {"default language", "en-US", &ZephApplication::defaultlanguage,
         &ZephApplication::defaultlanguagecount, &ZephApplication::SetDefaultLanguage},
        {"default database", "xbase3", &ZephApplication::defaultdatabase,
         &ZephApplication::defaultdatabasecount, &ZephApplication::SetDefaultDatabase},
        {"character set", "utf-8", &ZephApplication::charset, &ZephApplication::charsetcount,
         &ZephApplication::SetCharacterSet},
    };
    for (const LanguageRow& row : rows) {
        SCOPED_TRACE(row.name);
        ZephApplication& object = application();
        EXPECT_STREQ((object.*row.text)().data(), row.start);
        EXPECT_EQ((object.*row.count)(), 1);
        (object.*row.set)("first and more", 5);
        EXPECT_STREQ((object.*row.text)().data(), "first");
        EXPECT_EQ((object.*row.count)(), 2);
        (object.*row.set)("first", -1);
        EXPECT_EQ((object.*row.count)(), 3) << "the same text counts as well";
    }
}

TEST_F(ApplicationTest, CharacterSetIsUTF8ByItsNameInAnyLetterCase)
{
    EXPECT_TRUE(application().CharacterSetIsUTF8());
    static const struct {
        const char* name;
        bool is_utf8;
    } rows[] = {
        {"iso-8859-1", false}, {"UTF-8", true}, {"utf8", false}, {"Utf-8", true},
        {"utf-8 ", false},     {"", false},     {"utf-8", true}, {"utf-", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        application().SetCharacterSet(row.name, -1);
        EXPECT_EQ(application().CharacterSetIsUTF8(), row.is_utf8);
        EXPECT_STREQ(application().GetCharacterSet().data(), row.name);
    }
    application().SetCharacterSet("utf-8\0x", 7);
    EXPECT_FALSE(application().CharacterSetIsUTF8());
}

TEST_F(ApplicationTest, ScriptStringsAreEncodedByTheCharacterSet)
{
    const char* text = "\xC3\xA4";
    application().SetCharacterSet("iso-8859-1", -1);
    int length, capacity;
    char* encoded = application().EncodeJavaScriptString(text, 2, &length, &capacity);
    EXPECT_STREQ(encoded, "\xC3\xA4");
    delete[] encoded;
    application().SetCharacterSet("utf-8", -1);
    encoded = application().EncodeJavaScriptString(text, 2, &length, &capacity);
    EXPECT_STREQ(encoded, "\\u00E4");
    delete[] encoded;
}

}  // namespace
