#ifndef FOLLOWER_H
#define FOLLOWER_H

#include "Launch.h"

/*
 * The helper beside the program: announces it on the bus when it is ready, passes the stop event on, and returns when
 * the program has ended. If the helper ends before, the kernel sends the program its stop signal.
 */
void follow(const struct Program *program, const struct Readiness *readiness);

#endif
