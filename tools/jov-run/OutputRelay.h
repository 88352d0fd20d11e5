#ifndef OUTPUT_RELAY_H
#define OUTPUT_RELAY_H

#include <poll.h>
#include <regex.h>
#include <stdbool.h>
#include <stddef.h>

/*
 * Passes on one output stream of the program, and looks for a line in it. It takes from the program only what it has
 * passed on: a reader that is slow slows the program down, as without it.
 */
struct OutputRelay
{
    int from; /* -1: the program has closed it */
    int to;
    const regex_t *wanted; /* NULL: no longer */
    char held[4096]; /* as much as a pipe takes at once where poll(2) reports room: PIPE_BUF */
    size_t size, done;
    char line[1024]; /* the beginning of the present line */
    size_t lineSize;
};

/* What it waits for now. */
struct pollfd relayWaitsFor(const struct OutputRelay *relay);
/* Goes on; true when the line has been found. */
bool relayOutput(struct OutputRelay *relay, short events);
/* The program has ended: passes on what it has written, to a reader that goes on reading. */
void finishOutput(struct OutputRelay *relay);

#endif
