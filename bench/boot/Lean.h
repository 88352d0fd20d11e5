#ifndef LEAN_H
#define LEAN_H

class LastFigures;
struct Programs;

/// Prints what the daemon adds to a start and a stop, compared with two bare loops, on one processor and on all.
void measureLean(const Programs &programs, int repetitions, int longChain, LastFigures &last);

#endif
