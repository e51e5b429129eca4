#ifndef ZEPH_PRIMITIVES_ZPTIME_H
#define ZEPH_PRIMITIVES_ZPTIME_H

#include <time.h>

// The clock broken down in the local zone. The names are constant texts; the name
// of the zone belongs to the C library.
struct ZPTIME {
    time_t seconds;  // since the epoch
    long tm_usec;
    int tm_sec;
    int tm_min;
    int tm_hour;
    int tm_mday;
    int tm_mon;            // 1 to 12
    const char* stm_mon;   // "Jan" to "Dec"
    int tm_year;           // with century
    int tm_wday;           // 1 (Sunday) to 7
    const char* stm_wday;  // "Sun" to "Sat"
    int tm_yday;           // from 1
    int tm_isdst;
    const char* tm_zone;
};

extern const char* const zp_month_names[12];
extern const char* const zp_weekday_names[7];

// The present second, by the clock that `time` reads. The C library picks its `time` and
// `gettimeofday` for the processor at the start of each program that has them, in a part of
// it that no request touches otherwise.
time_t zp_time();

// Fills in the present time, read once.
void zp_gettimevalues(ZPTIME* now);

// Seconds since the epoch of a local time: year with century, month from 1. Fields
// out of their range carry over as in `mktime`. -1 if there is no such time.
time_t zp_mktime_t(int year, int month, int day, int hour, int minute, int second);

// The same plus the offset of the local zone from UTC at that time: what the
// fields mean when they are read as UTC. -1 stays -1.
time_t zp_to_time_t(int year, int month, int day, int hour, int minute, int second);

#endif
