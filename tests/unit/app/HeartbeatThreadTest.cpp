#include "app/HeartbeatThread.h"

#include <errno.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <thread>

#include "TestCGIApplication.h"

namespace {

std::atomic<int> handled;

void Count(int)
{
    ++handled;
}

// The deadlines that the thread has waited for. The first two pass at once.
std::atomic<int> waits;
timespec deadlines[3];

class HeartbeatThreadTest : public ApplicationTest {};

TEST_F(HeartbeatThreadTest, StopsAtOnceWithoutATick)
{
    // A stop that waited for its tick would run into the watchdog.
    for (int i = 0; i < 200; ++i) {
        StartHeartbeatThread(&application());
        ShutdownHeartbeatThread();
    }
    EXPECT_EQ(*application().heartbeat(), 0);
}

TEST_F(HeartbeatThreadTest, EachTickIsFiveSecondsBehindTheLastAndNotBehindNow)
{
    int former = waits.exchange(-3);
    timespec before;
    clock_gettime(CLOCK_REALTIME, &before);
    StartHeartbeatThread(&application());
    while (waits < 0)
        std::this_thread::yield();
    ShutdownHeartbeatThread();
    waits = former;
    EXPECT_EQ(*application().heartbeat(), 2);
    EXPECT_GE(deadlines[0].tv_sec, before.tv_sec + 5);
    for (int i = 1; i < 3; ++i) {
        EXPECT_EQ(deadlines[i].tv_sec, deadlines[i - 1].tv_sec + 5);
        EXPECT_EQ(deadlines[i].tv_nsec, deadlines[i - 1].tv_nsec);
    }
}

TEST_F(HeartbeatThreadTest, LeavesTheSignalsToTheMainThread)
{
    struct sigaction action, former;
    memset(&action, 0, sizeof action);
    action.sa_handler = Count;
    sigaction(SIGTERM, &action, &former);
    sigset_t before, now;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    StartHeartbeatThread(&application());
    pthread_sigmask(SIG_BLOCK, Monitor::Signals(), &now);
    EXPECT_EQ(sigismember(&now, SIGTERM), sigismember(&before, SIGTERM))
        << "the starter's mask is as it was";
    kill(getpid(), SIGTERM);
    ShutdownHeartbeatThread();
    EXPECT_EQ(handled, 0);
    pthread_sigmask(SIG_SETMASK, &now, nullptr);
    EXPECT_EQ(handled, 1);
    sigaction(SIGTERM, &former, nullptr);
}

}  // namespace

// The linker puts this in front of the system's own. While a test counts, deadlines are
// noted and the first two are said to have passed.
extern "C" int __real_pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* deadline);

extern "C" int __wrap_pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* deadline)
{
    int wait = waits;
    if (wait >= 0)
        return __real_pthread_mutex_timedlock(mutex, deadline);
    deadlines[wait + 3] = *deadline;
    waits = wait + 1;
    return wait < -1 ? ETIMEDOUT : __real_pthread_mutex_timedlock(mutex, deadline);
}
