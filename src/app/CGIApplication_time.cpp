// The clock of a request and the process around it: ticks, deadlines, sleeping,
// cancellation, and the name that `ps` shows.

#include <errno.h>
#include <string.h>
#include <time.h>

#include "app/CGIApplication.h"
#include "config/ExternalConfig.h"
#include "files/UNIXFileManager.h"
#include "primitives/zptime.h"
#include "vm/ZephVM.h"

void CGIApplication::Heartbeat(long now)
{
    HeldMonitor held(&m_monitor);
    ZephApplication::Heartbeat(now);
    m_monitor.Broadcast();
}

void CGIApplication::Cancelled()
{
    HeldMonitor held(&m_monitor);
    if (m_cancelled)
        return;
    __atomic_store_n(&m_cancelled, 1, __ATOMIC_RELAXED);
    m_monitor.Broadcast();
}

// Also forgets a cancellation that came before.
void CGIApplication::ResetGlobalTimeout()
{
    HeldMonitor held(&m_monitor);
    int seconds =
        m_config->value_integer(m_is_task ? ZPCONFIG_TIMEOUT_ASYNC : ZPCONFIG_TIMEOUT_GLOBAL);
    m_global_deadline = seconds ? long(zp_time()) + seconds : 0;
    __atomic_store_n(&m_cancelled, 0, __ATOMIC_RELAXED);
}

void CGIApplication::Sleep(int milliseconds)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    timespec end = Monitor::Later(now, milliseconds < 0 ? 0 : milliseconds);
    HeldMonitor held(&m_monitor);
    while (!m_cancelled && m_monitor.Wait(end) == 0) {
        // A script asleep stays alive for those who watch it.
        if (m_current_vm)
            m_current_vm->Heartbeat();
    }
}

void CGIApplication::AsynchronousSleep(long until, Zeph_PathType type, const char* path)
{
    if (m_is_task)
        WaitForTaskEvent(until, type, path && *path ? path : nullptr);
}

// The deadline of the task stands still while it sleeps, and another one watches.
void CGIApplication::WaitForTaskEvent(long until, Zeph_PathType type, const char* path)
{
    long modified = 0;
    if (path && !m_filemanager->ModifiedTime(type, path, &modified))
        modified = 0;
    HeldMonitor held(&m_monitor);
    bool had_deadline = m_global_deadline != 0;
    long remaining = TimeRemaining();
    int limit = m_config->value_integer(ZPCONFIG_TIMEOUT_ASYNC_SLEEP);
    m_global_deadline = limit ? long(zp_time()) + limit : 0;
    __atomic_store_n(&m_cancelled, 0, __ATOMIC_RELAXED);
    timespec end = {until, 0};
    while (!m_cancelled && m_monitor.Wait(end) == 0) {
        long now_modified = 0;
        if (path && m_filemanager->ModifiedTime(type, path, &now_modified) &&
            now_modified > modified)
            break;
        if (m_current_vm)
            m_current_vm->Heartbeat();
    }
    if (!m_cancelled)
        m_global_deadline = had_deadline ? long(zp_time()) + remaining - 1 : 0;
}

const char* CGIApplication::process_name()
{
    return m_argc > 0 ? m_argv[0] : "";
}

// The arguments lie behind one another in memory, and `ps` shows that stretch.
void CGIApplication::SetProcessName(const char* name, int length)
{
    if (m_argc == 0)
        return;
    m_argc = 1;
    size_t size = length < 0 ? strlen(name) : size_t(length);
    if (size > m_arguments_size - 1)
        size = m_arguments_size - 1;
    memcpy(m_argv[0], name, size);
    memset(m_argv[0] + size, 0, m_arguments_size - size);
}
