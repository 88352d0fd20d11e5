#include "Resting.h"

#include "Boot.h"
#include "Table.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QThread>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

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

struct Memory
{
    qint64 kept = 0; ///< heap, stacks, relocated tables: nobody else has them, and they cannot be dropped
    qint64 text = 0; ///< pages of the program's file, which the kernel can drop at any time and a second process shares
};

/// What the process shares with nobody at the moment, in kB.
Memory privateMemory(qint64 pid)
{
    // Pages of a file that was just built would count as changed by the process until they are written.
    const int program = open(QByteArray("/proc/" + QByteArray::number(pid) + "/exe").constData(), O_RDONLY | O_CLOEXEC);
    fsync(program);
    close(program);
    Memory memory;
    const QList<QByteArray> lines = contents(QStringLiteral("/proc/%1/smaps_rollup").arg(pid)).split('\n');
    for (const QByteArray &line : lines) {
        const qint64 size = line.simplified().split(' ').value(1).toLongLong();
        memory.kept += line.startsWith("Private_Dirty:") ? size : 0;
        memory.text += line.startsWith("Private_Clean:") ? size : 0;
    }
    return memory;
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
    double processorMilliseconds = 0;
    int calls = 0;
    Memory memory;
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

Rest watchBoot(Boot::By by, const Programs &programs, int seconds)
{
    const Terminal terminal(programs.tinyModule);
    const QStringList names = terminal.addChain(100);
    const Boot boot(by, programs, terminal, names);
    return watch(boot.supervisor(), seconds);
}

/// The daemon in the middle of the start of a module that never gets ready.
Rest watchWaiting(const Programs &programs, int seconds)
{
    const Terminal terminal(programs.tinyModule);
    Terminal::Module module;
    module.name = QStringLiteral("mute");
    module.arguments.append(QStringLiteral("--mute"));
    terminal.add(module);
    const PrivateBus bus;
    QProcess daemon;
    daemon.setStandardOutputFile(QProcess::nullDevice());
    daemon.start(programs.daemon, {QStringLiteral("--nodaemon")});
    while (!contents(terminal.logFile()).contains("PID of :mute") && daemon.state() != QProcess::NotRunning) {
        QThread::msleep(5);
        QCoreApplication::processEvents();
    }
    const Rest rest = watch(daemon.processId(), seconds);
    daemon.kill();
    daemon.waitForFinished();
    return rest;
}

QString orNone(int calls)
{
    return calls < 0 ? QStringLiteral("no strace") : QString::number(calls);
}

void printRest(const Rest &daemon, const Rest &floor, const Rest &waiting, int seconds)
{
    Table table(QStringLiteral("At rest for %1 s, 100 modules running").arg(seconds),
                {QStringLiteral("of"), QStringLiteral("daemon"), QStringLiteral("floor"), QStringLiteral("ratio"),
                 QStringLiteral("at most"), QStringLiteral("met")});
    const auto addNothing = [&table](const QString &of, const QString &ours, const QString &bare, bool none) {
        table.add({of, ours, bare, QString(), QStringLiteral("0"), within(none ? 0 : 1, 0)});
    };
    const auto addMemory = [&table](const QString &of, qint64 ours, qint64 bare) {
        const double ratio = double(ours) / double(bare);
        table.add({of, QString::number(ours), QString::number(bare), figure(ratio), figure(1.2), within(ratio, 1.2)});
    };
    addNothing(QStringLiteral("system calls"), orNone(daemon.calls), orNone(floor.calls), daemon.calls == 0);
    addNothing(QStringLiteral("processor time, ms"), figure(daemon.processorMilliseconds, 3),
               figure(floor.processorMilliseconds, 3), daemon.processorMilliseconds == 0);
    addNothing(QStringLiteral("system calls while a start waits"), orNone(waiting.calls), QString(),
               waiting.calls == 0);
    addNothing(QStringLiteral("processor time while a start waits, ms"), figure(waiting.processorMilliseconds, 3),
               QString(), waiting.processorMilliseconds == 0);
    addMemory(QStringLiteral("private memory, kB"), daemon.memory.kept, floor.memory.kept);
    addMemory(QStringLiteral("the same with program text, kB"), daemon.memory.kept + daemon.memory.text,
              floor.memory.kept + floor.memory.text);
    table.print();
}

} // namespace

void measureRest(const Programs &programs, int seconds)
{
    const Rest daemon = watchBoot(Boot::By::Daemon, programs, seconds);
    const Rest floor = watchBoot(Boot::By::Floor, programs, seconds);
    printRest(daemon, floor, watchWaiting(programs, seconds), seconds);
}
