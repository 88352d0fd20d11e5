#ifndef COMMAND_H
#define COMMAND_H

#include "client/Failure.h"
#include "jovctl/Arguments.h"

#include <QCommandLineOption>
#include <QList>
#include <QStringList>

/// One subcommand: its help, its arguments and its function.
struct Command
{
    QString name;
    ExitStatus (*run)(const Arguments &arguments);
    QString summary; ///< one line, without a full stop
    QString description; ///< what the summary does not say; may be empty
    QStringList examples; ///< complete command lines
    QList<QCommandLineOption> options = {};
    QString operands = {}; ///< as the usage line shows them
    int fewest = 0; ///< operands
    int most = 0; ///< -1: any number
};

using CommandList = QList<Command>;

// One function for each file of commands.
[[nodiscard]] CommandList listCommands();
[[nodiscard]] CommandList statusCommands();
[[nodiscard]] CommandList treeCommands();
[[nodiscard]] CommandList controlCommands();
[[nodiscard]] CommandList wholeCommands();
[[nodiscard]] CommandList topCommands();
[[nodiscard]] CommandList watchCommands();
[[nodiscard]] CommandList logLevelCommands();
[[nodiscard]] CommandList bootCommands();
[[nodiscard]] CommandList metricsCommands();
[[nodiscard]] CommandList verifyCommands();

/// The option of every command that prints a table.
[[nodiscard]] QCommandLineOption jsonOption();

#endif
