#include "ChildProcess.h"

#include <csignal>

#include <sys/resource.h>
#include <unistd.h>

namespace {

rlimit childLimit = {0, 0};

}

void ChildProcess::raiseDescriptorLimit()
{
    rlimit own = {};
    if (getrlimit(RLIMIT_NOFILE, &own) == 0 && own.rlim_cur < own.rlim_max) {
        childLimit = own;
        own.rlim_cur = own.rlim_max;
        setrlimit(RLIMIT_NOFILE, &own);
    }
}

// Runs between fork and exec: async-signal-safe calls alone.
void ChildProcess::setupChildProcess()
{
    setpgid(0, 0);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (childLimit.rlim_max != 0) {
        setrlimit(RLIMIT_NOFILE, &childLimit);
    }
}
