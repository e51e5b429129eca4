#ifndef ZEPH_APP_MONITOR_H
#define ZEPH_APP_MONITOR_H

#include <pthread.h>
#include <signal.h>
#include <time.h>

// A mutex and a condition that signal handlers may use.
//
// A handler that locks a mutex which its own thread holds never returns. So the
// signals of the program (Signals()) are blocked from Lock to Unlock. A wait gives
// the mutex up and lets the signals through; for this it cannot use the C library's
// condition, which holds locks of its own while it is entered, and is an event count
// over a futex instead: Broadcast raises the count, and a waiter sleeps only while the
// count is what it was when it gave the mutex up.
//
// A process forks with the monitor held and lets it go on both sides: otherwise the
// child may inherit it locked by a thread that it does not have.
class Monitor {
public:
    Monitor();
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;
    ~Monitor();

    // The signals whose handler may call in here.
    static const sigset_t* Signals();
    // A time `milliseconds`, not negative, behind another.
    static timespec Later(const timespec& start, int milliseconds);

    void Lock();
    void Unlock();

    // The caller holds the mutex in both. Wait returns 0 after a broadcast and an
    // error, ETIMEDOUT at `until` (absolute, realtime clock), the mutex held again.
    void Broadcast();
    int Wait(const timespec& until);

private:
    pthread_mutex_t m_mutex;
    sigset_t m_former_signals;  // of the holder
    unsigned int m_count = 0;   // the futex word: broadcasts so far
};

// A monitor locked to the end of the block.
class HeldMonitor {
public:
    explicit HeldMonitor(Monitor* monitor) : m_monitor(monitor) { m_monitor->Lock(); }
    ~HeldMonitor() { m_monitor->Unlock(); }
    HeldMonitor(const HeldMonitor&) = delete;
    HeldMonitor& operator=(const HeldMonitor&) = delete;

private:
    Monitor* m_monitor;
};

#endif
