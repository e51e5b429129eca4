#include <errno.h>
#include <malloc.h>
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

// The heap of a request grows in a few large steps and is not given back bit by bit:
// the end of the process does that.
void SetUpHeap()
{
    const int kStep = 256 * 1024;
    mallopt(M_TOP_PAD, kStep);
    mallopt(M_TRIM_THRESHOLD, 64 * 1024 * 1024);
}

}  // namespace

int main(int argc, char** argv)
{
    SetUpHeap();
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
