#include "app/UNIXApplication.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include "primitives/conversions.h"

const char* UNIXApplication::lasterror()
{
    const char* text = strerror(errno);
    return *text ? text : "Unknown error";
}

const String& UNIXApplication::GetUserID()
{
    if (m_user_id.length() == 0) {
        int length, capacity;
        char* text = ::itos(int(geteuid()), &length, &capacity);
        m_user_id.assign_nocopy(text, length, capacity);
    }
    return m_user_id;
}
