#ifndef COMMAND_TABLE_H
#define COMMAND_TABLE_H

#include "jovctl/Command.h"

/// All subcommands, in the order of the help.
[[nodiscard]] CommandList allCommands();

/// Runs the command line, the program's own name left out. Complains where something fails and returns the exit status.
[[nodiscard]] ExitStatus runCommandLine(const QStringList &words);

#endif
