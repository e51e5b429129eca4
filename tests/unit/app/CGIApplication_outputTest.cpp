// Errors in the page and the exchange of outputs.
#include "TestCGIApplication.h"
#include "app/HTTPOutput.h"

namespace {

// Tells its end, and keeps what is written.
class KeptOutput : public Output {
public:
    explicit KeptOutput(std::string* text, bool* ended = nullptr) : m_text(text), m_ended(ended) {}
    ~KeptOutput() override
    {
        if (m_ended)
            *m_ended = true;
    }
    int Write(const char* text, int length) override
    {
        m_text->append(text, size_t(length));
        return length;
    }
    int Flush() override
    {
        m_text->append("|");
        return 0;
    }
    int type() override { return kBuffered; }

private:
    std::string* m_text;
    bool* m_ended;
};

class ApplicationOutputTest : public ApplicationTest {};

TEST_F(ApplicationOutputTest, SetOutputHandsTheFlagsOverAndReturnsTheFormerOutput)
{
    std::string text;
    Output* first = application().output();
    EXPECT_EQ(first->type(), Output::kHTTP);
    first->SetFlags(2);
    KeptOutput kept(&text);
    EXPECT_EQ(application().SetOutput(&kept), first);
    EXPECT_EQ(kept.flags(), 2);
    EXPECT_EQ(application().output(), &kept);
    kept.SetFlags(1);
    EXPECT_EQ(application().SetOutput(first), &kept);
    EXPECT_EQ(first->flags(), 1) << "also when it comes back";
}

TEST_F(ApplicationOutputTest, OutputOfTheMomentEndsWithTheApplication)
{
    std::string text;
    bool ended = false;
    delete application().SetOutput(new KeptOutput(&text, &ended));
    m_application.reset();
    EXPECT_TRUE(ended);
}

TEST_F(ApplicationOutputTest, EveryErrorIsWrittenFlushedAndGivesZero)
{
    std::string text;
    KeptOutput kept(&text);
    Output* first = application().SetOutput(&kept);
    EXPECT_EQ(application().Error(String("one")), 0);
    EXPECT_EQ(application().Error("two"), 0);
    EXPECT_EQ(application().Error("three and more", 5), 0);
    EXPECT_EQ(application().OutputError("four", 4), 0);
    EXPECT_EQ(text, "one|two|three|four|");
    application().SetOutput(first);
}

TEST_F(ApplicationOutputTest, ConfigurationErrorNamesTheAdministratorIfThereIsOne)
{
    std::string text;
    KeptOutput kept(&text);
    Output* first = application().SetOutput(&kept);
    application().config()->SetValue(ZPCONFIG_INFO_SERVERADMIN, "root@example.org", -1, 0);
    EXPECT_EQ(application().ConfigurationError("words"), 0);
    EXPECT_EQ(text,
              "Configuration Error: words<br>"
              "Please contact the server administrator: root@example.org|");
    text.clear();
    application().config()->SetValue(ZPCONFIG_INFO_SERVERADMIN, "", -1, 0);
    application().ConfigurationError("words");
    EXPECT_EQ(text, "Configuration Error: words<br>|");
    application().SetOutput(first);
}

TEST_F(ApplicationOutputTest, MachineErrorsAreShownAsTheSettingsSay)
{
    std::string text;
    KeptOutput kept(&text);
    Output* first = application().SetOutput(&kept);
    application().Notify_FatalError("fatal");
    application().Notify_TimeoutError("timeout");
    application().Notify_RuntimeError(0, "hidden", false);
    application().Notify_RuntimeError(0, "shown", true);
    EXPECT_EQ(text, "fatal|timeout|shown|");
    application().SetOutput(first);
}

TEST_F(ApplicationOutputTest, FailedWriteToTheClientCancelsTheRun)
{
    application().output()->Write("text", 4);
    {
        StdoutInMemory memory;
        close(STDOUT_FILENO);
        application().output()->Flush();
    }
    EXPECT_EQ(application().cancelled(), 1);
}

TEST_F(ApplicationOutputTest, TheCookieOfTheCallerLastsAYear)
{
    time_t before = time(nullptr);
    Start();
    time_t after = time(nullptr);
    std::string start = "Set-Cookie: btxcallerid=known; expires=";
    size_t at = m_response.find(start);
    ASSERT_NE(at, std::string::npos) << m_response;
    std::string rest = m_response.substr(at + start.size());
    bool is_found = false;
    for (time_t moment = before; moment <= after; ++moment) {
        time_t expiry = moment + 31536000;
        tm parts;
        char date[64];
        strftime(date, sizeof date, "%a, %d-%b-%Y %H:%M:%S GMT", gmtime_r(&expiry, &parts));
        is_found =
            is_found || rest.compare(0, strlen(date) + 10, date + std::string("; path=/\r\n")) == 0;
    }
    EXPECT_TRUE(is_found) << rest;
}

TEST_F(ApplicationOutputTest, ErrorHeadersGoOutOnce)
{
    Start();
    EXPECT_NE(m_response.find("\r\n\r\n"), std::string::npos);
    StdoutInMemory memory;
    application().Error("more");
    memory.Restore();
    EXPECT_EQ(memory.Text(), "more");
}

}  // namespace
