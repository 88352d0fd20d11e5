#ifndef PROCESS_TREE_H
#define PROCESS_TREE_H

#include <stdbool.h>
#include <sys/types.h>

/* The present parent of a process; 0 if there is none, or no such process. */
pid_t parentOf(pid_t pid);

/* The process is `ancestor`, or a descendant. */
bool isBelow(pid_t pid, pid_t ancestor);

#endif
