#ifndef TIME_LIMIT_H
#define TIME_LIMIT_H

/**
 * Ends the process with status 1 and a line when `seconds` are over, also while it waits for the bus. A command that
 * handles Ctrl-C is ended by it; if that takes longer than a second, as above.
 */
void limitTime(double seconds);

#endif
