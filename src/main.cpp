#include <errno.h>
#include <signal.h>
#include <string.h>

#include "app/CGIApplication.h"
#include "app/HeartbeatThread.h"

namespace {

CGIApplication* the_application;

const int signals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};

void CancelRun(int)
{
    int error = errno;
    if (the_application)
        the_application->Cancelled();
    errno = error;
}

void HandleSignals(void (*handler)(int))
{
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = handler;
    action.sa_mask = *Monitor::Signals();
    action.sa_flags = SA_RESTART;
    for (int number : signals)
        sigaction(number, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv)
{
    the_application = new CGIApplication(argc, argv);
    HandleSignals(CancelRun);
    StartHeartbeatThread(the_application);
    int status = the_application->Go();
    ShutdownHeartbeatThread();
    HandleSignals(SIG_IGN);
    CGIApplication* application = the_application;
    the_application = nullptr;
    delete application;
    return status;
}
