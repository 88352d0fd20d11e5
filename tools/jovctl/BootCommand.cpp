#include "client/BootAnalysis.h"
#include "client/BootTables.h"
#include "client/BusClient.h"
#include "client/Units.h"
#include "jovctl/BootChart.h"
#include "jovctl/BootCompare.h"
#include "jovctl/Command.h"
#include "jovctl/WhatIf.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSysInfo>

namespace {

constexpr int slowestShown = 10;

Table slowestTable(const BootRecord &record, bool all)
{
    const auto right = Table::Align::Right;
    Table table({{QStringLiteral("TOOK"), QStringLiteral("duration"), right},
                 {QStringLiteral("MODULE"), QStringLiteral("name")},
                 {QStringLiteral("STEP"), QStringLiteral("step")},
                 {QStringLiteral("LAUNCHED AT"), QStringLiteral("launched"), right},
                 {QStringLiteral("RESULT"), QStringLiteral("ready")},
                 {QString(), QStringLiteral("critical")}});
    const QList<BootModule> modules = record.slowest(all ? -1 : slowestShown);
    for (const BootModule &module : modules) {
        Table::Cell ready(module.isReady ? QStringLiteral("ready") : QStringLiteral("not ready"),
                          QJsonValue(module.isReady));
        ready.colour = module.isReady ? Console::Colour::None : Console::Colour::Bad;
        table.add({durationCell(module.duration()), module.name, module.step, durationCell(module.launched), ready,
                   Table::Cell(QString(), QJsonValue(module.isCritical))});
    }
    return table;
}

void printJson(const BootRecord &record)
{
    const QJsonObject object{{QStringLiteral("total"), qint64(record.total)},
                             {QStringLiteral("homepage"), qint64(record.homepage)},
                             {QStringLiteral("critical"), qint64(record.critical)},
                             {QStringLiteral("complete"), record.isComplete},
                             {QStringLiteral("restart"), record.isRestart},
                             {QStringLiteral("steps"), stepTable(record).json()},
                             {QStringLiteral("modules"), slowestTable(record, true).json()}};
    Console::writeJson(QJsonDocument(object));
}

QString headline(const BootRecord &record)
{
    QString text = QStringLiteral("%1 %2 %3")
                       .arg(record.isRestart ? QStringLiteral("The last full restart") : QStringLiteral("The start-up"),
                            record.isComplete ? QStringLiteral("took") : QStringLiteral("is not complete after"),
                            Units::duration(record.total));
    if (record.homepage > 0) {
        text += QStringLiteral("; the home page was shown after %1").arg(Units::duration(record.homepage));
    }
    return text + QLatin1Char('.');
}

void print(const BootRecord &record, bool all)
{
    Console::writeLine(headline(record) + QLatin1Char('\n'));
    stepTable(record).print(false);
    if (record.allModules().isEmpty()) {
        return;
    }
    const int hidden = all ? 0 : record.allModules().size() - slowestShown;
    Console::writeLine(QStringLiteral("\nSlowest modules%1:")
                           .arg(hidden > 0 ? QStringLiteral(" (%1 more with --all)").arg(hidden) : QString()));
    slowestTable(record, all).print(false);
    if (record.critical == 0) {
        return;
    }
    Console::writeLine(QStringLiteral("\nCritical chain, %1 in total:").arg(Units::duration(record.critical)));
    for (const BootStep &step : record.steps) {
        QStringList parts;
        for (const BootModule &module : step.modules) {
            if (module.isCritical) {
                parts << QStringLiteral("%1 %2").arg(Console::printable(module.name),
                                                     Units::duration(module.duration()));
            }
        }
        if (!parts.isEmpty()) {
            Console::writeLine(QStringLiteral("  %1 %2: %3")
                                   .arg(step.value)
                                   .arg(Console::printable(step.name), parts.join(QStringLiteral(", then "))));
        }
    }
}

void writeChart(const QString &path, const BootRecord &record)
{
    const QByteArray chart = bootChart(record, QSysInfo::machineHostName()).toUtf8();
    if (path == QLatin1String("-")) {
        Console::write(QString::fromUtf8(chart));
        return;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(chart) != chart.size() || !file.commit()) {
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("cannot write %1: %2").arg(Console::printable(path), file.errorString()));
    }
}

BootRecord presentRecord(const ModuleList &modules, const BusClient &client)
{
    BootRecord record = analyseBoot(client.timeline(), modules, client.steps(), Units::now());
    if (!record.isKnown) {
        throw Failure(ExitStatus::Failed, QStringLiteral("the daemon's timeline no longer has the start-up"));
    }
    return record;
}

BootRecord presentRecord()
{
    const BusClient client;
    return presentRecord(client.modules(), client);
}

BootRecord previousRecord(const QStringList &operands)
{
    const QList<PastBoot> boots = readPastBoots();
    const PastBoot &boot = bootBefore(boots, operands);
    BootRecord record = boot.record();
    if (!record.isKnown) {
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("the start-up of %1 did not end").arg(PastBoot::timeOf(boot.start)));
    }
    return record;
}

} // namespace

ExitStatus Commands::boot(const Arguments &arguments)
{
    const bool all = arguments.isSet(QStringLiteral("all"));
    const bool previous = arguments.isSet(QStringLiteral("previous"));
    if (arguments.isSet(QStringLiteral("what-if"))) {
        if (previous || arguments.isSet(QStringLiteral("compare")) || arguments.isSet(QStringLiteral("svg"))) {
            throw Failure(ExitStatus::Usage,
                          QStringLiteral("--what-if replays the present start-up, without other options than --json"));
        }
        const BusClient client;
        const ModuleList modules = client.modules();
        printWhatIf(presentRecord(modules, client), modules, arguments.operands(), arguments.wantsJson());
        return ExitStatus::Done;
    }
    if (arguments.operands().size() > 1) {
        throw Failure(ExitStatus::Usage, QStringLiteral("only one N. Try: jovctl boot --help"));
    }
    if (arguments.isSet(QStringLiteral("compare"))) {
        const QList<PastBoot> boots = readPastBoots();
        printComparison(boots.first(), bootBefore(boots, arguments.operands()), all, arguments.wantsJson());
        return ExitStatus::Done;
    }
    if (!previous && !arguments.operands().isEmpty()) {
        throw Failure(ExitStatus::Usage, QStringLiteral("N needs --previous or --compare. Try: jovctl boot --help"));
    }
    const BootRecord record = previous ? previousRecord(arguments.operands()) : presentRecord();
    const QString path = arguments.value(QStringLiteral("svg"));
    if (arguments.isSet(QStringLiteral("svg"))) {
        writeChart(path, record);
    } else if (arguments.wantsJson()) {
        printJson(record);
    } else {
        print(record, all);
    }
    return ExitStatus::Done;
}
