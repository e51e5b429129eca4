// What a machine tells the log.
#include "app/LogParameter.h"
#include "TestMachine.h"
#include "config/Config.h"

namespace {

using Lines = std::vector<std::string>;

const unsigned int every_event = 0xFFFFFFFF;

class LogPointsTest : public MachineTest {
protected:
    LogPointsTest()
    {
        application.settings = &config;
        Level(every_event);
    }
    ~LogPointsTest() override { End(); }

    void Level(unsigned int events) { config.SetValue_Integer(ZPCONFIG_LOG_LEVEL, int(events)); }
    // What a code logs in a machine of its own.
    Lines LogOf(const std::string& code)
    {
        application.log.clear();
        Run(code);
        return application.log;
    }

    const std::string source = Op(kSourceFile, 3);
    Config config;
};

// Changes the filter when something is written.
class FilterOutput : public RecordingOutput {
public:
    explicit FilterOutput(ZephApplication* application) : m_application(application) {}
    int Write(const char* items, int length) override
    {
        m_application->ParseLogFilter(std::string(items, size_t(length)).c_str());
        return length;
    }

private:
    ZephApplication* m_application;
};

TEST_F(LogPointsTest, LineIsTracedWithScriptSourceAndLine)
{
    EXPECT_EQ(LogOf(source + Op(kLineNo, 12)), Lines{"Trace|/www/x.zpc|x.zp|12"});
    EXPECT_EQ(LogOf(Op(kLineNo, -3)), Lines{"Trace|/www/x.zpc||-3"});
}

TEST_F(LogPointsTest, LineIsTracedWhenItChanges)
{
    EXPECT_EQ(
        LogOf(source + Op(kLineNo, 1) + Op(kLineNo, 1) + Op(kLineNo, 2) + Op(kLineNo, 2) +
              Op(kLineNo, 1)),
        (Lines{"Trace|/www/x.zpc|x.zp|1", "Trace|/www/x.zpc|x.zp|2", "Trace|/www/x.zpc|x.zp|1"}));
    EXPECT_EQ(LogOf(Op(kLineNo, 0)), Lines()) << "the line of the beginning";
}

TEST_F(LogPointsTest, AnotherSourceFileTracesTheSameLineAgain)
{
    EXPECT_EQ(LogOf(source + Op(kLineNo, 5) + Op(kSourceFile, 1) + Op(kLineNo, 5)),
              (Lines{"Trace|/www/x.zpc|x.zp|5", "Trace|/www/x.zpc|beta|5"}));
    EXPECT_EQ(LogOf(source + Op(kLineNo, 5) + source + Op(kLineNo, 5)),
              Lines{"Trace|/www/x.zpc|x.zp|5"})
        << "the same file again";
}

TEST_F(LogPointsTest, LineThatTheFilterStopsCountsAsTraced)
{
    FilterOutput output(&application);
    application.SetOutput(&output);
    int hide = dictionary.Entry_Add("!x.zp:5", -1);
    std::string code = source + Op(kPushC, hide) + Op(kOut) + Op(kLineNo, 5) + Op(kPushC, 4) +
                       Op(kOut) + Op(kLineNo, 5) + Op(kLineNo, 6);
    EXPECT_EQ(LogOf(code), Lines{"Trace|/www/x.zpc|x.zp|6"});
}

TEST_F(LogPointsTest, FatalErrorIsLoggedWithItsComposedText)
{
    EXPECT_EQ(LogOf(source + Op(kLineNo, 7) + Op(kPop)),
              (Lines{"Trace|/www/x.zpc|x.zp|7",
                     "Fatal Error|/www/x.zpc|x.zp|7|Fatal error in /www/x.zpc @ "
                     "[00000000:0000000c]: x.zp: Line 7: Stack underflow\n"}));
}

TEST_F(LogPointsTest, RuntimeErrorIsLoggedWithTagAndMessage)
{
    Run(source + Op(kLineNo, 7));
    application.log.clear();
    vm()->RuntimeError(28, "no such file");
    vm()->RuntimeError(62, "bad index");
    vm()->RuntimeError(76, "closing row");
    vm()->RuntimeError(77, "no tag");
    EXPECT_EQ(application.log, (Lines{"Runtime Error|/www/x.zpc|x.zp|7|ZpOPEN|no such file",
                                      "Runtime Error|/www/x.zpc|x.zp|7|(in expression)|bad index",
                                      "Runtime Error|/www/x.zpc|x.zp|7||closing row",
                                      "Runtime Error|/www/x.zpc|x.zp|7||no tag"}));
}

TEST_F(LogPointsTest, ErrorThatIsNotShownIsLogged)
{
    Run(Op(kErrOutput, 0) + Op(kTagError, 28, 0));
    vm()->RuntimeError(28, "message");
    EXPECT_EQ(application.log, Lines{"Runtime Error|/www/x.zpc||0|ZpOPEN|message"});
}

TEST_F(LogPointsTest, TimeOutIsLoggedOnce)
{
    Run(source + Op(kLineNo, 7));
    application.log.clear();
    cancelled = 1;
    EXPECT_EQ(vm()->Go(), 0);
    EXPECT_EQ(vm()->Go(), 0);
    EXPECT_EQ(application.log, Lines{"Application Timed Out|/www/x.zpc|x.zp|7"});
}

TEST_F(LogPointsTest, EachEventHasItsBit)
{
    static const struct {
        unsigned int bit;
        const char* event;
    } rows[] = {
        {0x8000000, "Application Timed Out"},
        {0x10000000, "Runtime Error"},
        {0x20000000, "Fatal Error"},
        {0x40000000, "Trace"},
    };
    for (const auto& row : rows) {
        for (bool only : {true, false}) {
            SCOPED_TRACE(testing::Message() << row.event << (only ? " alone" : " left out"));
            Level(only ? row.bit : ~row.bit);
            cancelled = 0;
            Run(Op(kLineNo, 1));
            vm()->RuntimeError(28, "message");
            cancelled = 1;
            vm()->Go();
            cancelled = 0;
            vm()->FatalError("message");
            bool seen = false;
            for (const std::string& line : application.log)
                seen |= line.find(row.event) == 0;
            EXPECT_EQ(seen, only);
            EXPECT_EQ(application.log.size(), only ? 1u : 3u);
            application.log.clear();
        }
    }
}

TEST_F(LogPointsTest, LevelIsReadOnceWhenTheMachineIsMade)
{
    Level(0);
    Code(Op(kLineNo, 1));
    vm();
    Level(every_event);
    vm()->Go();
    EXPECT_EQ(application.log, Lines());
    Run(Op(kLineNo, 1));
    EXPECT_EQ(application.log.size(), 1u);
}

TEST_F(LogPointsTest, ImageMayForbidLogging)
{
    static const struct {
        int flags;
        size_t lines;
    } rows[] = {{0, 1}, {1, 0}, {2, 1}, {3, 0}, {-2, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.flags);
        dictionary.SetFlags(row.flags);
        EXPECT_EQ(LogOf(Op(kLineNo, 1)).size(), row.lines);
    }
}

TEST_F(LogPointsTest, FilterAndSuppressionStopEvents)
{
    std::string code = source + Op(kLineNo, 7);
    application.SuppressLog(true);
    EXPECT_EQ(LogOf(code), Lines());
    application.SuppressLog(false);
    application.ParseLogFilter("x.zp:8");
    EXPECT_EQ(LogOf(code), Lines());
    EXPECT_EQ(LogOf(code + Op(kPop)), Lines());
    EXPECT_EQ(LogOf(code + Op(kLineNo, 8)).size(), 1u);
    application.ParseLogFilter("!x.zp");
    EXPECT_EQ(LogOf(code), Lines());
    EXPECT_EQ(LogOf(code + Op(kSourceFile, 1) + Op(kLineNo, 7)).size(), 1u);
}

TEST_F(LogPointsTest, FilterStopsErrorsAndTimeOuts)
{
    Run(source + Op(kLineNo, 7));
    for (const char* filter : {"!x.zp", "x.zp:8", "x.zp"}) {
        SCOPED_TRACE(filter);
        application.ParseLogFilter(filter);
        application.log.clear();
        Run(source + Op(kLineNo, 7));
        application.log.clear();
        vm()->RuntimeError(28, "message");
        cancelled = 1;
        EXPECT_EQ(vm()->Go(), 0);
        cancelled = 0;
        vm()->FatalError("message");
        EXPECT_EQ(application.log.size(), strcmp(filter, "x.zp") == 0 ? 3u : 0u);
        EXPECT_EQ(application.timeouts.size(), 1u) << "the application is told all the same";
        application.timeouts.clear();
    }
}

TEST_F(LogPointsTest, ApplicationWithoutSettingsLogsNothing)
{
    application.settings = nullptr;
    EXPECT_EQ(LogOf(Op(kLineNo, 1) + Op(kPop)), Lines());
}

TEST_F(LogPointsTest, KindsOfEventsHaveTheirWords)
{
    static const struct {
        unsigned int event;
        const char* text;
    } rows[] = {
        {16, "Function Call"},
        {32, "Function Parameter"},
        {64, "Function Return Value"},
        {128, "Function Return"},
        {256, "External Function Call"},
        {512, "External Function Parameter"},
        {1024, "External Function Return Value"},
        {2048, "External Function Return"},
        {4096, "ZpDO Enter"},
        {8192, "ZpDO Exit"},
        {0x100000, "ZpCALL"},
        {0x200000, "ZpSMTP"},
        {0x8000000, "Application Timed Out"},
        {0x10000000, "Runtime Error"},
        {0x20000000, "Fatal Error"},
        {0x40000000, "Trace"},
        {0, "Unknown"},
        {1, "Unknown"},
        {48, "Unknown"},
        {0x400000, "Unknown"},
        {0x80000000, "Unknown"},
        {every_event, "Unknown"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.event);
        EXPECT_STREQ(application.Log_Description(row.event), row.text);
    }
}

TEST(LogParameter, TypesAreNumberedAsOutside)
{
    EXPECT_EQ(LogParameter("text", 2).type, 0);
    EXPECT_EQ(LogParameter("text", 2).length, 2);
    EXPECT_EQ(LogParameter(String("text")).type, 0);
    EXPECT_EQ(LogParameter(String("text")).length, 4);
    EXPECT_EQ(LogParameter(7).type, 1);
    EXPECT_EQ(LogParameter(7).integer, 7);
    EXPECT_EQ(LogParameter(0.5).type, 2);
    EXPECT_EQ(LogParameter(0.5).real, 0.5);
    Variable variable;
    EXPECT_EQ(LogParameter(&variable).type, 3);
    EXPECT_EQ(LogParameter(&variable).variable, &variable);
    EXPECT_EQ(LogParameter().type, 4);
}

}  // namespace
