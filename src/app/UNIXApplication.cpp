#include "app/UNIXApplication.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

const char* UNIXApplication::lasterror()
{
    const char* text = strerror(errno);
    return *text ? text : "Unknown error";
}

const String& UNIXApplication::GetUserID()
{
    if (m_user_id.length() == 0) {
        char digits[16];
        snprintf(digits, sizeof digits, "%u", unsigned(geteuid()));
        m_user_id = digits;
    }
    return m_user_id;
}
