#include "rig/ProcessTime.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <sched.h>
#include <sys/resource.h>

double processTime(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    const bool ended = process.waitForFinished();
    const double time = double(timer.nsecsElapsed()) / 1e6;
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qFatal("%s %s: %s", qPrintable(program), qPrintable(arguments.join(QLatin1Char(' '))),
               process.readAllStandardError().constData());
    }
    return time;
}

double processorTime(qint64 pid)
{
    qint64 sum = 0;
    const QString tasks = QStringLiteral("/proc/%1/task/").arg(pid);
    const QStringList threads = QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &thread : threads) {
        QFile file(tasks + thread + QStringLiteral("/schedstat"));
        sum += file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(0).toLongLong() : 0;
    }
    return double(sum) / 1e6;
}

double processorTimeOfEnded()
{
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto milliseconds = [](const timeval &time) {
        return double(time.tv_sec) * 1e3 + double(time.tv_usec) / 1e3;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

void useOneProcessor(bool one)
{
    static const cpu_set_t all = [] {
        cpu_set_t processors;
        sched_getaffinity(0, sizeof processors, &processors);
        return processors;
    }();
    cpu_set_t first;
    CPU_ZERO(&first);
    int number = 0;
    while (!CPU_ISSET(number, &all)) {
        ++number;
    }
    CPU_SET(number, &first);
    sched_setaffinity(0, sizeof first, one ? &first : &all);
}
