// why and history: what the daemon wrote down about its boots. They read the file, and need no daemon.

#include "client/Console.h"
#include "client/Table.h"
#include "client/Units.h"
#include "jovctl/Command.h"
#include "jovctl/PastBoots.h"

#include <QJsonDocument>

namespace Key = History::Key;

namespace {

constexpr quint64 second = 1000000;

QString durationText(const PastBoot &boot)
{
    const std::optional<qint64> seconds = boot.duration();
    return seconds ? Units::duration(quint64(*seconds) * second) : QStringLiteral("-");
}

QString ranFor(const PastBoot &boot)
{
    if (boot.duration()) {
        return durationText(boot);
    }
    const double known = boot.last[Key::uptime].toDouble() - boot.start[Key::uptime].toDouble();
    return QStringLiteral("at least %1").arg(Units::duration(quint64(known) * second));
}

QString versionsText(const PastBoot &boot)
{
    QStringList parts{QStringLiteral("version %1").arg(boot.version())};
    const QString system = boot.start[Key::system].toString();
    if (!system.isEmpty()) {
        parts << system;
    }
    parts << QStringLiteral("kernel %1").arg(boot.start[Key::kernel].toString());
    return Console::printable(parts.join(QStringLiteral(", ")));
}

QString reasonText(const PastBoot &boot)
{
    const QString untaken = boot.isUntaken ? QStringLiteral("; nobody took the request for a reboot") : QString();
    return Console::printable(boot.cause.isEmpty() ? QStringLiteral("running") : boot.text() + untaken);
}

Table historyTable(const QList<PastBoot> &boots)
{
    const auto right = Table::Align::Right;
    Table table({{QStringLiteral("BOOT"), QStringLiteral("boot"), right},
                 {QStringLiteral("STARTED"), QStringLiteral("started")},
                 {QStringLiteral("RAN FOR"), QStringLiteral("seconds"), right},
                 {QStringLiteral("VERSION"), QStringLiteral("version")},
                 {QStringLiteral("END"), QStringLiteral("text"), Table::Align::Left, true},
                 {QString(), QStringLiteral("cause")},
                 {QString(), QStringLiteral("clock_ok")},
                 {QString(), QStringLiteral("reason")}});
    for (int i = 0; i < boots.size(); ++i) {
        const PastBoot &boot = boots.at(i);
        const std::optional<qint64> seconds = boot.duration();
        table.add({i, Table::Cell(PastBoot::timeOf(boot.start), boot.start[Key::time]),
                   Table::Cell(durationText(boot), seconds ? QJsonValue(*seconds) : QJsonValue()), boot.version(),
                   reasonText(boot), boot.cause, Table::Cell(QString(), boot.start[Key::clockOk]),
                   Table::Cell(QString(), boot.reason)});
    }
    return table;
}

QString totalsText(const PastBoot &boot)
{
    const QJsonObject totals = boot.last[Key::totals].toObject();
    QStringList parts;
    int sum = 0;
    for (auto total = totals.begin(); total != totals.end(); ++total) {
        sum += total.value().toInt();
        parts << QStringLiteral("%1 %2").arg(total.key()).arg(total.value().toInt());
    }
    return QStringLiteral("Ends recorded so far: %1 (%2).").arg(sum).arg(parts.join(QStringLiteral(", ")));
}

} // namespace

ExitStatus Commands::history(const Arguments &arguments)
{
    QList<PastBoot> boots = readPastBoots();
    if (arguments.isSet(QStringLiteral("n"))) {
        bool isNumber = false;
        const int count = arguments.value(QStringLiteral("n")).toInt(&isNumber);
        if (!isNumber || count < 1) {
            throw Failure(ExitStatus::Usage, QStringLiteral("-n needs a number, 1 or more"));
        }
        boots = boots.mid(0, count);
    }
    historyTable(boots).print(arguments.wantsJson());
    return ExitStatus::Done;
}

ExitStatus Commands::why(const Arguments & /*arguments*/)
{
    const QList<PastBoot> boots = readPastBoots();
    const bool isOver = !boots.first().cause.isEmpty();
    if (!isOver && boots.size() < 2) {
        Console::writeLine(QStringLiteral("This is the first boot in the history: no end is recorded."));
        return ExitStatus::Done;
    }
    const PastBoot &boot = boots.at(isOver ? 0 : 1);
    const QString when = boot.reason.isEmpty() ? QStringLiteral("after %1").arg(PastBoot::timeOf(boot.last))
                                               : PastBoot::timeOf(boot.reason);
    Console::writeLine(QStringLiteral("Last end, %1: %2.").arg(when, reasonText(boot)));
    const QString progress = boot.timing.isEmpty()
        ? QStringLiteral("the start-up had reached step %1").arg(boot.last[Key::step].toInt())
        : QStringLiteral("the start-up was complete");
    Console::writeLine(QStringLiteral("Started %1, ran for %2, %3; %4.")
                           .arg(PastBoot::timeOf(boot.start), ranFor(boot), progress, versionsText(boot)));
    Console::writeLine(totalsText(boots.first()));
    return ExitStatus::Done;
}
