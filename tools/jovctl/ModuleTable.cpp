#include "jovctl/ModuleTable.h"

#include "client/Units.h"

Table moduleTable(const ModuleList &modules)
{
    using Cell = Table::Cell;
    const auto right = Table::Align::Right;
    Table table({{QStringLiteral("NAME"), QStringLiteral("name"), Table::Align::Left, true},
                 {QStringLiteral("STEP"), QStringLiteral("step")},
                 {QStringLiteral("STATE"), QStringLiteral("state")},
                 {QStringLiteral("PID"), QStringLiteral("pid"), right},
                 {QStringLiteral("STARTS"), QStringLiteral("starts"), right},
                 {QStringLiteral("READY IN"), QStringLiteral("startMicroseconds"), right},
                 {QStringLiteral("STATUS"), QStringLiteral("status")},
                 {QString(), QStringLiteral("exitCode")},
                 {QString(), QStringLiteral("exitedBySignal")},
                 {QString(), QStringLiteral("maxMemory")},
                 {QString(), QStringLiteral("dependencies")},
                 {QString(), QStringLiteral("dependents")},
                 {QString(), QStringLiteral("launchedAt")},
                 {QString(), QStringLiteral("readyAt")},
                 {QString(), QStringLiteral("exitedAt")}});
    const QString none = QStringLiteral("-");
    const auto hidden = [](const QJsonValue &value) { return Cell(QString(), value); };
    for (const ModuleInfo &module : modules) {
        Cell state(module.stateText.isEmpty() ? none : module.stateText, QJsonValue(module.stateText));
        state.colour = Console::colourOfState(module.stateText);
        const quint64 duration = module.startDuration();
        Cell status(module.statusText(), QJsonValue(module.status));
        status.colour = module.status == QLatin1String("OK") ? Console::Colour::None : Console::Colour::Bad;
        table.add({module.name, module.step, state, module.pid ? Cell(module.pid) : Cell(none, 0), module.starts,
                   Cell(duration ? Units::duration(duration) : none, qint64(duration)), status, hidden(module.exitCode),
                   hidden(module.exitedBySignal), hidden(module.maxMemory.figure()),
                   hidden(QJsonArray::fromStringList(module.dependencies)),
                   hidden(QJsonArray::fromStringList(module.dependents)), hidden(qint64(module.launchedAt)),
                   hidden(qint64(module.readyAt)), hidden(qint64(module.exitedAt))});
    }
    return table;
}
