#include "app/HeartbeatThread.h"

#include <errno.h>
#include <pthread.h>
#include <time.h>

#include "app/CGIApplication.h"
#include "app/Monitor.h"
#include "primitives/zptime.h"

namespace {

const int kPeriod = 5;  // seconds

CGIApplication* ticking;
pthread_t thread;
pthread_mutex_t stop_mutex;
bool is_running;

// Each tick is 5 seconds behind the last deadline, so that delays do not add up.
void* Tick(void*)
{
    timespec deadline;
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += kPeriod;
    while (pthread_mutex_timedlock(&stop_mutex, &deadline) == ETIMEDOUT) {
        ticking->Heartbeat(long(zp_time()));
        deadline.tv_sec += kPeriod;
    }
    pthread_mutex_unlock(&stop_mutex);
    return nullptr;
}

}  // namespace

// The thread is born with the program's signals blocked: their handler takes the
// application's monitor, which the thread holds at each tick.
void StartHeartbeatThread(CGIApplication* application)
{
    ticking = application;
    pthread_mutex_init(&stop_mutex, nullptr);
    pthread_mutex_lock(&stop_mutex);
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, Monitor::Signals(), &former);
    is_running = pthread_create(&thread, nullptr, Tick, nullptr) == 0;
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

void ShutdownHeartbeatThread()
{
    pthread_mutex_unlock(&stop_mutex);
    if (is_running)
        pthread_join(thread, nullptr);
    pthread_mutex_destroy(&stop_mutex);
    ticking = nullptr;
}
