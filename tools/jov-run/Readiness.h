#ifndef READINESS_H
#define READINESS_H

#include "Options.h"

#include <stddef.h>
#include <sys/stat.h>

/* What the program must do before it is announced. */
struct Readiness
{
    const struct Options *options;
    bool existed; /* the file, before the program */
    struct stat before;
};

/* Before the program is executed: a file that an earlier run has left announces nothing. */
void beginReadiness(struct Readiness *readiness, const struct Options *options);

/* Only polling shows that it is reached; otherwise the program reports it, and isReached() is false. */
bool isPolled(const struct Readiness *readiness);
bool isReached(const struct Readiness *readiness, pid_t program, long long millisecondsRun);

/* What is missing, for a message: "still waiting for TEXT". */
void describeReadiness(const struct Readiness *readiness, char *text, size_t size);

#endif
