#include "boot/Lean.h"

#include "rig/FigureTable.h"
#include "rig/LastFigures.h"
#include "rig/MeasuredBoot.h"
#include "rig/ProcessTime.h"
#include "rig/Statistics.h"

namespace {

constexpr int shortChain = 100;

enum Way { Bare, Talking, QtLoop, Daemon, DaemonInForeground, ways };

struct Outcome
{
    double perModule = 0; ///< milliseconds from one announcement to the next
    double supervisor = 0; ///< milliseconds on a processor from its start to the last announcement
    double tree = 0; ///< the same of all processes, to their end
    double stop = 0; ///< milliseconds a module
};

using Outcomes = QVector<Outcome>; // one a repetition

Outcome measure(const Programs &programs, Way way, int modules, bool stops)
{
    Programs used = programs;
    if (way == Bare || way == Talking) {
        used.floor = way == Bare ? programs.bareLoop : programs.talkingLoop;
    }
    const bool isLoop = way == Bare || way == Talking || way == QtLoop;
    const auto by = way == DaemonInForeground ? MeasuredBoot::By::DaemonInForeground
                                              : (isLoop ? MeasuredBoot::By::Floor : MeasuredBoot::By::Daemon);
    Outcome outcome;
    const double before = processorTimeOfEnded();
    {
        const BenchTerminal terminal(programs.tinyModule);
        const QStringList names = terminal.addChain(modules);
        MeasuredBoot boot(by, used, terminal, names);
        outcome.perModule = boot.perModule();
        outcome.supervisor = processorTime(boot.supervisor());
        outcome.stop = stops ? boot.stop() / modules : 0;
    }
    outcome.tree = processorTimeOfEnded() - before;
    return outcome;
}

/// In turns, and each time the other way round.
QVector<Outcomes> measureAll(const Programs &programs, const QVector<Way> &measured, int modules, int repetitions,
                             bool stops)
{
    QVector<Outcomes> all(ways, Outcomes(repetitions));
    for (int i = 0; i < repetitions; ++i) {
        for (int turn = 0; turn < measured.size(); ++turn) {
            const Way way = measured.at(i % 2 == 0 ? turn : measured.size() - 1 - turn);
            all[way][i] = measure(programs, way, modules, stops);
        }
    }
    return all;
}

QVector<double> values(const Outcomes &outcomes, double Outcome::*what)
{
    QVector<double> all;
    for (const Outcome &outcome : outcomes) {
        all.append(outcome.*what);
    }
    return all;
}

QVector<double> divided(const QVector<double> &ours, const QVector<double> &others)
{
    QVector<double> ratios;
    for (int i = 0; i < ours.size(); ++i) {
        ratios.append(ours.at(i) / others.at(i));
    }
    return ratios;
}

/// A table of what was measured, each row a figure of the daemon and what it is compared with.
class LeanTable
{
public:
    LeanTable(const QString &title, LastFigures &last)
        : m_table(title,
                  {QStringLiteral("what"), QStringLiteral("daemon"), QStringLiteral("bare loop"),
                   QStringLiteral("QtDBus loop"), QStringLiteral("ratio to bare"), QStringLiteral("at most"),
                   QStringLiteral("met")})
        , m_last(last)
    { }

