// Whole requests, each in a process of its own: what Go does, in which order, and the
// exit status.
#include <limits.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>
#include <functional>
#include <map>
#include <thread>

#include "../image/TestImage.h"
#include "TestCGIApplication.h"
#include "vm/ZephVM.h"

namespace {

const unsigned int kOtherUser = 65534;

// An image whose script writes `text`, dictionary entry 0, and then runs `code`.
std::string Script(const std::string& text, const std::string& code = "")
{
    const std::string empty_table(7, '\0');
    std::string body = Word(0x4001) + Dword(0) + Word(0x0015) + code;
    TestImage image;
    image.Add("dict", DictBody({text}));
    image.Add("syst", empty_table).Add("glbl", empty_table).Add("locl", empty_table);
    image.Add("locd", Dword(0));
    image.Add("segs", Dwords({1, 0, 0, (long long)body.size()}) + body);
    image.Add("func", empty_table);
    return image.Bytes();
}

class RequestTest : public ::testing::Test {
protected:
    RequestTest()
    {
        m_folder = std::filesystem::temp_directory_path() / "zeph_request_XXXXXX";
        EXPECT_NE(mkdtemp(m_folder.data()), nullptr);
        chmod(m_folder.c_str(), 0755);
        for (const char* folder : {"/www", "/data", "/here"})
            std::filesystem::create_directory(m_folder + folder);
        m_environment = {{"ZpCONFIG_LIBRARY", ZEPH_TEST_CONFIG_LIBRARY}, {"PATH_INFO", "/x.zpc"}};
        Set(ZPCONFIG_DIR_ZEPH, m_folder + "/www");
        Set(ZPCONFIG_DIR_DATA, m_folder + "/data");
        Set(ZPCONFIG_COOKIES, "0");
        Save(Script("text"));
    }
    ~RequestTest() override { std::filesystem::remove_all(m_folder); }

    void Set(int key, const std::string& value)
    {
        char name[32];
        snprintf(name, sizeof name, "TEST_%x", unsigned(key));
        m_environment[name] = value;
    }
    void Unset(int key)
    {
        char name[32];
        snprintf(name, sizeof name, "TEST_%x", unsigned(key));
        m_environment.erase(name);
    }
    void Save(const std::string& bytes)
    {
        std::string path = m_folder + "/www/x.zpc";
        std::ofstream(path, std::ios::binary).write(bytes.data(), long(bytes.size()));
        // A script of root's would be refused to a program of root's.
        if (geteuid() == 0) {
            EXPECT_EQ(chown(path.c_str(), kOtherUser, kOtherUser), 0);
        }
    }
    // The exit status; the response is then in m_response.
    int Run(const std::function<void(CGIApplication*)>& prepare = nullptr)
    {
        StdoutInMemory output;
        pid_t child = fork();
        if (child == 0)
            Serve(prepare);
        int status = -1;
        waitpid(child, &status, 0);
        output.Restore();
        m_response = output.Text();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    std::string Body()
    {
        size_t end = m_response.find("\r\n\r\n");
        return end == std::string::npos ? "no body" : m_response.substr(end + 4);
    }
    // The error that a request ended with, without the administrator's line.
    std::string ConfigurationError()
    {
        std::string body = Body();
        return body.substr(0, body.find("<br>"));
    }

    std::string m_folder;
    std::map<std::string, std::string> m_environment;
    std::vector<std::string> m_arguments = {"zeph"};
    std::string m_response;

private:
    [[noreturn]] void Serve(const std::function<void(CGIApplication*)>& prepare)
    {
        Watchdog watchdog;
        clearenv();
        for (const auto& [name, value] : m_environment)
            setenv(name.c_str(), value.c_str(), 1);
        if (chdir((m_folder + "/here").c_str()) != 0)
            _exit(99);
        ArgumentArea arguments(m_arguments);
        CGIApplication application(arguments.argc(), arguments.argv());
        if (prepare)
            prepare(&application);
        _exit(application.Go());
    }
};

TEST_F(RequestTest, ScriptThatEndsGivesZeroAndAContentLength)
{
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_response, "Content-Type: text/html\r\nContent-Length: 4\r\n\r\ntext");
}

TEST_F(RequestTest, ScriptThatEndsInAFatalErrorGivesZeroAsWell)
{
    Save(Script("text", Word(0x0001)));
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Body(), "textFatal error in x.zpc @ [00000000:00000008]: Illegal Instruction\n");
}

