#ifndef ZEPH_APP_UNIXAPPLICATION_H
#define ZEPH_APP_UNIXAPPLICATION_H

#include "app/VMApplication.h"

// What an application asks of the operating system, whoever started the process.
class UNIXApplication : public VMApplication {
public:
    const char* lasterror() override;
    // Made once: a switch of user does not show here after the first call.
    const String& GetUserID() override;

protected:
    int m_syslog_option = 1;      // LOG_PID
    int m_syslog_facility = 144;  // LOG_LOCAL2
    int m_syslog_priority = 3;    // LOG_ERR

private:
    String m_user_id;
};

#endif