    void add(const QString &what, const QVector<Outcomes> &all, Way way, double Outcome::*figureOf, double most = 0)
    {
        const QVector<double> ours = values(all.at(way), figureOf);
        const QVector<double> ratios = divided(ours, values(all.at(Bare), figureOf));
        const double qtLoop = median(values(all.at(QtLoop), figureOf));
        addRow({what, figure(median(ours), 3), figure(median(values(all.at(Bare), figureOf)), 3),
                qtLoop > 0 ? figure(qtLoop, 3) : QString()},
               ratios, most);
    }
    /// The daemon beside a loop that sends the same messages.
    void addTalking(const QString &what, const QVector<Outcomes> &all, double Outcome::*figureOf, Way way = Daemon)
    {
        const QVector<double> ours = values(all.at(way), figureOf);
        const QVector<double> others = values(all.at(Talking), figureOf);
        addRow({what + QStringLiteral(", the loop sends the same"), figure(median(ours), 3), figure(median(others), 3),
                QString()},
               divided(ours, others), 0);
    }
    void addRow(QStringList row, const QVector<double> &ratios, double most)
    {
        const double ratio = median(ratios);
        m_last.add(row.first(), ratios);
        row << figure(ratio) << (most > 0 ? figure(most) : QString()) << (most > 0 ? within(ratio, most) : QString());
        m_table.add(row);
    }
    /// The limit is one in milliseconds, and not of the ratio.
    void addSupervisor(const QString &what, const QVector<Outcomes> &all, double most)
    {
        const QVector<double> ours = values(all.at(DaemonInForeground), &Outcome::supervisor);
        const QVector<double> bare = values(all.at(Bare), &Outcome::supervisor);
        m_last.add(what, ours);
        m_table.add({what, figure(median(ours), 1), figure(median(bare), 1),
                     figure(median(values(all.at(QtLoop), &Outcome::supervisor)), 1),
                     figure(median(divided(ours, bare))), figure(most, 0), within(median(ours), most)});
    }
    void print() const { m_table.print(); }

private:
    FigureTable m_table;
    LastFigures &m_last;
};

void addShortChain(LeanTable &table, const Programs &programs, int repetitions, bool one)
{
    const QString where = one ? QStringLiteral("one processor") : QStringLiteral("all processors");
    const QVector<Outcomes> all =
        measureAll(programs, {Bare, Talking, QtLoop, Daemon, DaemonInForeground}, shortChain, repetitions, false);
    const QString chain = QStringLiteral("chain of %1, %2: ").arg(shortChain).arg(where);
    table.add(chain + QStringLiteral("ms a module"), all, Daemon, &Outcome::perModule, one ? 1.25 : 0);
    table.addTalking(chain + QStringLiteral("ms a module"), all, &Outcome::perModule);
    table.add(chain + QStringLiteral("processor time of all, ms"), all, Daemon, &Outcome::tree);
    if (one) {
        const QString supervisor = chain + QStringLiteral("its own processor time, ms");
        table.addSupervisor(supervisor, all, 18);
        table.addTalking(supervisor, all, &Outcome::supervisor, DaemonInForeground);
    }
}

void addLongChain(LeanTable &table, const Programs &programs, int repetitions, int modules)
{
    const QVector<Outcomes> few = measureAll(programs, {Bare, Daemon}, shortChain, repetitions, true);
    const QVector<Outcomes> many = measureAll(programs, {Bare, Talking, Daemon}, modules, repetitions, true);
    const auto growth = [&](Way way) {
        return divided(values(many.at(way), &Outcome::perModule), values(few.at(way), &Outcome::perModule));
    };
    const QString chain = QStringLiteral("chain of %1, one processor: ").arg(modules);
    table.add(chain + QStringLiteral("ms a module"), many, Daemon, &Outcome::perModule);
    table.addRow({chain + QStringLiteral("times a module of %1").arg(shortChain), figure(median(growth(Daemon))),
                  figure(median(growth(Bare))), QString()},
                 divided(growth(Daemon), growth(Bare)), 1.25);
    table.add(QStringLiteral("stop of %1, one processor: ms a module").arg(shortChain), few, Daemon, &Outcome::stop);
    table.add(QStringLiteral("stop of %1, one processor: ms a module").arg(modules), many, Daemon, &Outcome::stop,
              1.25);
    table.addTalking(QStringLiteral("stop of %1, one processor: ms a module").arg(modules), many, &Outcome::stop);
}

} // namespace

void measureLean(const Programs &programs, int repetitions, int longChain, LastFigures &last)
{
    LeanTable table(QStringLiteral("One after the other (medians of %1, in turns)").arg(repetitions), last);
    useOneProcessor(true);
    addShortChain(table, programs, repetitions, true);
    addLongChain(table, programs, qMin(repetitions, 5), longChain);
    useOneProcessor(false);
    addShortChain(table, programs, repetitions, false);
    table.print();
}
