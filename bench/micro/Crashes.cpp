#include "micro/Sections.h"
#include "rig/FigureTable.h"
#include "rig/MeasuredBoot.h"
#include "rig/Statistics.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>

#include <csignal>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

constexpr int longestDetection = 5000;

QByteArray readLog(const BenchTerminal &terminal)
{
    QFile log(terminal.logFile());
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

pid_t pidOf(const BenchTerminal &terminal, const QString &name)
{
    const QRegularExpression line(QStringLiteral("PID of :%1 : (\\d+)").arg(name));
    return pid_t(line.match(QString::fromUtf8(readLog(terminal))).captured(1).toInt());
}

/// Milliseconds from the kill of one of the modules to the daemon's line.
double detection(const Programs &programs)
{
    const BenchTerminal terminal(programs.tinyModule);
    const QStringList names = terminal.addChain(10);
    const MeasuredBoot boot(MeasuredBoot::By::Daemon, programs, terminal, names);
    const pid_t victim = pidOf(terminal, names.at(5));
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    inotify_add_watch(watch, QFile::encodeName(terminal.logFile()).constData(), IN_MODIFY);
    if (victim <= 0 || watch < 0) {
        qFatal("nothing to kill, or nothing to watch");
    }
    QElapsedTimer timer;
    timer.start();
    kill(victim, SIGKILL);
    double time = 0;
    while (time == 0) {
        pollfd change = {watch, POLLIN, 0};
        if (poll(&change, 1, longestDetection) <= 0) {
            qFatal("the crash is not noticed");
        }
        const double now = double(timer.nsecsElapsed()) / 1e6;
        char events[4096];
        while (read(watch, events, sizeof events) > 0) { }
        time = readLog(terminal).contains(" emergency ") ? now : 0;
    }
    close(watch);
    return time;
}

} // namespace

void Sections::crashes(const Programs &programs, FigureTable &table, int repetitions)
{
    QVector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        times.append(detection(programs));
    }
    const double time = median(times);
    table.add({QStringLiteral("from the kill of a module to the emergency line, ms"), figure(time), QStringLiteral("5"),
               within(time, 5)});
}
