#ifndef SCRIPT_COMMANDS_H
#define SCRIPT_COMMANDS_H

#include "Options.h"

/* What scripts call: --notify, --emit and --wait. Each returns the exit status. */

int notify(const struct Options *options);
int emit(const struct Options *options);
int waitForEvent(const struct Options *options);

#endif
