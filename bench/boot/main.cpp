// Boots terminals of modules that are ready at once, by the daemon and by the bare loop in turns, and prints what each
// took, and what the supervisor of a hundred modules costs when nothing happens.

#include "boot/Ahead.h"
#include "boot/Lean.h"
#include "boot/Resting.h"
#include "rig/FigureTable.h"
#include "rig/LastFigures.h"
#include "rig/MeasuredBoot.h"
#include "rig/Statistics.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

namespace {

enum class Shape { Chain, Independent };

struct Case
{
    Shape shape;
    int modules;
    double mostRatio; ///< promised; 0: nothing is
};

struct Outcome
{
    Case of;
    Pairs pairs;
};

QStringList layOut(const BenchTerminal &terminal, const Case &of)
{
    return of.shape == Shape::Chain ? terminal.addChain(of.modules) : terminal.addIndependent(of.modules);
}

/// Instead of the floor.
struct Other
{
    QString daemon; ///< another one
    QString parameter; ///< or the same, without this line of platform.ini
};

/// One more pair; which of the two comes first changes, since the second finds a warmer machine.
void measure(const Programs &programs, Outcome &outcome, const Other &other = {})
{
    const auto one = [&](MeasuredBoot::By by) {
        const BenchTerminal terminal(programs.tinyModule);
        const QStringList names = layOut(terminal, outcome.of);
        if (!other.parameter.isEmpty()) {
            if (by == MeasuredBoot::By::Daemon) {
                terminal.setParameter(other.parameter);
            }
            return MeasuredBoot(MeasuredBoot::By::Daemon, programs, terminal, names).perModule();
        }
        if (by == MeasuredBoot::By::Floor && !other.daemon.isEmpty()) {
            Programs others = programs;
            others.daemon = other.daemon;
            return MeasuredBoot(MeasuredBoot::By::Daemon, others, terminal, names).perModule();
        }
        return MeasuredBoot(by, programs, terminal, names).perModule();
    };
    double daemon = 0;
    double floor = 0;
    if (outcome.pairs.ours.size() % 2 == 0) {
        daemon = one(MeasuredBoot::By::Daemon);
        floor = one(MeasuredBoot::By::Floor);
    } else {
        floor = one(MeasuredBoot::By::Floor);
        daemon = one(MeasuredBoot::By::Daemon);
    }
    outcome.pairs.add(daemon, floor);
}

QString nameOf(const Case &of)
{
    return (of.shape == Shape::Chain ? QStringLiteral("chain of %1") : QStringLiteral("%1 independent"))
        .arg(of.modules);
}

void measureOneChain(const Programs &programs, int modules, int repetitions, const Other &other)
{
    Outcome outcome{{Shape::Chain, modules, 0}, {}};
    for (int i = 0; i < repetitions; ++i) {
        measure(programs, outcome, other);
    }
    std::printf("chain of %d: daemon %.3f ms, %s %.3f ms, ratio %.3f\n", modules, median(outcome.pairs.ours),
                other.daemon.isEmpty() && other.parameter.isEmpty() ? "floor" : "other", median(outcome.pairs.floor),
                outcome.pairs.ratio());
}

void measureBoots(const Programs &programs, int repetitions)
{
    QVector<Outcome> outcomes{{{Shape::Chain, 10, 0}, {}},
                              {{Shape::Chain, 100, 1.15}, {}},
                              {{Shape::Chain, 400, 0}, {}},
                              {{Shape::Independent, 100, 0}, {}}};
    for (int i = 0; i < repetitions; ++i) {
        for (Outcome &outcome : outcomes) {
            measure(programs, outcome);
        }
    }
    FigureTable table(QStringLiteral("Boot, milliseconds per module (medians of %1, in turns)").arg(repetitions),
                      {QStringLiteral("modules"), QStringLiteral("daemon"), QStringLiteral("floor"),
                       QStringLiteral("ratio"), QStringLiteral("at most"), QStringLiteral("met")});
    for (const Outcome &outcome : qAsConst(outcomes)) {
        const double most = outcome.of.mostRatio;
        const double ratio = outcome.pairs.ratio();
        table.add({nameOf(outcome.of), figure(median(outcome.pairs.ours), 3), figure(median(outcome.pairs.floor), 3),
                   figure(ratio), most > 0 ? figure(most) : QString(), most > 0 ? within(ratio, most) : QString()});
    }
    Pairs growth;
    for (int i = 0; i < repetitions; ++i) {
        growth.add(outcomes.at(2).pairs.ours.at(i), outcomes.at(1).pairs.ours.at(i));
    }
    table.add({QStringLiteral("daemon, 400 to 100"), QString(), QString(), figure(growth.ratio()), figure(1.15),
               within(growth.ratio(), 1.15)});
    table.print();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Measures the boot of modules that are ready at once."));
    parser.addHelpOption();
    const QCommandLineOption repetitions(QStringLiteral("repetitions"), QStringLiteral("How often each is booted."),
                                         QStringLiteral("n"), QStringLiteral("9"));
    const QCommandLineOption seconds(QStringLiteral("rest"),
                                     QStringLiteral("How long a resting supervisor is watched."),
                                     QStringLiteral("seconds"), QStringLiteral("10"));
    const QCommandLineOption daemon(QStringLiteral("daemon"), QStringLiteral("Another daemon than the one built."),
                                    QStringLiteral("path"));
    const QCommandLineOption only(QStringLiteral("only"), QStringLiteral("Boot one chain of so many modules, no more."),
                                  QStringLiteral("modules"));
    const QCommandLineOption against(QStringLiteral("against"),
                                     QStringLiteral("With --only: compare with this daemon, not with the floor."),
                                     QStringLiteral("path"));
    const QCommandLineOption parameter(
        QStringLiteral("parameter"),
        QStringLiteral("With --only: compare the daemon that has this line in platform.ini with one that has not. With "
                       "--repetitions 0: rest with it."),
        QStringLiteral("line"));
    const QCommandLineOption ahead(QStringLiteral("ahead"),
                                   QStringLiteral("Start and stop many modules at the same time, no more."));
    const QCommandLineOption bare(QStringLiteral("bare"),
                                  QStringLiteral("Compare with a loop of posix_spawn and libdbus instead of Qt's."));
    const QCommandLineOption lean(
        QStringLiteral("lean"),
        QStringLiteral("Compare start and stop, one after the other, with two bare loops, no more. One chain has so "
                       "many modules."),
        QStringLiteral("modules"));
    const QCommandLineOption figures(QStringLiteral("figures"),
                                     QStringLiteral("With --lean: compare with the figures in this file, and keep the "
                                                    "new ones there."),
                                     QStringLiteral("path"));
    parser.addOptions({bare, repetitions, seconds, daemon, only, against, parameter, ahead, lean, figures});
    parser.process(application);

    MeasuredBoot::becomeSubreaper();
    Programs programs = Programs::beside(QCoreApplication::applicationFilePath(), parser.value(daemon));
    if (parser.isSet(bare)) {
        programs.floor = programs.bareLoop;
    }
    const int times = parser.value(repetitions).toInt();
    if (parser.isSet(only)) {
        measureOneChain(programs, parser.value(only).toInt(), times, {parser.value(against), parser.value(parameter)});
        return 0;
    }
    if (parser.isSet(lean)) {
        LastFigures last(parser.value(figures));
        measureLean(programs, times, parser.value(lean).toInt(), last);
        last.printChanges();
        return 0;
    }
    if (parser.isSet(ahead)) {
        measureAhead(programs, times);
        return 0;
    }
    if (times > 0) {
        measureBoots(programs, times);
    }
    const int rest = parser.value(seconds).toInt();
    if (rest > 0) {
        measureRest(programs, rest, parser.value(parameter));
    }
    return 0;
}
