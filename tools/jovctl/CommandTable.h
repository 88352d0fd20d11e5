#ifndef COMMAND_TABLE_H
#define COMMAND_TABLE_H

#include "jovctl/Command.h"

#include <QCommandLineOption>
#include <QList>

/// All subcommands, in the order of the help. Null if there is none of that name.
[[nodiscard]] const Command *findCommand(const QString &name);
[[nodiscard]] QStringList commandNames();

[[nodiscard]] QString programHelp();
[[nodiscard]] QString commandHelp(const Command &command);

[[nodiscard]] QList<QCommandLineOption> optionsOf(const Command &command);

#endif
