#ifndef RUN_MANAGER_H
#define RUN_MANAGER_H

#include "supervision/SupervisionState.h"
#include "supervision/Timing.h"

#include <sys/types.h>

/**
 * Runs the manager in this process until its event loop ends, and returns the loop's result. `parent` is the process
 * that waits for the report of the start-up, 0 in the foreground. `timing` is for programs that show or test the
 * daemon.
 */
int runManager(int argc, char **argv, pid_t parent, OwnStreams ownStreams,
               const ManagerTiming &timing = ManagerTiming());

/// The whole program: options, the fork into parent and daemon, and runManager(). Returns the exit status.
int runDaemon(int argc, char **argv, const ManagerTiming &timing = ManagerTiming());

#endif
