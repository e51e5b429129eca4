#include "primitives/zptime.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// A time zone for the length of a test.
class Zone {
public:
    explicit Zone(const char* name)
    {
        const char* former = std::getenv("TZ");
        m_had_former = former != nullptr;
        if (former)
            m_former = former;
        setenv("TZ", name, 1);
        tzset();
    }
    ~Zone()
    {
        if (m_had_former)
            setenv("TZ", m_former.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    std::string m_former;
    bool m_had_former;
};

}  // namespace

TEST(Zptime, MakesSecondsOfALocalTime)
{
    static const struct {
        const char* zone;
        int year, month, day, hour, minute, second;
        time_t seconds;
    } rows[] = {
        {"UTC0", 1970, 1, 1, 0, 0, 0, 0},
        {"UTC0", 2000, 2, 29, 12, 34, 56, 951827696},
        {"XXX5", 1970, 1, 1, 0, 0, 0, 18000},
        {"XXX-3", 1970, 1, 2, 0, 0, 0, 75600},
        {"UTC0", 1999, 14, 1, 0, 0, 0, 949363200},  // carries over to February 2000
        {"EST5EDT,M3.2.0,M11.1.0", 2020, 7, 1, 12, 0, 0, 1593619200},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.zone << " " << row.year);
        Zone zone(row.zone);
        EXPECT_EQ(zp_mktime_t(row.year, row.month, row.day, row.hour, row.minute, row.second),
                  row.seconds);
    }
}

TEST(Zptime, ToTimeTAddsTheOffsetOfTheZone)
{
    Zone zone("XXX5");
    time_t local = zp_mktime_t(2001, 9, 9, 1, 46, 40);
    EXPECT_EQ(local, 1000000000 + 18000);
    EXPECT_EQ(zp_to_time_t(2001, 9, 9, 1, 46, 40), local - 18000);
}

TEST(Zptime, ToTimeTFollowsDaylightSaving)
{
    Zone zone("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(zp_to_time_t(2020, 7, 1, 12, 0, 0), zp_mktime_t(2020, 7, 1, 12, 0, 0) - 14400);
    EXPECT_EQ(zp_to_time_t(2020, 1, 1, 12, 0, 0), zp_mktime_t(2020, 1, 1, 12, 0, 0) - 18000);
}

TEST(Zptime, MinusOneStaysMinusOne)
{
    Zone zone("XXX-1");
    EXPECT_EQ(zp_mktime_t(1970, 1, 1, 0, 59, 59), -1);
    EXPECT_EQ(zp_to_time_t(1970, 1, 1, 0, 59, 59), -1);
    EXPECT_EQ(zp_mktime_t(INT_MIN, 1, 1, 0, 0, 0), -1);
    EXPECT_EQ(zp_to_time_t(2000, INT_MIN, 1, 0, 0, 0), -1);
}

TEST(Zptime, GetTimeValuesBreaksThePresentDown)
{
    Zone zone("ABC-2");
    // Not from `time`, whose clock may lag some milliseconds behind.
    timeval before, after;
    gettimeofday(&before, nullptr);
    ZPTIME now;
    zp_gettimevalues(&now);
    gettimeofday(&after, nullptr);
    EXPECT_GE(now.seconds, before.tv_sec);
    EXPECT_LE(now.seconds, after.tv_sec);
    EXPECT_GE(now.tm_usec, 0);
    EXPECT_LT(now.tm_usec, 1000000);
    time_t shifted = now.seconds + 7200;
    tm utc;
    gmtime_r(&shifted, &utc);
    EXPECT_EQ(now.tm_sec, utc.tm_sec);
    EXPECT_EQ(now.tm_min, utc.tm_min);
    EXPECT_EQ(now.tm_hour, utc.tm_hour);
    EXPECT_EQ(now.tm_mday, utc.tm_mday);
    EXPECT_EQ(now.tm_mon, utc.tm_mon + 1);
    EXPECT_EQ(now.tm_year, utc.tm_year + 1900);
    EXPECT_EQ(now.tm_wday, utc.tm_wday + 1);
    EXPECT_EQ(now.tm_yday, utc.tm_yday + 1);
    EXPECT_EQ(now.tm_isdst, 0);
    EXPECT_STREQ(now.tm_zone, "ABC");
    char names[16];
    std::strftime(names, sizeof names, "%b %a", &utc);
    EXPECT_EQ(std::string(now.stm_mon) + " " + now.stm_wday, names);
    EXPECT_EQ(
        zp_mktime_t(now.tm_year, now.tm_mon, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec),
        now.seconds);
}

TEST(Zptime, NamesRunFromJanAndFromSun)
{
    std::string months, days;
    for (const char* name : zp_month_names)
        months += name;
    for (const char* name : zp_weekday_names)
        days += name;
    EXPECT_EQ(months, "JanFebMarAprMayJunJulAugSepOctNovDec");
    EXPECT_EQ(days, "SunMonTueWedThuFriSat");
}

TEST(Zptime, TheSecondIsThatOfTheSystem)
{
    time_t before = time(nullptr);
    time_t now = zp_time();
    EXPECT_GE(now, before);
    EXPECT_LE(now, time(nullptr));
}
