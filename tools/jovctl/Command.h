#ifndef COMMAND_H
#define COMMAND_H

#include "client/Failure.h"
#include "jovctl/Arguments.h"

/// One subcommand: its function, its arguments and its help.
struct Command
{
    const char *name;
    ExitStatus (*run)(const Arguments &arguments);
    const char *operands; ///< as the usage line shows them
    int fewest; ///< operands
    int most; ///< -1: any number
    const char *options; ///< their names, separated by spaces
    const char *summary; ///< one line, without a full stop
    const char *description; ///< lines with what the summary does not say
    const char *examples; ///< complete command lines
};

/// The functions of the subcommands. Each returns the exit status or throws a Failure.
namespace Commands {

ExitStatus list(const Arguments &arguments);
ExitStatus status(const Arguments &arguments);
ExitStatus isRunning(const Arguments &arguments);
ExitStatus step(const Arguments &arguments);
ExitStatus tree(const Arguments &arguments);
ExitStatus start(const Arguments &arguments);
ExitStatus stop(const Arguments &arguments);
ExitStatus restart(const Arguments &arguments);
ExitStatus startAll(const Arguments &arguments);
ExitStatus stopAll(const Arguments &arguments);
ExitStatus restartAll(const Arguments &arguments);
ExitStatus restartApp(const Arguments &arguments);
ExitStatus shutDown(const Arguments &arguments);
ExitStatus top(const Arguments &arguments);
ExitStatus watch(const Arguments &arguments);
ExitStatus log(const Arguments &arguments);
ExitStatus logLevel(const Arguments &arguments);
ExitStatus boot(const Arguments &arguments);
ExitStatus why(const Arguments &arguments);
ExitStatus history(const Arguments &arguments);
ExitStatus metrics(const Arguments &arguments);
ExitStatus verify(const Arguments &arguments);

} // namespace Commands

#endif
