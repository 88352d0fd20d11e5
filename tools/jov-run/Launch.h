#ifndef LAUNCH_H
#define LAUNCH_H

#include "Options.h"
#include "Readiness.h"

#include <sys/types.h>

/* What the helper has of the program. */
struct Program
{
    pid_t pid;
    int handle; /* a descriptor of the process, which no other process can get */
    int lifeline; /* the program gets its stop signal when the last process that has this open ends */
    int executed; /* ends when the program is executed; a byte: it cannot be */
    int source; /* of its readiness; -1 for the kinds without */
    int output[2]; /* of its standard output and standard error; -1 for all kinds but output: */
};

/*
 * Starts the helper and executes the program in this process; the exit status if that is impossible.
 *
 * The helper is a grandchild, whose parent has ended: a program that waits for any child gets none that it does not
 * know, and no SIGCHLD.
 */
int launch(const struct Options *options);

#endif
