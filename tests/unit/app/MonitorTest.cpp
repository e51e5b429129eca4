#include "app/Monitor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <string.h>
#include <time.h>

#include <atomic>
#include <thread>

#include "Watchdog.h"

namespace {

const int kSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};

// So far away that reaching it is a failure: the watchdog comes first.
timespec Never()
{
    timespec end;
    clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += 3600;
    return end;
}

timespec Past()
{
    timespec end;
    clock_gettime(CLOCK_REALTIME, &end);
    --end.tv_sec;
    return end;
}

// A handler of the program's five signals, for the life of the object.
class HandledSignals {
public:
    explicit HandledSignals(void (*handler)(int))
    {
        struct sigaction action;
        memset(&action, 0, sizeof action);
        action.sa_handler = handler;
        action.sa_mask = *Monitor::Signals();
        for (int i = 0; i < 5; ++i)
            sigaction(kSignals[i], &action, &m_former[i]);
    }
    ~HandledSignals()
    {
        for (int i = 0; i < 5; ++i)
            sigaction(kSignals[i], &m_former[i], nullptr);
    }

private:
    struct sigaction m_former[5];
};

std::atomic<int> handled;
Monitor* handlers_monitor;

void Count(int)
{
    ++handled;
}

void BroadcastFromHandler(int)
{
    HeldMonitor held(handlers_monitor);
    ++handled;
    handlers_monitor->Broadcast();
}

class MonitorTest : public ::testing::Test {
protected:
    // The caller holds the monitor when this returns, and the other thread waits in it.
    void HoldWhileItWaits()
    {
        for (;;) {
            m_monitor.Lock();
            if (m_is_waiting)
                return;
            m_monitor.Unlock();
            std::this_thread::yield();
        }
    }
    // What Wait gave to a thread that was woken by `wake`, called in the monitor.
    template <class Wake>
    int ResultOfWait(Wake wake)
    {
        int result = -1;
        m_is_waiting = false;
        std::thread waiter([&] {
            HeldMonitor held(&m_monitor);
            m_is_waiting = true;
            result = m_monitor.Wait(Never());
            m_is_waiting = false;
        });
        HoldWhileItWaits();
        wake(&waiter);
        m_monitor.Unlock();
        waiter.join();
        return result;
    }

    Watchdog m_watchdog;
    Monitor m_monitor;
    bool m_is_waiting = false;  // under the monitor
};

TEST_F(MonitorTest, BroadcastWakes)
{
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(ResultOfWait([this](std::thread*) { m_monitor.Broadcast(); }), 0);
}

TEST_F(MonitorTest, BroadcastWakesAllWhoWait)
{
    const int kThreads = 8;
    int waiting = 0, woken = 0;
    std::thread waiters[kThreads];
    for (std::thread& waiter : waiters)
        waiter = std::thread([&] {
            HeldMonitor held(&m_monitor);
            ++waiting;
            woken += m_monitor.Wait(Never()) == 0;
        });
    for (bool all = false; !all;) {
        HeldMonitor held(&m_monitor);
        all = waiting == kThreads;
        if (all)
            m_monitor.Broadcast();
    }
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(woken, kThreads);
}

TEST_F(MonitorTest, BroadcastBeforeTheWaitIsNotKept)
{
    HeldMonitor held(&m_monitor);
    m_monitor.Broadcast();
    EXPECT_EQ(m_monitor.Wait(Past()), ETIMEDOUT);
}

TEST_F(MonitorTest, WaitEndsAtItsTimeAndHoldsTheMonitorAgain)
{
    m_monitor.Lock();
    EXPECT_EQ(m_monitor.Wait(Past()), ETIMEDOUT);
    timespec soon;
    clock_gettime(CLOCK_REALTIME, &soon);
    soon.tv_nsec = (soon.tv_nsec + 1000000) % 1000000000;
    if (soon.tv_nsec < 1000000)
        ++soon.tv_sec;
    EXPECT_EQ(m_monitor.Wait(soon), ETIMEDOUT);
    bool is_free = false, was_free = true;
    std::thread other([&] {
        HeldMonitor held(&m_monitor);
        was_free = !is_free;
    });
    is_free = true;
    m_monitor.Unlock();
    other.join();
    EXPECT_FALSE(was_free);
}

