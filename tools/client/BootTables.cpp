#include "client/BootTables.h"

#include "client/Units.h"

Table::Cell durationCell(quint64 microseconds)
{
    return {Units::duration(microseconds), QJsonValue(qint64(microseconds))};
}

Table stepTable(const BootRecord &record)
{
    const auto right = Table::Align::Right;
    Table table({{QStringLiteral("STEP"), QStringLiteral("value"), right},
                 {QStringLiteral("NAME"), QStringLiteral("name")},
                 {QStringLiteral("BEGAN AT"), QStringLiteral("started"), right},
                 {QStringLiteral("TOOK"), QStringLiteral("duration"), right},
                 {QStringLiteral("MODULES"), QStringLiteral("modules"), right}});
    for (const BootStep &step : record.steps) {
        const bool hasStarted = step.started > 0;
        Table::Cell took = hasStarted ? durationCell(step.until - step.started)
                                      : Table::Cell(QStringLiteral("not started"), QJsonValue());
        took.text += hasStarted && !step.isDone ? QStringLiteral(", not complete") : QString();
        table.add({step.value, step.name,
                   hasStarted ? durationCell(step.started) : Table::Cell(QStringLiteral("-"), QJsonValue()), took,
                   step.modules.size()});
    }
    return table;
}