TEST_F(RequestTest, MissingDirectoriesAreConfigurationErrors)
{
    Unset(ZPCONFIG_DIR_DATA);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Body(),
              "Configuration Error: No data directory is defined<br>"
              "Please contact the server administrator: webmaster@localhost");
    Unset(ZPCONFIG_DIR_ZEPH);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(ConfigurationError(), "Configuration Error: zephroot is not defined");
}

TEST_F(RequestTest, LibraryThatRefusesToStartGivesItsText)
{
    m_environment["TEST_INIT_ERROR"] = "its text";
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(ConfigurationError(),
              "Configuration Error: Error loading configuration library: its text");
}

TEST_F(RequestTest, LibraryIsNeitherHereNorWhereTheEnvironmentSays)
{
    for (const char* path : {"", "/nowhere/libzephconfig.so"}) {
        SCOPED_TRACE(path);
        m_environment["ZpCONFIG_LIBRARY"] = path;
        EXPECT_EQ(Run(), 1);
        EXPECT_EQ(ConfigurationError(),
                  "Configuration Error: Error loading configuration library: "
                  "Unable to locate/load libzephconfig.so");
    }
}

TEST_F(RequestTest, LibraryInTheCurrentDirectoryGoesBeforeTheEnvironments)
{
    std::filesystem::copy(ZEPH_TEST_CONFIG_LIBRARY, m_folder + "/here/libzephconfig.so");
    m_environment["ZpCONFIG_LIBRARY"] = "/nowhere/libzephconfig.so";
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Body(), "text");
}

TEST_F(RequestTest, LibraryOfAnotherUserIsRefused)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a file away";
    static const char error[] =
        "Configuration Error: Error loading configuration library: UID mismatch";
    std::string here = m_folder + "/here/libzephconfig.so";
    std::filesystem::copy(ZEPH_TEST_CONFIG_LIBRARY, here);
    ASSERT_EQ(chown(here.c_str(), kOtherUser, kOtherUser), 0);
    EXPECT_EQ(Run(), 1) << "the environment's library is not tried";
    EXPECT_EQ(ConfigurationError(), error);

    std::filesystem::rename(here, m_folder + "/elsewhere.so");
    m_environment["ZpCONFIG_LIBRARY"] = m_folder + "/elsewhere.so";
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(ConfigurationError(), error);
}

TEST_F(RequestTest, ScriptOfRootIsRefusedToAProgramOfRoot)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "not a program of root's";
    ASSERT_EQ(chown((m_folder + "/www/x.zpc").c_str(), 0, 0), 0);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Body(), "'x.zpc' is owned by root");
}

// Calls a function at the first text that a script writes.
class InterruptedOutput : public Output {
public:
    explicit InterruptedOutput(const std::function<void()>& interrupt) : m_interrupt(interrupt) {}
    int Write(const char*, int length) override
    {
        if (m_interrupt)
            m_interrupt();
        m_interrupt = nullptr;
        return length;
    }
    int Flush() override { return 0; }
    int type() override { return kBuffered; }

private:
    std::function<void()> m_interrupt;
};

// Runs `work` in the place of the script's output; `work` ends the process, or the
// request's status is what Go gives.
std::function<void(CGIApplication*)> During(const std::function<void(CGIApplication*)>& work)
{
    return [work](CGIApplication* application) {
        application->SetOutput(new InterruptedOutput([=] { work(application); }));
    };
}

