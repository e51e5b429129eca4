#include "primitives/zptime.h"

#include <limits.h>
#include <string.h>

const char* const zp_month_names[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* const zp_weekday_names[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

namespace {

// `broken` receives the fields brought into their ranges, and the zone's offset.
time_t LocalTime(int year, int month, int day, int hour, int minute, int second, tm* broken)
{
    // The calendar counts from 1900 and the months from 0; the least ints leave no
    // room for that.
    if (year < INT_MIN + 1900 || month == INT_MIN)
        return -1;
    memset(broken, 0, sizeof *broken);
    broken->tm_year = year - 1900;
    broken->tm_mon = month - 1;
    broken->tm_mday = day;
    broken->tm_hour = hour;
    broken->tm_min = minute;
    broken->tm_sec = second;
    broken->tm_isdst = -1;
    return mktime(broken);
}

}  // namespace

time_t zp_time()
{
    timespec clock;
    clock_gettime(CLOCK_REALTIME_COARSE, &clock);
    return clock.tv_sec;
}

void zp_gettimevalues(ZPTIME* now)
{
    timespec clock;
    clock_gettime(CLOCK_REALTIME, &clock);
    tm local;
    if (!localtime_r(&clock.tv_sec, &local)) {
        // Only a year that an int cannot hold comes here; it reads as the epoch.
        const time_t epoch = 0;
        localtime_r(&epoch, &local);
    }
    *now = {
        clock.tv_sec,
        clock.tv_nsec / 1000,
        local.tm_sec,
        local.tm_min,
        local.tm_hour,
        local.tm_mday,
        local.tm_mon + 1,
        zp_month_names[local.tm_mon],
        local.tm_year + 1900,
        local.tm_wday + 1,
        zp_weekday_names[local.tm_wday],
        local.tm_yday + 1,
        local.tm_isdst,
        local.tm_zone,
    };
}

time_t zp_mktime_t(int year, int month, int day, int hour, int minute, int second)
{
    tm broken;
    return LocalTime(year, month, day, hour, minute, second, &broken);
}

time_t zp_to_time_t(int year, int month, int day, int hour, int minute, int second)
{
    tm broken;
    time_t seconds = LocalTime(year, month, day, hour, minute, second, &broken);
    return seconds == -1 ? -1 : seconds + broken.tm_gmtoff;
}
