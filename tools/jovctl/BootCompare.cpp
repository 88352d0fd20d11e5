#include "jovctl/BootCompare.h"

#include "client/BootTables.h"
#include "client/Console.h"
#include "client/Units.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <algorithm>

namespace {

constexpr qint64 leastDifference = 5000; // microseconds, and a tenth: less is no difference

struct Difference
{
    QString name;
    qint64 now = -1; ///< -1: not in this boot
    qint64 before = -1;

    [[nodiscard]] bool isInBoth() const { return now >= 0 && before >= 0; }
    [[nodiscard]] qint64 slower() const { return now - before; }
    [[nodiscard]] bool isNotable() const
    {
        return !isInBoth() || (qAbs(slower()) >= leastDifference && qAbs(slower()) * 10 >= before);
    }
};

QList<Difference> differencesBetween(const BootRecord &now, const BootRecord &before)
{
    QMap<QString, Difference> byName;
    const QList<BootModule> current = now.allModules();
    for (const BootModule &module : current) {
        byName[module.name].now = qint64(module.duration());
    }
    const QList<BootModule> past = before.allModules();
    for (const BootModule &module : past) {
        byName[module.name].before = qint64(module.duration());
    }
    for (auto entry = byName.begin(); entry != byName.end(); ++entry) {
        entry->name = entry.key();
    }
    QList<Difference> all = byName.values();
    std::stable_sort(all.begin(), all.end(), [](const Difference &one, const Difference &other) {
        return qAbs(one.slower()) > qAbs(other.slower());
    });
    return all;
}

QString differenceText(qint64 slower)
{
    return QStringLiteral("%1 %2").arg(Units::duration(quint64(qAbs(slower))),
                                       slower < 0 ? QStringLiteral("faster") : QStringLiteral("slower"));
}

Table differenceTable(const QList<Difference> &differences, bool all)
{
    const auto right = Table::Align::Right;
    Table table({{QStringLiteral("MODULE"), QStringLiteral("name")},
                 {QStringLiteral("NOW"), QStringLiteral("now"), right},
                 {QStringLiteral("BEFORE"), QStringLiteral("before"), right},
                 {QStringLiteral("DIFFERENCE"), QStringLiteral("slower"), right}});
    const auto cell = [](qint64 time) {
        return time < 0 ? Table::Cell(QStringLiteral("-"), QJsonValue()) : durationCell(quint64(time));
    };
    for (const Difference &one : differences) {
        if (all || one.isNotable()) {
            table.add({one.name, cell(one.now), cell(one.before),
                       one.isInBoth()
                           ? Table::Cell(differenceText(one.slower()), QJsonValue(one.slower()))
                           : Table::Cell(one.now < 0 ? QStringLiteral("gone") : QStringLiteral("new"), QJsonValue())});
        }
    }
    return table;
}

QString describe(const PastBoot &boot)
{
    return QStringLiteral("%1, version %2, took %3")
        .arg(PastBoot::timeOf(boot.start), boot.version(), Units::duration(boot.record().total));
}

} // namespace

void printComparison(const PastBoot &now, const PastBoot &before, bool all, bool asJson)
{
    const BootRecord record = now.record();
    const BootRecord past = before.record();
    if (!record.isKnown || !past.isKnown) {
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("the start-up of %1 did not end")
                          .arg(PastBoot::timeOf((record.isKnown ? before : now).start)));
    }
    const QList<Difference> differences = differencesBetween(record, past);
    const Table table = differenceTable(differences, all || asJson);
    if (asJson) {
        Console::writeJson(QJsonDocument(QJsonObject{{QStringLiteral("version"), now.version()},
                                                     {QStringLiteral("total"), qint64(record.total)},
                                                     {QStringLiteral("versionBefore"), before.version()},
                                                     {QStringLiteral("totalBefore"), qint64(past.total)},
                                                     {QStringLiteral("modules"), table.json()}}));
        return;
    }
    Console::writeLine(QStringLiteral("Now:    %1").arg(describe(now)));
    Console::writeLine(QStringLiteral("Before: %1").arg(describe(before)));
    Console::writeLine(QStringLiteral("Total:  %1").arg(differenceText(qint64(record.total) - qint64(past.total))));
    const auto hidden = std::count_if(differences.begin(), differences.end(),
                                      [all](const Difference &one) { return !all && !one.isNotable(); });
    if (!table.isEmpty()) {
        Console::writeLine(QString());
        table.print(false);
    }
    if (hidden > 0) {
        Console::writeLine(QStringLiteral("\n%1 modules took about as long (--all shows them)").arg(hidden));
    }
}
