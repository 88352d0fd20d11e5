#ifndef LAUNCH_H
#define LAUNCH_H

#include "Options.h"

/*
 * Starts the helper and executes the program in this process; the exit status if that is impossible.
 *
 * The helper is a grandchild, whose parent has ended: a program that waits for any child gets none that it does not
 * know, and no SIGCHLD. It executes jov-run-helper with the same arguments, once the program is executed.
 */
int launch(const struct Options *options, char **arguments);

/* Executes jov-run-helper in this process; the exit status if that is impossible. */
int executeHelper(char **arguments);

#endif
