#ifndef RESTING_H
#define RESTING_H

struct Programs;

/// Prints what a supervisor costs while nothing happens, `seconds` long: with 100 modules that run, and with one that
/// never gets ready.
void measureRest(const Programs &programs, int seconds);

#endif
