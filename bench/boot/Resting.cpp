#include "Resting.h"

#include "Boot.h"
#include "Table.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QThread>

#include <csignal>

namespace {

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Nanoseconds on a processor, all threads together.
qint64 processorTime(qint64 pid)
{
    qint64 sum = 0;
    const QString tasks = QStringLiteral("/proc/%1/task/").arg(pid);
    const QStringList threads = QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &thread : threads) {
        sum += contents(tasks + thread + QStringLiteral("/schedstat")).split(' ').value(0).toLongLong();
    }
    return sum;
}

/// What the process shares with nobody, in kB.
qint64 privateMemory(qint64 pid)
{
    qint64 sum = 0;
    const QList<QByteArray> lines = contents(QStringLiteral("/proc/%1/smaps_rollup").arg(pid)).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("Private_")) {
            sum += line.simplified().split(' ').value(1).toLongLong();
        }
    }
    return sum;
}

/// The system calls that all threads of the process begin within the time; -1 without strace. The calls in which the
/// threads were found sleeping when the tracer came are not among them.
int systemCalls(qint64 pid, int seconds)
{
    QTemporaryFile trace;
    if (!trace.open()) {
        return -1;
    }
    QProcess strace;
    strace.start(QStringLiteral("strace"),
                 {QStringLiteral("-f"), QStringLiteral("-q"), QStringLiteral("-o"), trace.fileName(),
                  QStringLiteral("-p"), QString::number(pid)});
    if (!strace.waitForStarted()) {
        return -1;
    }
    QThread::sleep(ulong(seconds));
    kill(pid_t(strace.processId()), SIGINT);
    strace.waitForFinished();
    static const QRegularExpression call(QStringLiteral("^\\d+ +(?!restart_syscall)\\w+\\("));
    const QList<QByteArray> lines = contents(trace.fileName()).split('\n');
    int count = 0;
    for (const QByteArray &line : lines) {
        count += call.match(QString::fromLatin1(line)).hasMatch() ? 1 : 0;
    }
    return count;
}

struct Rest
{
    double processorMilliseconds;
    int calls;
    qint64 kilobytes;
};

Rest watch(qint64 pid, int seconds)
{
    // What the boot left to do is done by now.
    QThread::sleep(1);
    const qint64 before = processorTime(pid);
    QThread::sleep(ulong(seconds));
    const qint64 after = processorTime(pid);
    return {double(after - before) / 1e6, systemCalls(pid, seconds), privateMemory(pid)};
}

} // namespace

void measureRest(const Programs &programs, int seconds)
{
    const Terminal terminal(programs.tinyModule);
    const QStringList names = terminal.addChain(100);
    const auto rest = [&](Boot::By by) {
        const Boot boot(by, programs, terminal, names);
        return watch(boot.supervisor(), seconds);
    };
    const Rest daemon = rest(Boot::By::Daemon);
    const Rest floor = rest(Boot::By::Floor);

    Table table(QStringLiteral("At rest for %1 s with 100 modules").arg(seconds),
                {QStringLiteral("of"), QStringLiteral("daemon"), QStringLiteral("floor"), QStringLiteral("ratio"),
                 QStringLiteral("at most"), QStringLiteral("met")});
    table.add({QStringLiteral("system calls"), QString::number(daemon.calls), QString::number(floor.calls), QString(),
               QStringLiteral("0"), within(daemon.calls, 0)});
    table.add({QStringLiteral("processor time, ms"), figure(daemon.processorMilliseconds, 3),
               figure(floor.processorMilliseconds, 3), QString(), QStringLiteral("0"),
               within(daemon.processorMilliseconds, 0)});
    const double ratio = double(daemon.kilobytes) / double(floor.kilobytes);
    table.add({QStringLiteral("private memory, kB"), QString::number(daemon.kilobytes),
               QString::number(floor.kilobytes), figure(ratio), figure(1.2), within(ratio, 1.2)});
    table.print();
}
