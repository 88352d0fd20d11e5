#include "client/BusClient.h"
#include "client/Console.h"
#include "contract/InspectionNames.h"
#include "jovctl/Command.h"

#include <jov/JovLogger.h>

namespace {

/// The messages that the daemon logs up to each level. It has none of its own for the levels 1, 2 and 5.
constexpr const char *messages[] = {"emergency", "emergency", "emergency", "error",
                                    "warning",   "warning",   "info",      "debug"};
constexpr int levels = JovLogger::Debug + 1;

/// The level of that number or name; -1 if there is none.
int levelOf(const QString &text)
{
    for (int level = 0; level < levels; ++level) {
        if (text == QLatin1String(messages[level]) || text == QString::number(level)) {
            return level;
        }
    }
    return -1;
}

QString described(int level)
{
    return QStringLiteral("%1 (%2)").arg(level).arg(QLatin1String(messages[qBound(0, level, levels - 1)]));
}

} // namespace

ExitStatus Commands::logLevel(const Arguments &arguments)
{
    const QString wanted = arguments.operands().value(0);
    const int level = levelOf(wanted);
    if (!arguments.operands().isEmpty() && level < 0) {
        throw Failure(
            ExitStatus::Usage,
            QStringLiteral("unknown log level \"%1\": use 0 (emergency) to 7 (debug)").arg(Console::printable(wanted)));
    }
    const BusClient client;
    if (level >= 0) {
        client.setLogLevel(level);
    }
    const int present = client.property(Inspect::logLevel);
    if (level >= 0 && present != level) {
        throw Failure(ExitStatus::Failed, QStringLiteral("the log level is still %1").arg(described(present)));
    }
    Console::writeLine(described(present));
    return ExitStatus::Done;
}
