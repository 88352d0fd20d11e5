#ifndef RESTING_H
#define RESTING_H

class QString;
struct Programs;

/// Prints what a supervisor costs while nothing happens, `seconds` long: with 100 modules that run, and with one that
/// never gets ready. `parameter` is a line of platform.ini for the first, or empty.
void measureRest(const Programs &programs, int seconds, const QString &parameter);

#endif
