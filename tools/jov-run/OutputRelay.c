#include "OutputRelay.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

enum { patience = 1000 }; /* with a reader, after the end of the program */

struct pollfd relayWaitsFor(const struct OutputRelay *relay)
{
    const bool isFull = relay->done < relay->size;
    return (struct pollfd){isFull ? relay->to : relay->from, isFull ? POLLOUT : POLLIN, 0};
}

/* Lines are compared by their first characters only. */
static bool findLine(struct OutputRelay *relay)
{
    for (size_t i = 0; i < relay->size && relay->wanted; ++i) {
        if (relay->held[i] != '\n') {
            if (relay->lineSize < sizeof relay->line - 1 && relay->held[i] != '\0') {
                relay->line[relay->lineSize++] = relay->held[i];
            }
            continue;
        }
        relay->line[relay->lineSize] = '\0';
        relay->lineSize = 0;
        if (regexec(relay->wanted, relay->line, 0, NULL, 0) == 0) {
            relay->wanted = NULL;
            return true;
        }
    }
    return false;
}

static bool take(struct OutputRelay *relay)
{
    const ssize_t size = read(relay->from, relay->held, sizeof relay->held);
    if (size <= 0) {
        if (size == 0 || (errno != EINTR && errno != EAGAIN)) {
            close(relay->from);
            relay->from = -1;
        }
        return false;
    }
    relay->size = (size_t)size;
    relay->done = 0;
    return findLine(relay);
}

static void pass(struct OutputRelay *relay)
{
    const ssize_t size = write(relay->to, relay->held + relay->done, relay->size - relay->done);
    if (size > 0) {
        relay->done += (size_t)size;
    } else if (errno != EINTR && errno != EAGAIN) {
        relay->done = relay->size; /* nobody reads it */
    }
}

bool relayOutput(struct OutputRelay *relay, short events)
{
    if (events == 0) {
        return false;
    }
    if (relay->done < relay->size) {
        pass(relay);
        return false;
    }
    return take(relay);
}

void finishOutput(struct OutputRelay *relay)
{
    for (;;) {
        struct pollfd next = relayWaitsFor(relay);
        const int limit = next.events == POLLOUT ? patience : 0;
        if (next.fd < 0 || poll(&next, 1, limit) <= 0) {
            return;
        }
        relayOutput(relay, next.revents);
    }
}
