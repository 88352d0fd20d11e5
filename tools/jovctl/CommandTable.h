#ifndef COMMAND_TABLE_H
#define COMMAND_TABLE_H

#include "jovctl/Command.h"

/// All subcommands, in the order of the help.
[[nodiscard]] CommandList allCommands();

/// Runs the command line, without the program's name. Prints what fails and returns the exit status.
[[nodiscard]] ExitStatus runCommandLine(const QStringList &words);

#endif
