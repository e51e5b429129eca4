// A real tick, which takes five seconds to come.
#include <limits.h>

#include "TestCGIApplication.h"
#include "app/HeartbeatThread.h"

namespace {

class HeartbeatTickTest : public ApplicationTest {};

TEST_F(HeartbeatTickTest, EndsASleepWhoseDeadlineHasPassed)
{
    Set(ZPCONFIG_TIMEOUT_GLOBAL, 1);
    application().ResetGlobalTimeout();
    StartHeartbeatThread(&application());
    application().Sleep(INT_MAX);
    ShutdownHeartbeatThread();
    EXPECT_EQ(application().cancelled(), 1);
    EXPECT_EQ(*application().heartbeat(), 1);
}

}  // namespace
