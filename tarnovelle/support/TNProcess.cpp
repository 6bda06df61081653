#include "tarnovelle/support/TNProcess.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

uint32_t TNGetCurrentProcessId() { return static_cast<uint32_t>(::getpid()); }

void TNRaiseCurrentThreadPriority() {
    // A nice value of its own for this thread: one step above normal.
    const pid_t thread = static_cast<pid_t>(::syscall(SYS_gettid));
    (void)::setpriority(PRIO_PROCESS, static_cast<id_t>(thread), -1);
}
