#include "app/ZephApplication.h"

#include <string.h>
#include <strings.h>
#include <time.h>

#include "app/LogParameter.h"
#include "config/Config.h"
#include "primitives/conversions.h"
#include "primitives/zptime.h"
#include "variables/encoders.h"

namespace {

// The deadline of a time-out setting that starts now; 0 for none.
long DeadlineOf(Config* config, int key)
{
    int seconds = config ? config->value_integer(key) : 0;
    return seconds ? long(zp_time()) + seconds : 0;
}

}  // namespace

void ZephApplication::ResetGlobalTimeout()
{
    m_global_deadline = DeadlineOf(config(), ZPCONFIG_TIMEOUT_GLOBAL);
    m_cancelled = 0;
}

void ZephApplication::ResetPOSTTimeout()
{
    m_post_deadline = DeadlineOf(config(), ZPCONFIG_TIMEOUT_POST);
    m_post_cancelled = 0;
}

void ZephApplication::ClearPOSTTimeout()
{
    m_post_deadline = 0;
    m_post_cancelled = 0;
}

int ZephApplication::Error(const char* text)
{
    return OutputError(text, int(strlen(text)));
}

// A deadline that is reached has not passed yet: only a later tick ends the run.
void ZephApplication::Heartbeat(long now)
{
    __atomic_fetch_add(&m_heartbeat, 1, __ATOMIC_RELAXED);
    if (m_global_deadline > 0 && m_global_deadline < now)
        __atomic_store_n(&m_cancelled, 1, __ATOMIC_RELAXED);
    if (m_post_deadline >= 1 && now > m_post_deadline)
        __atomic_store_n(&m_post_cancelled, 1, __ATOMIC_RELAXED);
}

long ZephApplication::TimeRemaining()
{
    return m_global_deadline == 0 ? -1 : m_global_deadline - long(zp_time());
}

void ZephApplication::SetDefaultLanguage(const char* text, int length)
{
    m_default_language.Set(text, length);
}

void ZephApplication::SetDefaultDatabase(const char* text, int length)
{
    m_default_database.Set(text, length);
}

void ZephApplication::SetCharacterSet(const char* text, int length)
{
    m_charset.Set(text, length);
    const String& name = m_charset.text;
    m_charset_is_utf8 = name.length() == 5 && strncasecmp(name.data(), "utf-8", 5) == 0;
}

const char* ZephApplication::Log_Description(unsigned int event)
{
    switch (event) {
        case kLogFunctionCall:
            return "Function Call";
        case kLogFunctionParameter:
            return "Function Parameter";
        case kLogFunctionReturnValue:
            return "Function Return Value";
        case kLogFunctionReturn:
            return "Function Return";
        case kLogExternalCall:
            return "External Function Call";
        case kLogExternalParameter:
            return "External Function Parameter";
        case kLogExternalReturnValue:
            return "External Function Return Value";
        case kLogExternalReturn:
            return "External Function Return";
        case kLogDoEnter:
            return "ZpDO Enter";
        case kLogDoExit:
            return "ZpDO Exit";
        case kLogCall:
            return "ZpCALL";
        case kLogSMTP:
            return "ZpSMTP";
        case kLogTimedOut:
            return "Application Timed Out";
        case kLogRuntimeError:
            return "Runtime Error";
        case kLogFatalError:
            return "Fatal Error";
        case kLogTrace:
            return "Trace";
    }
    return "Unknown";
}

void ZephApplication::Notify_RuntimeError(int, const String& text, bool show)
{
    if (show)
        Error(text);
}

char* ZephApplication::itos(int value, int* length, int* capacity)
{
    return ::itos(value, length, capacity);
}

char* ZephApplication::dtos(double value, int* length, int* capacity, int precision)
{
    return ::dtos(value, length, capacity, precision);
}

double ZephApplication::stod(const char* text, int length, int capacity, int* error)
{
    return ::stod(text, length, capacity, error);
}

int ZephApplication::stoi(const char* text, int length, int* error)
{
    return ::stoi(text, length, error);
}

char* ZephApplication::EncodeEntities(const char* text, int length, int* out_length,
                                      int* out_capacity)
{
    return ::EncodeEntities(text, length, out_length, out_capacity);
}

char* ZephApplication::DecodeEntities(const char* text, int length, int* out_length,
                                      int* out_capacity)
{
    return ::DecodeEntities(text, length, out_length, out_capacity);
}

char* ZephApplication::EncodeAttribute(const char* text, int length, int* out_length,
                                       int* out_capacity)
{
    return ::EncodeAttribute(text, length, out_length, out_capacity);
}

char* ZephApplication::DecodeAttribute(const char* text, int length, int* out_length,
                                       int* out_capacity)
{
    return ::DecodeAttribute(text, length, out_length, out_capacity);
}

char* ZephApplication::EncodeJavaScriptString(const char* text, int length, int* out_length,
                                              int* out_capacity)
{
    return ::EncodeJavaScriptString(text, length, out_length, out_capacity, CharacterSetIsUTF8());
}

char* ZephApplication::StripNULLs(const char* text, int length, int* out_length, int* out_capacity)
{
    return ::StripNULLs(text, length, out_length, out_capacity);
}
