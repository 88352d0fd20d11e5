#ifndef AHEAD_H
#define AHEAD_H

struct Programs;

/// Prints how long it takes to start and stop many modules that wait or compute, one after the other and in parallel.
void measureAhead(const Programs &programs, int repetitions);

#endif
