// Deadlines, sleep and cancellation.
#include <limits.h>
#include <signal.h>

#include <atomic>
#include <thread>

#include <utility>
#include "TestCGIApplication.h"
#include "app/HeartbeatThread.h"

namespace {

class ApplicationTimeTest : public ApplicationTest {};

TEST_F(ApplicationTimeTest, HeartbeatCountsTicks)
{
    int* counter = application().heartbeat();
    EXPECT_EQ(*counter, 0);
    application().Heartbeat(1);
    application().Heartbeat(1);
    EXPECT_EQ(*counter, 2);
}

TEST_F(ApplicationTimeTest, DeadlineIsStrict)
{
    Set(ZPCONFIG_TIMEOUT_GLOBAL, 100);
    long deadline = SetDeadline();
    application().Heartbeat(deadline - 1);
    application().Heartbeat(deadline);
    EXPECT_EQ(application().cancelled(), 0);
    application().Heartbeat(deadline + 1);
    EXPECT_EQ(application().cancelled(), 1);
    EXPECT_EQ(*application().cancelled_flag(), 1);
}

TEST_F(ApplicationTimeTest, DeadlineOfTheDefaultIs90Seconds)
{
    long before = long(time(nullptr));
    long deadline = SetDeadline();
    EXPECT_GE(deadline, before + 90);
    EXPECT_LE(deadline, long(time(nullptr)) + 90);
}

TEST_F(ApplicationTimeTest, TimeoutOfZeroIsNoDeadline)
{
    Set(ZPCONFIG_TIMEOUT_GLOBAL, 0);
    application().ResetGlobalTimeout();
    EXPECT_EQ(application().TimeRemaining(), -1);
    application().Heartbeat(LONG_MAX);
    EXPECT_EQ(application().cancelled(), 0);
}

TEST_F(ApplicationTimeTest, TimeRemainingIsMinusOneBeforeTheFirstDeadline)
{
    EXPECT_EQ(application().TimeRemaining(), -1);
    application().Heartbeat(LONG_MAX);
    EXPECT_EQ(application().cancelled(), 0);
}

TEST_F(ApplicationTimeTest, ResetForgetsACancellation)
{
    application().Cancelled();
    EXPECT_EQ(application().cancelled(), 1);
    application().ResetGlobalTimeout();
    EXPECT_EQ(application().cancelled(), 0);
    long deadline = SetDeadline();
    application().Heartbeat(deadline + 1);
    EXPECT_EQ(application().cancelled(), 1);
    application().ResetGlobalTimeout();
    EXPECT_EQ(application().cancelled(), 0);
}

TEST_F(ApplicationTimeTest, POSTDeadlineIsStrictAndSetsItsOwnFlag)
{
    Set(ZPCONFIG_TIMEOUT_POST, 50);
    application().ResetPOSTTimeout();
    long deadline = application().m_post_deadline;
    EXPECT_GE(deadline, 50);
    application().Heartbeat(deadline);
    EXPECT_EQ(application().m_post_cancelled, 0);
    application().Heartbeat(deadline + 1);
    EXPECT_EQ(application().m_post_cancelled, 1);
    EXPECT_EQ(application().cancelled(), 0);
    application().ResetPOSTTimeout();
    EXPECT_EQ(application().m_post_cancelled, 0);
}

TEST_F(ApplicationTimeTest, POSTTimeoutCanBeClearedOrAbsent)
{
    application().ResetPOSTTimeout();
    EXPECT_GT(application().m_post_deadline, 0) << "30 seconds by default";
    application().Heartbeat(LONG_MAX);
    EXPECT_EQ(application().m_post_cancelled, 1);
    application().ClearPOSTTimeout();
    EXPECT_EQ(application().m_post_cancelled, 0);
    application().Heartbeat(LONG_MAX);
    EXPECT_EQ(application().m_post_cancelled, 0);
    Set(ZPCONFIG_TIMEOUT_POST, 0);
    application().ResetPOSTTimeout();
    application().Heartbeat(LONG_MAX);
    EXPECT_EQ(application().m_post_cancelled, 0);
}

TEST_F(ApplicationTimeTest, SleepEndsByTime)
{
    timespec start, end;
    clock_gettime(CLOCK_REALTIME, &start);
    application().Sleep(50);
    clock_gettime(CLOCK_REALTIME, &end);
    timespec earliest = Monitor::Later(start, 50);
    EXPECT_GE(std::make_pair(end.tv_sec, end.tv_nsec),
              std::make_pair(earliest.tv_sec, earliest.tv_nsec));
    EXPECT_EQ(application().cancelled(), 0);
}

// The deadline stands still while a task sleeps, less the second that a part of one counts.
TEST_F(ApplicationTimeTest, ASleepingTaskGetsItsDeadlineBack)
{
    static const struct {
        long remaining;  // seconds; 0 for no deadline
        long expected;   // seconds left behind the sleep, 0 for no deadline
    } rows[] = {{100, 99}, {1, 0}, {-1, -2}, {-50, -51}, {0, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.remaining);
        long before, after, deadline;
        do {
            before = long(time(nullptr));
            application().m_is_task = true;
            application().m_global_deadline = row.remaining ? before + row.remaining : 0;
            application().AsynchronousSleep(0, kDataPath, nullptr);
            deadline = application().m_global_deadline;
            after = long(time(nullptr));
        } while (before != after);
        EXPECT_EQ(deadline, row.remaining ? before + row.expected : 0);
    }
}

TEST_F(ApplicationTimeTest, ASleepingTaskHasALimitOfItsOwn)
{
    application().m_is_task = true;
    application().m_global_deadline = 1;
    Set(ZPCONFIG_TIMEOUT_ASYNC_SLEEP, 5);
    application().Cancelled();
    std::thread clock([this] {
        // A deadline that was not replaced would end the sleep at once, and the watchdog
        // stands behind one that never ends.
        while (application().m_global_deadline <= 1)
            std::this_thread::yield();
        application().Heartbeat(application().m_global_deadline);
        EXPECT_EQ(application().cancelled(), 0);
        application().Heartbeat(application().m_global_deadline + 1);
    });
    application().AsynchronousSleep(LONG_MAX, kDataPath, nullptr);
    clock.join();
    EXPECT_EQ(application().cancelled(), 1);
}

TEST_F(ApplicationTimeTest, SleepOfNothingEnds)
{
    application().Sleep(0);
    application().Sleep(-1);
    application().Sleep(INT_MIN);
    EXPECT_EQ(application().cancelled(), 0);
}

TEST_F(ApplicationTimeTest, SleepDoesNotBeginInACancelledRun)
{
    application().Cancelled();
    application().Sleep(INT_MAX);
}

TEST_F(ApplicationTimeTest, CancellationFromAnotherThreadEndsSleep)
{
    application();
    for (int i = 0; i < 500; ++i) {
        application().ResetGlobalTimeout();
        // With every second one a tick comes first, which does not end the sleep.
        std::thread other([this, i] {
            if (i % 2)
                application().Heartbeat(1);
            application().Cancelled();
        });
        application().Sleep(INT_MAX);
        other.join();
        ASSERT_EQ(application().cancelled(), 1);
    }
}

TEST_F(ApplicationTimeTest, PassedDeadlineEndsSleep)
{
    Set(ZPCONFIG_TIMEOUT_GLOBAL, 10);
    long deadline = SetDeadline();
    std::thread clock([this, deadline] {
        for (long now = deadline - 5; now <= deadline + 1; ++now)
            application().Heartbeat(now);
    });
    application().Sleep(INT_MAX);
    clock.join();
    EXPECT_EQ(application().cancelled(), 1);
    EXPECT_EQ(*application().heartbeat(), 7);
}

CGIApplication* handlers_application;

void CancelFromHandler(int)
{
    handlers_application->Cancelled();
}

TEST_F(ApplicationTimeTest, CancellationFromASignalHandlerEndsSleep)
{
    handlers_application = &application();
    struct sigaction action, former;
    memset(&action, 0, sizeof action);
    action.sa_handler = CancelFromHandler;
    action.sa_mask = *Monitor::Signals();
    sigaction(SIGTERM, &action, &former);
    pthread_t sleeper = pthread_self();
    for (int i = 0; i < 500; ++i) {
        application().ResetGlobalTimeout();
        std::thread other([sleeper] { pthread_kill(sleeper, SIGTERM); });
        application().Sleep(INT_MAX);
        other.join();
        ASSERT_EQ(application().cancelled(), 1);
    }
    sigaction(SIGTERM, &former, nullptr);
}

TEST_F(ApplicationTimeTest, AsynchronousSleepDoesNothingOutsideATask)
{
    Set(ZPCONFIG_TIMEOUT_GLOBAL, 100);
    long deadline = SetDeadline();
    application().Cancelled();
    application().AsynchronousSleep(LONG_MAX, kDataPath, nullptr);
    application().AsynchronousSleep(LONG_MAX, kDataPath, "file");
    EXPECT_EQ(application().cancelled(), 1);
    EXPECT_LE(deadline - application().TimeRemaining(), long(time(nullptr)));
}

}  // namespace
