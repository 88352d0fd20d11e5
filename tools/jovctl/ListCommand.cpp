#include "client/BusClient.h"
#include "client/Table.h"
#include "client/Units.h"
#include "jovctl/Command.h"

#include <QJsonArray>

namespace {

using Cell = Table::Cell;

QString orDash(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

Table moduleTable(const ModuleList &modules)
{
    const auto right = Table::Align::Right;
    Table table({{QStringLiteral("NAME"), QStringLiteral("name")},
                 {QStringLiteral("STEP"), QStringLiteral("step")},
                 {QStringLiteral("STATE"), QStringLiteral("state")},
                 {QStringLiteral("PID"), QStringLiteral("pid"), right},
                 {QStringLiteral("STARTS"), QStringLiteral("starts"), right},
                 {QStringLiteral("READY IN"), QStringLiteral("startMicroseconds"), right},
                 {QStringLiteral("STATUS"), QStringLiteral("status")},
                 {QString(), QStringLiteral("exitCode")},
                 {QString(), QStringLiteral("maxMemory")},
                 {QString(), QStringLiteral("dependencies")},
                 {QString(), QStringLiteral("dependents")},
                 {QString(), QStringLiteral("launchedAt")},
                 {QString(), QStringLiteral("readyAt")},
                 {QString(), QStringLiteral("exitedAt")}});
    const auto hidden = [](const QJsonValue &value) { return Cell(QString(), value); };
    for (const ModuleInfo &module : modules) {
        Cell state(orDash(module.state), QJsonValue(module.state));
        state.colour = Console::colourOfState(module.state);
        Cell status(module.status, module.status == QLatin1String("OK") ? Console::Colour::None : Console::Colour::Bad);
        const quint64 duration = module.startDuration();
        table.add({module.name, module.step, state,
                   Cell(module.pid ? QString::number(module.pid) : QStringLiteral("-"), QJsonValue(qint64(module.pid))),
                   Cell(QString::number(module.starts), QJsonValue(qint64(module.starts))),
                   Cell(duration ? Units::duration(duration) : QStringLiteral("-"), QJsonValue(qint64(duration))),
                   status, hidden(module.exitCode), hidden(module.maxMemory),
                   hidden(QJsonArray::fromStringList(module.dependencies)),
                   hidden(QJsonArray::fromStringList(module.dependents)), hidden(qint64(module.launchedAt)),
                   hidden(qint64(module.readyAt)), hidden(qint64(module.exitedAt))});
    }
    return table;
}

ExitStatus list(const Arguments &arguments)
{
    const ModuleList modules = BusClient().modules();
    if (arguments.isSet(QStringLiteral("names"))) {
        for (const ModuleInfo &module : modules) {
            Console::writeLine(Console::printable(module.name));
        }
        return ExitStatus::Done;
    }
    moduleTable(modules).print(arguments.wantsJson());
    return ExitStatus::Done;
}

} // namespace

CommandList listCommands()
{
    Command command;
    command.name = QStringLiteral("list");
    command.summary = QStringLiteral("Show all modules with their states");
    command.examples =
        QStringList{QStringLiteral("jovctl list"),
                    QStringLiteral("jovctl list --json | jq -r '.[] | select(.state != \"RUNNING\") | .name'")};
    command.options = QList<QCommandLineOption>{
        jsonOption(), QCommandLineOption(QStringLiteral("names"), QStringLiteral("Only the names, a line each"))};
    command.run = list;
    return {command};
}
