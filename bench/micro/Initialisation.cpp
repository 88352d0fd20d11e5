#include "micro/Sections.h"
#include "rig/FigureTable.h"
#include "rig/MeasuredBoot.h"
#include "rig/ProcessTime.h"
#include "rig/Statistics.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QThread>

namespace {

constexpr int longestInit = 60000;

/// The milliseconds of "Init done", from a daemon that reads everything and starts nothing.
double initTime(const Programs &programs, const BenchTerminal &terminal)
{
    const PrivateBus bus;
    QFile step(terminal.path(QStringLiteral("/tmp/step")));
    if (!step.open(QIODevice::WriteOnly) || step.write("0\n") < 0) {
        qFatal("cannot write the step file");
    }
    step.close();
    QFile::remove(terminal.logFile());
    QProcess daemon;
    daemon.setStandardOutputFile(QProcess::nullDevice());
    daemon.setStandardErrorFile(QProcess::nullDevice());
    daemon.start(programs.daemon, {QStringLiteral("--nodaemon")});
    static const QRegularExpression done(QStringLiteral("Init done in (\\d+) ms"));
    QElapsedTimer waited;
    waited.start();
    for (;;) {
        QFile log(terminal.logFile());
        if (log.open(QIODevice::ReadOnly)) {
            const QRegularExpressionMatch match = done.match(QString::fromUtf8(log.readAll()));
            if (match.hasMatch()) {
                daemon.kill();
                daemon.waitForFinished();
                return match.captured(1).toDouble();
            }
        }
        if (waited.elapsed() > longestInit) {
            qFatal("the daemon does not initialise");
        }
        QThread::msleep(2);
    }
}

/// Ten steps of a hundred modules each, which depend on up to three others of their step.
void layThousand(const BenchTerminal &terminal)
{
    QStringList steps;
    for (int s = 0; s < 10; ++s) {
        steps.append(QStringLiteral("step%1").arg(s));
        QStringList names;
        for (int i = 0; i < 100; ++i) {
            BenchTerminal::Module module;
            module.name = QStringLiteral("s%1m%2").arg(s).arg(i, 3, 10, QLatin1Char('0'));
            module.step = steps.last();
            for (const int back : {1, 7, 20}) {
                if (i % 4 != 0 && i >= back) {
                    module.dependencies.append(names.at(i - back));
                }
            }
            terminal.add(module);
            names.append(module.name);
        }
    }
    terminal.setSteps(steps);
}

/// Rungs of two that both hang below the one before and both hold up the next: 2^rungs ways from end to end.
void layLadder(const BenchTerminal &terminal, int rungs)
{
    const auto add = [&](const QString &name, const QStringList &dependencies) {
        BenchTerminal::Module module;
        module.name = name;
        module.dependencies = dependencies;
        terminal.add(module);
    };
    QString below = QStringLiteral("foot");
    add(below, {});
    for (int i = 0; i < rungs; ++i) {
        const QString left = QStringLiteral("left%1").arg(i);
        const QString right = QStringLiteral("right%1").arg(i);
        const QString top = QStringLiteral("top%1").arg(i);
        add(left, {below});
        add(right, {below});
        add(top, {left, right});
        below = top;
    }
}

double medianInit(const Programs &programs, const BenchTerminal &terminal, int repetitions)
{
    QVector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        times.append(initTime(programs, terminal));
    }
    return median(times);
}

void measureVerify(const Programs &programs, const BenchTerminal &terminal, FigureTable &table, int repetitions)
{
    QVector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        times.append(processTime(programs.command, {QStringLiteral("verify"), terminal.path(QString())}));
    }
    const double time = median(times);
    table.add({QStringLiteral("jovctl verify of them, whole process, ms"), figure(time, 0), QStringLiteral("1000"),
               within(time, 1000)});
}

} // namespace

void Sections::initialisation(const Programs &programs, FigureTable &table, int repetitions)
{
    {
        const BenchTerminal terminal(programs.tinyModule);
        layThousand(terminal);
        const double time = medianInit(programs, terminal, repetitions);
        table.add({QStringLiteral("init() with 1,000 modules in 10 steps, ms"), figure(time, 0), QStringLiteral("300"),
                   within(time, 300)});
        if (QFileInfo::exists(programs.command)) {
            measureVerify(programs, terminal, table, repetitions);
        }
    }
    const BenchTerminal terminal(programs.tinyModule);
    layLadder(terminal, 24);
    // 2^24 branches would take seconds.
    const double time = medianInit(programs, terminal, repetitions);
    table.add({QStringLiteral("init() with a ladder of 24 diamonds, ms"), figure(time, 0), QStringLiteral("50"),
               within(time, 50)});
}
