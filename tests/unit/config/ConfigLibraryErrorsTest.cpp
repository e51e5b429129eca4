// The texts with which the settings library refuses a file.

#include <sys/stat.h>
#include <unistd.h>

#include "SettingsFileFixture.h"

namespace {

typedef SettingsFileFixture ConfigLibraryErrors;

const std::string kNameExpected =
    "; expected the name of a setting, or builtin, system, database, commerce, error or variable";

TEST_F(ConfigLibraryErrors, NameTheLineAndWhatWasExpected)
{
    static const struct {
        const char* settings;
        const char* error;
    } rows[] = {
        {"dir_zehp = /x", "1: unknown setting 'dir_zehp'; did you mean 'dir_zeph'?"},
        {"\n# c\nDIR_ZEPH = /x", "3: unknown setting 'DIR_ZEPH'; did you mean 'dir_zeph'?"},
        {"timeouts_global = 1",
         "1: unknown setting 'timeouts_global'; did you mean 'timeout_global'?"},
        {"buitlin = x.so", "1: unknown setting 'buitlin'; did you mean 'builtin'?"},
        {"colour = red",
         "1: unknown setting 'colour'; expected the name of a setting, or builtin, system, "
         "database, commerce, error or variable"},
        {"x y z a b = red",
         "1: unknown setting 'x'; expected the name of a setting, or builtin, system, database, "
         "commerce, error or variable"},
        {"dir_zeph", "1: expected 'name = value', not 'dir_zeph'"},
        {"\r\n  dir_zeph # = /x\r\n", "2: expected 'name = value', not 'dir_zeph'"},
        {"= /x", "1: expected 'name = value', not '= /x'"},
        {"=", "1: expected 'name = value', not '='"},
        {"dir_zeph zwo = /x", "1: expected 'dir_zeph = value'"},
        {"dir_zeph =", "1: expected a value for 'dir_zeph'"},
        {"dir_zeph = # none", "1: expected a value for 'dir_zeph'"},
        {"builtin = \t", "1: expected a value for 'builtin'"},
        {"system s = ", "1: expected a value for 'system'"},
        {"error ZpEVAL =", "1: expected a value for 'error'"},
        {"variable global v =", "1: expected a value for 'variable'"},
        {"dir_zeph = \"\"", "1: 'dir_zeph' must not be empty"},
        {"default_file = \"\"", "1: 'default_file' must not be empty"},
        {"default_file = .", "1: 'default_file' must name a file, not a folder"},
        {"default_file = a/..", "1: 'default_file' must name a file, not a folder"},
        {"default_file = start/", "1: 'default_file' must name a file, not a folder"},
        {"ssl_openssl = \"\"", "1: 'ssl_openssl' must not be empty"},
        {"builtin = \"\"", "1: 'builtin' must not be empty"},
        {"dir_zeph = \"/x", "1: the closing quote is missing"},
        {"dir_zeph = \"\"\"", "1: the closing quote is missing"},
        {"dir_zeph = \"/x\" y", "1: expected nothing behind the closing quote"},
        {"dir_zeph = \"/x\"# y", "1: expected nothing behind the closing quote"},
        {"builtin x = y", "1: expected 'builtin = path'"},
        {"system = x", "1: expected 'system NAME = path'"},
        {"system a b = x", "1: expected 'system NAME = path'"},
        {"database = x", "1: expected 'database NAME = path'"},
        {"commerce = x", "1: expected 'commerce NAME = path'"},
        {"error = 1", "1: expected 'error TAG = 0, 1, 2 or 3'"},
        {"variable v = 1", "1: expected 'variable system|global NAME = value'"},
        {"variable local v = 1", "1: expected 'variable system|global NAME = value'"},
        {"variable system a b = 1", "1: expected 'variable system|global NAME = value'"},
        {"error ZpEVALL = 1", "1: unknown tag 'ZpEVALL'; did you mean 'ZpEVAL'?"},
        {"error function = 1", "1: unknown tag 'function'; did you mean 'ZpFUNCTION'?"},
        {"error (in = 1",
         "1: unknown tag '(in'; expected the name of a tag, such as ZpEVAL, or expression"},
        {"error ZpEVAL = 4", "1: 'error' must be a whole number from 0 to 3, not '4'"},
        {"error ZpEVAL = -1", "1: 'error' must be a whole number from 0 to 3, not '-1'"},
        {"max_files = 1\n\nmax_files = 1", "3: 'max_files' is set already on line 1"},
        {"error ZpEVAL = 1\nerror zpeval = 1", "2: 'zpeval' is set already on line 1"},
        {"error ZpASYNCHRONOUS = 1\nerror ZpASYNC = 1", "2: 'ZpASYNC' is set already on line 1"},
        {"system a = x\nsystem A = y", "2: 'A' is set already on line 1"},
        {"variable global a = x\nvariable global A = y", "2: 'A' is set already on line 1"},
        {"[script a]\nmax_docache = 1\nmax_docache = 1",
         "3: 'max_docache' is set already on line 2"},
        {"[scripts a]", "1: expected '[script PATTERN]', not '[scripts a]'"},
        {"[script]", "1: expected '[script PATTERN]', not '[script]'"},
        {"[script ]", "1: expected '[script PATTERN]', not '[script ]'"},
        {"[script a", "1: expected '[script PATTERN]', not '[script a'"},
        {"[script a] b", "1: expected '[script PATTERN]', not '[script a] b'"},
        {"[", "1: expected '[script PATTERN]', not '['"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.settings);
        EXPECT_EQ(ErrorOf(row.settings), row.error);
    }
}

TEST_F(ConfigLibraryErrors, TellTheRangeOfANumber)
{
    static const struct {
        const char* line;
        const char* error;
    } rows[] = {
        {"timeout_global = 12x",
         "'timeout_global' must be a whole number from 0 to 2147483647, not '12x'"},
        {"timeout_global = 12a",
         "'timeout_global' must be a whole number from 0 to 2147483647, not '12a'"},
        {"timeout_global = -1",
         "'timeout_global' must be a whole number from 0 to 2147483647, not '-1'"},
        {"timeout_global = 1.5",
         "'timeout_global' must be a whole number from 0 to 2147483647, not '1.5'"},
        {"timeout_global = 1 2",
         "'timeout_global' must be a whole number from 0 to 2147483647, not '1 2'"},
        {"timeout_global = +1",
         "'timeout_global' must be a whole number from 0 to 2147483647, not '+1'"},
        {"timeout_global = -",
         "'timeout_global' must be a whole number from 0 to 2147483647, not '-'"},
        {"timeout_global = 0x",
         "'timeout_global' must be a whole number from 0 to 2147483647, not '0x'"},
        {"timeout_global = 0xG",
         "'timeout_global' must be a whole number from 0 to 2147483647, not '0xG'"},
        {"timeout_global = \"\"",
         "'timeout_global' must be a whole number from 0 to 2147483647, not ''"},
        {"max_files = 2147483648",
         "'max_files' must be a whole number from 0 to 2147483647, not '2147483648'"},
        {"max_files = 0x80000000",
         "'max_files' must be a whole number from 0 to 2147483647, not '0x80000000'"},
        {"max_files = 99999999999999999999",
         "'max_files' must be a whole number from 0 to 2147483647, not '99999999999999999999'"},
        {"cookies = 2", "'cookies' must be a whole number from 0 to 1, not '2'"},
        {"ssl_sni = -2", "'ssl_sni' must be a whole number from -1 to 1, not '-2'"},
        {"ssl_sni = 2", "'ssl_sni' must be a whole number from -1 to 1, not '2'"},
        {"max_unknown_content_length = -2",
         "'max_unknown_content_length' must be a whole number from -1 to 2147483647, not '-2'"},
        {"bufsz_smtp = 0", "'bufsz_smtp' must be a whole number from 1 to 1073741824, not '0'"},
        {"bufsz_smtp = 1073741825",
         "'bufsz_smtp' must be a whole number from 1 to 1073741824, not '1073741825'"},
        {"delay_file = 0", "'delay_file' must be a whole number from 1 to 2147483647, not '0'"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(ErrorOf(row.line), std::string("1: ") + row.error);
    }
}

TEST_F(ConfigLibraryErrors, TellWhatIsUsedBeforeTheScriptIsKnown)
{
    for (const char* name :
         {"dir_zeph", "dir_temp", "dir_user", "default_file", "max_files", "flags_security"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(ErrorOf("[script *]\n" + std::string(name) + " = 1"),
                  "2: '" + std::string(name) +
                      "' is used before the script is known; expected it above the first heading");
    }
}

// They are shown in a page.
TEST_F(ConfigLibraryErrors, EncodeAndCutWhatTheyQuote)
{
    EXPECT_EQ(ErrorOf("<b>&\"x\" = 1"),
              "1: unknown setting '&lt;b&gt;&amp;&quot;x&quot;'" + kNameExpected);
    const std::string eighty(80, '<');
    std::string encoded;
    for (int i = 0; i < 80; ++i)
        encoded += "&lt;";
    EXPECT_EQ(ErrorOf(eighty), "1: expected 'name = value', not '" + encoded + "'");
    EXPECT_EQ(ErrorOf(eighty + "<"), "1: expected 'name = value', not '" + encoded + "...'");
    EXPECT_EQ(ErrorOf(std::string(10000, 'y') + " = 1"),
              "1: unknown setting '" + std::string(80, 'y') + "...'" + kNameExpected);
}

TEST_F(ConfigLibraryErrors, CutALongPathAtItsStart)
{
    std::string folder;
    for (int i = 0; i < 4; ++i)
        folder += "/" + std::string(200, char('<'));
    tree.Directory(folder);
    const std::string path = tree.path() + folder + "/zeph.conf";
    tree.Write(folder + "/zeph.conf", "x");
    Name(path);
    std::string encoded;
    for (char c : path.substr(path.size() - 400))
        encoded += c == '<' ? "&lt;" : std::string(1, c);
    ConfigRig rig;
    EXPECT_FALSE(rig.Load(ZEPH_ConfigLibrary));
    EXPECT_EQ(rig.Error(), "..." + encoded + ":1: expected 'name = value', not 'x'");
}

TEST_F(ConfigLibraryErrors, ANULByteIsFoundOnItsLine)
{
    const char text[] = "max_files = 1\n# a\0b\n";
    EXPECT_EQ(ErrorOf(std::string(text, sizeof text - 1)),
              "2: expected text, but the line has a NUL byte");
    EXPECT_EQ(ErrorOf(std::string(1, '\0')), "1: expected text, but the line has a NUL byte");
}

TEST_F(ConfigLibraryErrors, ABuiltinLibraryMustBeThere)
{
    EXPECT_EQ(ErrorOf("\nbuiltin = missing.so"), "2: expected a library that can be read, not '" +
                                                     tree.Path("missing.so") +
                                                     "': No such file or directory");
}

// A program that runs with another user's rights opens files by those.
TEST_F(ConfigLibraryErrors, ABuiltinLibraryMustBeReadableForTheEffectiveUser)
{
    if (geteuid() != 0 || getuid() != 0)
        GTEST_SKIP() << "needs the rights to give some up";
    const std::string path = tree.Path("secret.so");
    tree.Write("secret.so", "x");
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    tree.Write("zeph.conf", "builtin = secret.so\n");
    ASSERT_EQ(chmod(tree.Path("zeph.conf").c_str(), 0644), 0);
    ConfigRig rig;
    const uid_t kNobody = 65534;
    ASSERT_EQ(seteuid(kNobody), 0);
    const bool is_loaded = rig.Load(ZEPH_ConfigLibrary);
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_FALSE(is_loaded);
    EXPECT_EQ(WithoutPath(rig.Error()),
              "1: expected a library that can be read, not '" + path + "': Permission denied");
}

TEST_F(ConfigLibraryErrors, AFaultyFileHandsNothingOver)
{
    ConfigRig rig;
    EXPECT_FALSE(Load(rig,
                      "system a = a.so\nvariable global v = 1\nerror ZpEVAL = 0\n"
                      "[script *]\nwrong"));
    EXPECT_EQ(WithoutPath(rig.Error()), "5: expected 'name = value', not 'wrong'");
    EXPECT_EQ(ConfigRig::Registered(rig.systems), "");
    EXPECT_EQ(ConfigRig::TagSetting(6), 3);
    rig.config.AddVariables();
    EXPECT_EQ(ConfigRig::Value(rig.global, "v"), "(none)");
}

TEST_F(ConfigLibraryErrors, TheAdministratorAboveTheFaultyLineIsStillNamed)
{
    ConfigRig rig;
    EXPECT_FALSE(Load(rig, "info_serveradmin = me@example.org\nwrong\ncookies = 0"));
    EXPECT_EQ(rig.Text(ZPCONFIG_INFO_SERVERADMIN), "me@example.org");
    EXPECT_EQ(rig.config.value_integer(ZPCONFIG_COOKIES), 1);
}

TEST_F(ConfigLibraryErrors, TheAdministratorAboveAHeadingIsStillNamed)
{
    ConfigRig rig;
    EXPECT_FALSE(Load(rig,
                      "info_serveradmin = me@example.org\n[script a]\n"
                      "info_serveradmin = you@example.org\nwrong"));
    EXPECT_EQ(rig.Text(ZPCONFIG_INFO_SERVERADMIN), "me@example.org");
}

}  // namespace
