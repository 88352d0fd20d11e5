#ifndef MANAGER_TIMING_H
#define MANAGER_TIMING_H

#include "monitoring/MemoryWatchdog.h"
#include "supervision/Supervisor.h"

/// All durations of the daemon; tests and the simulator hand in shorter ones.
struct ManagerTiming
{
    ModuleLimits module;
    MemoryWatchdog::Timing watchdog;
};

#endif
