#include "boot/Ahead.h"

#include "rig/FigureTable.h"
#include "rig/MeasuredBoot.h"
#include "rig/Statistics.h"

namespace {

constexpr int modules = 100;

struct Way
{
    QString name;
    MeasuredBoot::By by;
    QString parameter; ///< none: one after the other
};

const QVector<Way> &ways()
{
    const auto limited = [](int limit) {
        return Way{QStringLiteral("parallel, launches_ahead=%1").arg(limit), MeasuredBoot::By::Daemon,
                   QStringLiteral("launches_ahead=%1").arg(limit)};
    };
    static const QVector<Way> all{{QStringLiteral("bare loop, all at once"), MeasuredBoot::By::Floor, QString()},
                                  limited(100),
                                  limited(32),
                                  limited(16),
                                  limited(8),
                                  limited(4),
                                  limited(2),
                                  {QStringLiteral("one after the other"), MeasuredBoot::By::Daemon, QString()}};
    return all;
}

struct Times
{
    double start = 0; ///< from the start of the supervisor to the last announcement, in milliseconds
    double stop = 0; ///< from SIGTERM to the end of the supervisor
};

Times measure(const Programs &programs, const Way &way, const QString &argument)
{
    const BenchTerminal terminal(programs.tinyModule);
    if (!way.parameter.isEmpty()) {
        terminal.setParallel();
        terminal.setParameter(way.parameter);
    }
    const QStringList names = terminal.addIndependent(modules, {argument});
    qputenv("BENCH_AT_ONCE", "1");
    qputenv("BENCH_ARGUMENT", argument.toLatin1());
    MeasuredBoot boot(way.by, programs, terminal, names, MeasuredBoot::Until::AllHaveAnnounced);
    const double start = boot.whole();
    return {start, way.by == MeasuredBoot::By::Daemon ? boot.stop() : 0};
}

void measureAll(const Programs &programs, int repetitions, const QString &title, const QString &argument)
{
    QVector<QVector<Times>> times(ways().size());
    for (int i = 0; i < repetitions; ++i) {
        for (int way = 0; way < ways().size(); ++way) {
            times[way].append(measure(programs, ways().at(way), argument));
        }
    }
    FigureTable table(
        QStringLiteral("%1 independent modules, %2 (medians of %3)").arg(modules).arg(title).arg(repetitions),
        {QStringLiteral("way"), QStringLiteral("start, ms"), QStringLiteral("ratio to the loop"),
         QStringLiteral("stop, ms")});
    for (int way = 0; way < ways().size(); ++way) {
        Pairs pairs;
        QVector<double> stops;
        for (int i = 0; i < repetitions; ++i) {
            pairs.add(times.at(way).at(i).start, times.at(0).at(i).start);
            stops.append(times.at(way).at(i).stop);
        }
        table.add({ways().at(way).name, figure(median(pairs.ours), 0), figure(pairs.ratio()),
                   median(stops) > 0 ? figure(median(stops), 0) : QString()});
    }
    table.print();
}

} // namespace

void measureAhead(const Programs &programs, int repetitions)
{
    measureAll(programs, repetitions, QStringLiteral("each waits 50 ms"), QStringLiteral("--wait=50"));
    measureAll(programs, repetitions, QStringLiteral("each computes 10 ms"), QStringLiteral("--compute=10"));
    measureAll(programs, repetitions, QStringLiteral("each ends 100 ms after its stop"),
               QStringLiteral("--stop-wait=100"));
}
