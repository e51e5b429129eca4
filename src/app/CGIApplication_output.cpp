// The response as the application sees it: the headers of every page and the cookie
// that names the caller.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "app/CGIApplication.h"
#include "app/HTTPOutput.h"
#include "config/ExternalConfig.h"
#include "primitives/MD5.h"
#include "primitives/zptime.h"
#include "variables/ImmutableVariable.h"
#include "variables/SystemVariableHash.h"

namespace {

const char kCookie[] = "btxcallerid=";
const long kCookieLife = 31536000;  // seconds: a year, anew with every request

// What a session id is made of.
const int kSeedSize = 319;
const int kSeedHostSize = 255;
const int kDigestSize = 16;
const int kPrintableSize = 32;

unsigned char* PutBigEndian(unsigned char* out, unsigned int value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        *out++ = static_cast<unsigned char>(value >> shift);
    return out;
}

// The caller's id in the request's cookies; null when there is none.
const char* CallerID(int* length)
{
    const char* cookies = getenv("HTTP_COOKIE");
    const char* found = cookies ? strstr(cookies, kCookie) : nullptr;
    if (!found)
        return nullptr;
    found += sizeof kCookie - 1;
    *length = int(strcspn(found, ";"));
    return *length > 0 ? found : nullptr;
}

// As strftime would, "%a, %d-%b-%Y %H:%M:%S GMT", but without the file of the local
// time zone, which strftime reads first.
String DateInGMT(time_t seconds)
{
    static const char days[][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char months[][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    tm parts;
    gmtime_r(&seconds, &parts);
    char date[64];
    snprintf(date, sizeof date, "%s, %02d-%s-%d %02d:%02d:%02d GMT", days[parts.tm_wday],
             parts.tm_mday, months[parts.tm_mon], parts.tm_year + 1900, parts.tm_hour, parts.tm_min,
             parts.tm_sec);
    return date;
}

String CookieValue(const String& id)
{
    return kCookie + id + "; expires=" + DateInGMT(zp_time() + kCookieLife) + "; path=/";
}

}  // namespace

Output* CGIApplication::SetOutput(Output* output)
{
    output->SetFlags(m_output->flags());
    Output* former = m_output;
    m_output = output;
    return former;
}

int CGIApplication::OutputError(const char* text, int length)
{
    if (!m_headers_output)
        OutputHeaders();
    m_output->Write_Error(text, length);
    return 0;
}

bool CGIApplication::OutputHeaders()
{
    if (m_headers_output)
        return true;
    m_headers_output = true;
    m_output->Header("Content-Type", "text/html");
    if (m_config->value_integer(ZPCONFIG_COOKIES) != 0)
        OutputCookie();
    return true;
}

void CGIApplication::OutputCookie()
{
    String id;
    int length;
    if (const char* known = CallerID(&length)) {
        id.assign(known, length);
    } else {
        char* made = MakeSessionID(&length);
        id.assign_nocopy(made, length, length + 1);
    }
    int value_length, capacity;
    char* value = CookieValue(id).release(&value_length, &capacity);
    const int kTerminated = -1;
    const int kBorrowed = 0;
    const int kOwned = 1;
    m_output->Header("Set-Cookie", kTerminated, kBorrowed, value, value_length, kOwned);
    const bool kLocked = true;
    m_system_variables->SetVariable(
        new ImmutableVariable("callerid", -1, id.data(), id.length(), kLocked));
}

char* CGIApplication::MakeSessionID(int* length)
{
    unsigned char seed[kSeedSize] = {};
    const char* host = lockhostname();
    size_t host_length = strnlen(host, kSeedHostSize);
    memcpy(seed, host, host_length);
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    unsigned char* rest = seed + host_length;
    rest = PutBigEndian(rest, unsigned(m_process_id));
    rest = PutBigEndian(rest, unsigned(now.tv_sec));
    rest = PutBigEndian(rest, unsigned(now.tv_nsec / 1000));
    while (rest < seed + kSeedSize)
        *rest++ = static_cast<unsigned char>(rand());

    MD5Encoder encoder;
    unsigned char digest[kDigestSize];
    encoder.Reset();
    encoder.Encode(seed, kSeedSize, digest);
    char* text = new char[kPrintableSize + 1];
    encoder.Make_Printable(digest, text);
    text[kPrintableSize] = 0;
    *length = kPrintableSize;
    return text;
}

const char* CGIApplication::lockhostname()
{
    const char* name = m_config->value_string(ZPCONFIG_LOCK_HOSTNAME, nullptr);
    if (name)
        return name;
    char* own = new char[kSeedHostSize]();
    gethostname(own, kSeedHostSize - 1);
    const int kOwned = 1;
    m_config->SetValue(ZPCONFIG_LOCK_HOSTNAME, own, -1, kOwned);
    return own;
}

int CGIApplication::lockexpiration()
{
    return m_config->value_integer(ZPCONFIG_LOCK_EXPIRATION);
}
