#ifndef ZEPH_TESTS_UNIT_APP_TESTCGIAPPLICATION_H
#define ZEPH_TESTS_UNIT_APP_TESTCGIAPPLICATION_H

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "StdoutInMemory.h"
#include "Watchdog.h"
#include "app/CGIApplication.h"
#include "app/Output.h"
#include "config/Config.h"

// An application whose deadlines show, and that can be made a task.
class OpenApplication : public CGIApplication {
public:
    using CGIApplication::CGIApplication;
    using CGIApplication::m_is_task;
    using ZephApplication::m_global_deadline;
    using ZephApplication::m_post_cancelled;
    using ZephApplication::m_post_deadline;
};

// Arguments as a process gets them: one behind the other in memory.
class ArgumentArea {
public:
    explicit ArgumentArea(const std::vector<std::string>& arguments)
    {
        for (const std::string& argument : arguments)
            m_bytes.append(argument).push_back('\0');
        m_bytes += "environment";
        char* next = m_bytes.data();
        for (const std::string& argument : arguments) {
            m_argv.push_back(next);
            next += argument.size() + 1;
        }
        m_argv.push_back(nullptr);
    }
    int argc() const { return int(m_argv.size()) - 1; }
    char** argv() { return m_argv.data(); }
    const std::string& bytes() const { return m_bytes; }

private:
    std::string m_bytes;
    std::vector<char*> m_argv;
};

// An application with settings, all at their defaults, and with headers that are out: a
// request that ended because no configuration library was found.
class ApplicationTest : public ::testing::Test {
protected:
    ApplicationTest()
    {
        m_folder = std::filesystem::temp_directory_path() / "zeph_app_XXXXXX";
        EXPECT_NE(mkdtemp(m_folder.data()), nullptr);
        m_former_folder = std::filesystem::current_path();
        std::filesystem::current_path(m_folder);
        for (const char* variable : {"ZpCONFIG_LIBRARY", "PATH_INFO", "QUERY_STRING"})
            unsetenv(variable);
        // A caller who is known needs no session id, which would ask for the host's name.
        setenv("HTTP_COOKIE", "btxcallerid=known", 1);
    }
    ~ApplicationTest() override
    {
        m_application.reset();
        std::filesystem::current_path(m_former_folder);
        std::filesystem::remove_all(m_folder);
    }

    OpenApplication& application()
    {
        if (!m_application)
            Start();
        return *m_application;
    }
    void Start(const std::vector<std::string>& arguments = {"/usr/lib/cgi-bin/zeph"})
    {
        m_arguments = std::make_unique<ArgumentArea>(arguments);
        m_application = std::make_unique<OpenApplication>(m_arguments->argc(), m_arguments->argv());
        StdoutInMemory output;
        m_status = m_application->Go();
        output.Restore();
        m_response = output.Text();
    }
    void Set(int key, int value) { application().config()->SetValue_Integer(key, value); }
    // The deadline that ResetGlobalTimeout sets, in seconds since the epoch.
    long SetDeadline()
    {
        long before, deadline;
        do {
            before = long(time(nullptr));
            application().ResetGlobalTimeout();
            deadline = application().TimeRemaining() + before;
        } while (before != long(time(nullptr)));
        return deadline;
    }

    Watchdog m_watchdog;
    std::string m_folder;
    std::filesystem::path m_former_folder;
    std::unique_ptr<ArgumentArea> m_arguments;
    std::unique_ptr<OpenApplication> m_application;
    int m_status = -1;
    std::string m_response;
};

#endif
