#include "app/HeartbeatThread.h"

#include <signal.h>

#include <atomic>

#include "TestCGIApplication.h"

namespace {

std::atomic<int> handled;

void Count(int)
{
    ++handled;
}

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
