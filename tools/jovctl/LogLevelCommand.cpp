#include "client/BusClient.h"
#include "client/Console.h"
#include "jovctl/Command.h"

namespace {

constexpr const char *levelNames[] = {"emergency", "alert", "critical", "error", "warning", "notice", "info", "debug"};
constexpr int levels = 8;

/// The level of that number or name; -1 when there is none.
int levelOf(const QString &text)
{
    for (int level = 0; level < levels; ++level) {
        if (text == QLatin1String(levelNames[level]) || text == QString::number(level)) {
            return level;
        }
    }
    return -1;
}

QString described(int level)
{
    return level >= 0 && level < levels ? QStringLiteral("%1 (%2)").arg(level).arg(QLatin1String(levelNames[level]))
                                        : QString::number(level);
}

int presentLevel(const BusClient &client)
{
    return client.properties().value(QStringLiteral("LogLevel")).toInt();
}

ExitStatus logLevel(const Arguments &arguments)
{
    const QString wanted = arguments.operands().value(0);
    const int level = levelOf(wanted);
    if (!arguments.operands().isEmpty() && level < 0) {
        throw Failure(ExitStatus::Usage,
                      QStringLiteral("\"%1\" is no log level: they go from 0 (emergency) to 7 (debug)")
                          .arg(Console::printable(wanted)));
    }
    const BusClient client;
    if (level >= 0) {
        client.setLogLevel(level);
        if (presentLevel(client) != level) {
            throw Failure(ExitStatus::Failed,
                          QStringLiteral("the level is still %1").arg(described(presentLevel(client))));
        }
    }
    Console::writeLine(described(presentLevel(client)));
    return ExitStatus::Done;
}

} // namespace

CommandList logLevelCommands()
{
    Command command;
    command.name = QStringLiteral("log-level");
    command.synopsis = QStringLiteral("[N]");
    command.summary = QStringLiteral("Show or change what the running daemon logs");
    command.description =
        QStringLiteral("0 emergency, 3 error, 4 warning, 6 info, 7 debug; the names do too.\n"
                       "It lasts until the daemon ends; platform.ini has the level that it starts with.");
    command.examples = QStringList{QStringLiteral("jovctl log-level"), QStringLiteral("jovctl log-level 7"),
                                   QStringLiteral("jovctl log-level info")};
    command.most = 1;
    command.run = logLevel;
    return {command};
}
