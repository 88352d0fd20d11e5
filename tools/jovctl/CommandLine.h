#ifndef COMMAND_LINE_H
#define COMMAND_LINE_H

#include "client/Failure.h"

#include <QStringList>

/// Runs the command line, without the program's name. Prints what fails and returns the exit status.
[[nodiscard]] ExitStatus runCommandLine(const QStringList &words);

#endif
