#ifndef READINESS_H
#define READINESS_H

#include "Options.h"
#include "Program.h"

#include <stddef.h>

/* Only polling shows that it is reached; otherwise the program reports it, and isReached() is false. */
bool isPolled(const struct Options *options);
bool isReached(const struct Options *options, const struct Program *program, long long millisecondsRun);

/* What is missing, for a message: "still waiting for TEXT". */
void describeReadiness(const struct Options *options, char *text, size_t size);

#endif
