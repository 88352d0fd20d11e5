#ifndef PARENT_PROCESS_H
#define PARENT_PROCESS_H

#include <csignal>
#include <functional>

#include <sys/types.h>

/**
 * The process that started the daemon. It stays behind until the daemon reports how the start-up went, and its exit
 * status is the report: 0 for `SIGUSR1`, 1 for `SIGUSR2`, 2 when the daemon ended without a word.
 *
 * daemonise() forks. In the parent it does not return. In the child it calls `child` with the parent's pid and returns
 * its result. Both report signals are blocked around the fork, so that a daemon that is quicker than its parent is
 * heard all the same; both sides then have the mask back that the caller had.
 */
int daemonise(const std::function<int(pid_t parent)> &child);

#endif
