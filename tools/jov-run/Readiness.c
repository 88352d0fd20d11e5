#include "Readiness.h"

#include "ListeningSockets.h"

#include <stdio.h>
#include <string.h>

bool isPolled(const struct Options *options)
{
    switch (options->ready) {
    case readyTcp:
    case readyUnix:
    case readyFile:
    case readyDelay:
    case readyAtOnce:
        return true;
    default:
        return false;
    }
}

/* Compared with what was there and not with the clock, which can be set while a terminal starts. */
static bool isNewFile(const char *path, const struct FileState *before)
{
    struct FileState now;
    return readFileState(path, &now) && memcmp(&now, before, sizeof now) != 0;
}

bool isReached(const struct Options *options, const struct Program *program, long long millisecondsRun)
{
    switch (options->ready) {
    case readyAtOnce:
        return true;
    case readyDelay:
        return millisecondsRun >= options->number;
    case readyTcp:
        return listensOnTcp(program->pid, (unsigned)options->number);
    case readyUnix:
        return listensOnUnix(program->pid, options->text);
    case readyFile:
        return isNewFile(options->text, &program->before);
    default:
        return false;
    }
}

void describeReadiness(const struct Options *options, char *text, size_t size)
{
    static const char *const forms[] = {
        [readyTcp] = "the program to listen on TCP port %s",
        [readyUnix] = "the program to listen on the socket %s",
        [readyFile] = "the file %s to be created or changed",
        [readyDescriptor] = "a line feed on descriptor %s",
        [readyNotify] = "READY=1 from the program%s",
        [readyOutput] = "a line of output that matches '%s'",
        [readyDelay] = "%s ms to pass",
        [readyAtOnce] = "the bus%s",
    };
    snprintf(text, size, forms[options->ready], options->text ? options->text : "");
}
