#ifndef ZEPH_TESTS_UNIT_APP_WATCHDOG_H
#define ZEPH_TESTS_UNIT_APP_WATCHDOG_H

#include <unistd.h>

// Ends the process when a test hangs: a wake-up that is lost is then a failure.
class Watchdog {
public:
    explicit Watchdog(unsigned int seconds = 120) { alarm(seconds); }
    ~Watchdog() { alarm(0); }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
};

#endif