TEST_F(RequestTest, ProgramOfRootRunsTheScriptAsItsOwner)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "not a program of root's";
    EXPECT_EQ(Run(During([](CGIApplication*) { _exit(geteuid() == kOtherUser ? 42 : 43); })), 42);
}

TEST_F(RequestTest, GlobalTimeoutStartsWithTheScriptAndIs90SecondsByDefault)
{
    auto work = During([](CGIApplication* application) {
        long remaining = application->TimeRemaining();
        _exit(remaining >= 1 && remaining <= 90 ? 42 : 43);
    });
    EXPECT_EQ(Run(work), 42);
}

TEST_F(RequestTest, GlobalTimeoutOfZeroIsNone)
{
    Set(ZPCONFIG_TIMEOUT_GLOBAL, "0");
    auto work = During(
        [](CGIApplication* application) { _exit(application->TimeRemaining() == -1 ? 42 : 43); });
    EXPECT_EQ(Run(work), 42);
}

TEST_F(RequestTest, CancellationBeforeTheScriptIsForgotten)
{
    EXPECT_EQ(Run([](CGIApplication* application) { application->Cancelled(); }), 0);
    EXPECT_EQ(Body(), "text");
}

TEST_F(RequestTest, SleepKeepsTheMachineAlive)
{
    // The tick reaches the machine only from within the sleep: the loop stands still.
    auto work = During([](CGIApplication* application) {
        ZephVM* vm = application->current_vm();
        std::thread clock([application, vm] {
            while (vm->last_heartbeat() == 0)
                application->Heartbeat(1);
            application->Cancelled();
        });
        application->Sleep(INT_MAX);
        clock.join();
        _exit(vm->last_heartbeat() > 0 ? 42 : 43);
    });
    EXPECT_EQ(Run(work), 42);
}

TEST_F(RequestTest, NoMachineIsKeptAliveBeforeAndAfterTheScript)
{
    auto prepare = [](CGIApplication* application) {
        if (application->current_vm())
            _exit(43);
        int status = application->Go();
        _exit(status == 0 && !application->current_vm() ? 42 : 44);
    };
    EXPECT_EQ(Run(prepare), 42);
}

TEST_F(RequestTest, ScriptIsNamedByPathQueryArgumentOrDefault)
{
    m_environment["PATH_INFO"] = "x.zpc";
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Body(), "text");

    m_environment.erase("PATH_INFO");
    m_environment["QUERY_STRING"] = "x.zpc+more";
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Body(), "text");

    m_environment["QUERY_STRING"] = "other.zpc";
    m_arguments = {"zeph", "\\x\\.zpc\\"};
    EXPECT_EQ(Run(), 0) << "backslashes are taken out of arguments";
    EXPECT_EQ(Body(), "text");

    m_arguments = {"zeph"};
    m_environment.erase("QUERY_STRING");
    Set(ZPCONFIG_DEFAULT_FILE, "x.zpc");
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Body(), "text");
}

TEST_F(RequestTest, ScriptThatCannotBeReadIsNamedInTheError)
{
    Save("no image");
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Body(),
              "Unable to execute 'x.zpc': "
              "File is either corrupt or not a valid compiled Zeph Script file");
    // The header is right, and nothing else is there.
    Save(TestImage().Bytes());
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Body(),
              "Unable to execute 'x.zpc': "
              "File is either corrupt or not a valid compiled Zeph Script file");
    m_environment["PATH_INFO"] = "/<none>";
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Body().find("Unable to execute '&lt;none&gt;': "), 0u) << Body();
}

TEST_F(RequestTest, OutputBuffersTakeTheirSizesFromTheSettings)
{
    Set(ZPCONFIG_BUFSZ_OUTPUT_FLUSH, "4");
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_response, "Content-Type: text/html\r\n\r\ntext");
}

}  // namespace
