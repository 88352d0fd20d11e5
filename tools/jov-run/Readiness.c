#include "Readiness.h"

#include "ListeningSockets.h"

#include <stdio.h>

void beginReadiness(struct Readiness *readiness, const struct Options *options)
{
    readiness->options = options;
    readiness->existed = options->ready == readyFile && stat(options->text, &readiness->before) == 0;
}

bool isPolled(const struct Readiness *readiness)
{
    switch (readiness->options->ready) {
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
static bool isNewFile(const struct Readiness *readiness)
{
    struct stat now;
    const struct stat *before = &readiness->before;
    return stat(readiness->options->text, &now) == 0
        && (!readiness->existed || now.st_dev != before->st_dev || now.st_ino != before->st_ino
            || now.st_size != before->st_size || now.st_ctim.tv_sec != before->st_ctim.tv_sec
            || now.st_ctim.tv_nsec != before->st_ctim.tv_nsec);
}

bool isReached(const struct Readiness *readiness, pid_t program, long long millisecondsRun)
{
    const struct Options *options = readiness->options;
    switch (options->ready) {
    case readyAtOnce:
        return true;
    case readyDelay:
        return millisecondsRun >= options->number;
    case readyTcp:
        return listensOnTcp(program, (unsigned)options->number);
    case readyUnix:
        return listensOnUnix(program, options->text);
    case readyFile:
        return isNewFile(readiness);
    default:
        return false;
    }
}

void describeReadiness(const struct Readiness *readiness, char *text, size_t size)
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
    const struct Options *options = readiness->options;
    snprintf(text, size, forms[options->ready], options->text ? options->text : "");
}
