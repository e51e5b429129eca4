#ifndef ZEPH_APP_HEARTBEATTHREAD_H
#define ZEPH_APP_HEARTBEATTHREAD_H

class CGIApplication;

// The thread that calls Heartbeat on the application every 5 seconds. Its mutex is
// the clock and the sign to stop in one: the starter holds it, and the thread waits
// for it with a deadline. One thread a process; the application is borrowed until
// ShutdownHeartbeatThread, which the starter calls. Where the system refuses a thread,
// the run goes on without a clock: no deadline ends it.
void StartHeartbeatThread(CGIApplication* application);
void ShutdownHeartbeatThread();

#endif