TEST_F(MonitorTest, WaitThatCannotBeDoneEndsWithItsError)
{
    HeldMonitor held(&m_monitor);
    timespec invalid = {0, 1000000000};
    EXPECT_EQ(m_monitor.Wait(invalid), EINVAL);
}

TEST_F(MonitorTest, LaterCarriesIntoTheSeconds)
{
    static const struct {
        timespec start;
        int milliseconds;
        timespec later;
    } rows[] = {
        {{5, 0}, 0, {5, 0}},
        {{5, 999999999}, 0, {5, 999999999}},
        {{5, 998999999}, 1, {5, 999999999}},
        {{5, 999000000}, 1, {6, 0}},
        {{5, 999999999}, 999, {6, 998999999}},
        {{5, 1}, 2500, {7, 500000001}},
        {{5, 600000000}, 2500, {8, 100000000}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.milliseconds);
        timespec later = Monitor::Later(row.start, row.milliseconds);
        EXPECT_EQ(later.tv_sec, row.later.tv_sec);
        EXPECT_EQ(later.tv_nsec, row.later.tv_nsec);
    }
}

// A thread that takes the monitor again and again, and a fork in between.
TEST_F(MonitorTest, AForkWithTheMonitorHeldLeavesTheChildAMonitorThatWorks)
{
    Monitor monitor;
    std::atomic<bool> ended{false};
    std::thread other([&] {
        while (!ended) {
            monitor.Lock();
            monitor.Broadcast();
            monitor.Unlock();
        }
    });
    for (int i = 0; i < 50; ++i) {
        monitor.Lock();
        pid_t child = fork();
        monitor.Unlock();
        if (child == 0) {
            alarm(20);
            monitor.Lock();
            monitor.Unlock();
            _exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    ended = true;
    other.join();
}

TEST_F(MonitorTest, SignalsAreTheFiveOfTheProgram)
{
    const sigset_t* set = Monitor::Signals();
    for (int number = 1; number < 32; ++number) {
        SCOPED_TRACE(number);
        bool expected = false;
        for (int one : kSignals)
            expected = expected || one == number;
        EXPECT_EQ(sigismember(set, number), expected ? 1 : 0);
    }
}

TEST_F(MonitorTest, SignalsWaitWhileItIsHeld)
{
    HandledSignals signals(Count);
    for (int number : kSignals) {
        SCOPED_TRACE(number);
        handled = 0;
        m_monitor.Lock();
        raise(number);
        EXPECT_EQ(handled, 0);
        m_monitor.Unlock();
        EXPECT_EQ(handled, 1);
    }
}

TEST_F(MonitorTest, SignalsThatWereBlockedBeforeStayBlocked)
{
    HandledSignals signals(Count);
    sigset_t term, former;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &term, &former);
    handled = 0;
    {
        HeldMonitor held(&m_monitor);
        raise(SIGTERM);
    }
    EXPECT_EQ(handled, 0);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    EXPECT_EQ(handled, 1);
}

TEST_F(MonitorTest, HandlerMayLockWhileItsThreadWaits)
{
    HandledSignals signals(BroadcastFromHandler);
    handlers_monitor = &m_monitor;
    handled = 0;
    for (int i = 0; i < 1000; ++i) {
        int number = kSignals[i % 5];
        ASSERT_EQ(ResultOfWait([number](std::thread* waiter) {
                      pthread_kill(waiter->native_handle(), number);
                  }),
                  0);
    }
    EXPECT_EQ(handled, 1000);
}

TEST_F(MonitorTest, SignalThatBroadcastsNothingDoesNotEndTheWait)
{
    HandledSignals signals(Count);
    handled = 0;
    int result = ResultOfWait([this](std::thread* waiter) {
        pthread_kill(waiter->native_handle(), SIGTERM);
        m_monitor.Unlock();
        // The handler runs in the wait, whose thread then goes on waiting.
        while (handled == 0)
            std::this_thread::yield();
        m_monitor.Lock();
        EXPECT_TRUE(m_is_waiting);
        m_monitor.Broadcast();
    });
    EXPECT_EQ(result, 0);
}

}  // namespace
