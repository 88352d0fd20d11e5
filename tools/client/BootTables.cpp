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
        const bool hasBegun = step.started > 0;
        Table::Cell took =
            hasBegun ? durationCell(step.until - step.started) : Table::Cell(QStringLiteral("not begun"), QJsonValue());
        took.text += hasBegun && !step.isDone ? QStringLiteral(", not done") : QString();
        table.add({Table::Cell(QString::number(step.value), QJsonValue(step.value)), step.name,
                   hasBegun ? durationCell(step.started) : Table::Cell(QStringLiteral("-"), QJsonValue()), took,
                   Table::Cell(QString::number(step.modules.size()), QJsonValue(step.modules.size()))});
    }
    return table;
}
