#ifndef ZEPH_VM_REMAINDER_H
#define ZEPH_VM_REMAINDER_H

#include <limits.h>
#include <signal.h>

// The truncating remainder, with the sign of the dividend. Where the machine's division has
// no result, by 0 and of the least integer by -1, its arithmetic trap ends the process. The
// trap is raised here by name, since the language gives the compiler leave to drop a
// division that cannot succeed; unlike the machine's own, a raised one could be held back.
inline int Remainder(int dividend, int divisor)
{
    if (divisor == 0 || (divisor == -1 && dividend == INT_MIN)) {
        sigset_t trap;
        sigemptyset(&trap);
        sigaddset(&trap, SIGFPE);
        pthread_sigmask(SIG_UNBLOCK, &trap, nullptr);
        signal(SIGFPE, SIG_DFL);
        raise(SIGFPE);
        return 0;
    }
    return dividend % divisor;
}

#endif
