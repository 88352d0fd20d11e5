#ifndef COMMAND_H
#define COMMAND_H

#include "client/Failure.h"
#include "jovctl/Arguments.h"

#include <QCommandLineOption>
#include <QList>
#include <QStringList>

/// One subcommand: how it is called, what its help says, and what it does.
struct Command
{
    QString name;
    QString synopsis; ///< what follows the name
    QString summary; ///< one line
    QString description; ///< what the summary leaves open; may be empty
    QStringList examples; ///< whole command lines
    QList<QCommandLineOption> options;
    int fewest = 0; ///< operands
    int most = 0; ///< -1: any number
    ExitStatus (*run)(const Arguments &arguments) = nullptr;
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

/// The option that every table has.
[[nodiscard]] QCommandLineOption jsonOption();

#endif
