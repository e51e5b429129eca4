#include "app/Monitor.h"

#include <errno.h>
#include <limits.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

long Futex(unsigned int* word, int operation, unsigned int value, const timespec* until)
{
    return syscall(SYS_futex, word, operation, value, until, nullptr, FUTEX_BITSET_MATCH_ANY);
}

}  // namespace

Monitor::Monitor()
{
    Signals();
    pthread_mutex_init(&m_mutex, nullptr);
}

Monitor::~Monitor()
{
    pthread_mutex_destroy(&m_mutex);
}

// Filled by the first monitor, before there is a second thread.
const sigset_t* Monitor::Signals()
{
    static const int numbers[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};
    static sigset_t signals;
    static bool is_filled;
    if (is_filled)
        return &signals;
    sigemptyset(&signals);
    for (int number : numbers)
        sigaddset(&signals, number);
    is_filled = true;
    return &signals;
}

timespec Monitor::Later(const timespec& start, int milliseconds)
{
    const long kNanoseconds = 1000000000;
    const long kNanosecondsOfMillisecond = 1000000;
    timespec end = start;
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += milliseconds % 1000 * kNanosecondsOfMillisecond;
    if (end.tv_nsec >= kNanoseconds) {
        end.tv_nsec -= kNanoseconds;
        ++end.tv_sec;
    }
    return end;
}

void Monitor::Lock()
{
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, Signals(), &former);
    pthread_mutex_lock(&m_mutex);
    m_former_signals = former;
}

void Monitor::Unlock()
{
    sigset_t former = m_former_signals;
    pthread_mutex_unlock(&m_mutex);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

void Monitor::Broadcast()
{
    __atomic_fetch_add(&m_count, 1, __ATOMIC_RELEASE);
    Futex(&m_count, FUTEX_WAKE_BITSET | FUTEX_PRIVATE_FLAG, INT_MAX, nullptr);
}

int Monitor::Wait(const timespec& until)
{
    unsigned int seen = m_count;
    Unlock();
    int result = 0;
    // The count may have moved between Unlock and here, by a handler as well: the
    // system compares it before it sleeps.
    while (__atomic_load_n(&m_count, __ATOMIC_ACQUIRE) == seen && result == 0) {
        long failed = Futex(&m_count, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG | FUTEX_CLOCK_REALTIME,
                            seen, &until);
        if (failed && errno != EINTR && errno != EAGAIN)
            result = errno;
    }
    Lock();
    return result;
}
