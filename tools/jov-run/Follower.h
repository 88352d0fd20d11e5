#ifndef FOLLOWER_H
#define FOLLOWER_H

#include "Options.h"
#include "Program.h"

#include <regex.h>

/*
 * The helper beside the program: announces it on the bus when it is ready, passes the stop event on, and returns when
 * the program has ended. If the helper ends before, the kernel sends the program its stop signal.
 */
void follow(const struct Program *program, const struct Options *options, const regex_t *wantedLine);

#endif
