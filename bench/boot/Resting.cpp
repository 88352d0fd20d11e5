#include "boot/Resting.h"

#include "rig/FigureTable.h"
#include "rig/MeasuredBoot.h"
#include "rig/ProcessTime.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
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

/// What a process shares with nobody, in kB.
struct Memory
{
    qint64 changed = 0; ///< heap, stacks, relocated tables
    qint64 program = 0; ///< unchanged pages of its own file
    qint64 libraries = 0; ///< unchanged pages of all other files

    [[nodiscard]] qint64 total() const { return changed + program + libraries; }
};

/// The file of a mapping, empty when it has none, by its line in /proc/PID/maps or smaps.
QByteArray mappedFile(const QByteArray &line)
{
    return line.simplified().split(' ').value(5);
}

QSet<QByteArray> mappedFiles(qint64 pid)
{
    QSet<QByteArray> files;
    const QList<QByteArray> lines = contents(QStringLiteral("/proc/%1/maps").arg(pid)).split('\n');
    for (const QByteArray &line : lines) {
        files.insert(mappedFile(line));
    }
    return files;
}

/// What would be private if nobody but the bus used the same libraries. This program does, and how much of them a
/// terminal's modules use is theirs to say.
Memory privateMemory(qint64 pid, qint64 bus)
{
    const QByteArray process = "/proc/" + QByteArray::number(pid);
    // Pages of a file that was just built would count as changed by the process until they are written.
    const int file = open((process + "/exe").constData(), O_RDONLY | O_CLOEXEC);
    fsync(file);
    close(file);
    const QSet<QByteArray> common = mappedFiles(bus);
    const QByteArray program = QFile::symLinkTarget(QString::fromLatin1(process + "/exe")).toLocal8Bit();
    Memory memory;
    QByteArray mapped;
    const QList<QByteArray> lines = contents(QString::fromLatin1(process + "/smaps")).split('\n');
    for (const QByteArray &line : lines) {
        const QByteArray key = line.left(line.indexOf(' '));
        const qint64 size = line.simplified().split(' ').value(1).toLongLong();
        if (!key.endsWith(':')) {
            mapped = mappedFile(line);
        } else if (key == "Private_Dirty:") {
            memory.changed += size;
        } else if ((key == "Private_Clean:" || key == "Shared_Clean:") && !common.contains(mapped)) {
            (mapped == program ? memory.program : memory.libraries) += size;
        }
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

Rest watch(qint64 pid, const PrivateBus &bus, int seconds)
{
    // What the boot left to do is done by now.
    QThread::sleep(1);
    const double before = processorTime(pid);
    QThread::sleep(ulong(seconds));
    const double after = processorTime(pid);
    return {after - before, systemCalls(pid, seconds), privateMemory(pid, bus.processId())};
}

Rest watchBoot(MeasuredBoot::By by, const Programs &programs, int seconds, const QString &parameter = QString())
{
    const BenchTerminal terminal(programs.tinyModule);
    if (!parameter.isEmpty()) {
        terminal.setParameter(parameter);
    }
    const QStringList names = terminal.addChain(100);
    const MeasuredBoot boot(by, programs, terminal, names);
    return watch(boot.supervisor(), boot.bus(), seconds);
}

/// The daemon in the middle of the start of a module that never gets ready.
Rest watchWaiting(const Programs &programs, int seconds)
{
    const BenchTerminal terminal(programs.tinyModule);
    BenchTerminal::Module module;
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
    const Rest rest = watch(daemon.processId(), bus, seconds);
    daemon.kill();
    daemon.waitForFinished();
    return rest;
}

QString orNone(int calls)
{
    return calls < 0 ? QStringLiteral("no strace") : QString::number(calls);
}

void printRest(const Rest &daemon, const Memory &inForeground, const Rest &floor, const Rest &waiting, int seconds)
{
    FigureTable table(QStringLiteral("At rest for %1 s, 100 modules running").arg(seconds),
                      {QStringLiteral("of"), QStringLiteral("daemon"), QStringLiteral("floor"), QStringLiteral("ratio"),
                       QStringLiteral("at most"), QStringLiteral("met")});
    const auto addNothing = [&table](const QString &of, const QString &ours, const QString &bare, bool none) {
        table.add({of, ours, bare, QString(), QStringLiteral("0"), within(none ? 0 : 1, 0)});
    };
    const auto addMemory = [&table](const QString &of, qint64 ours, qint64 bare) {
        const double ratio = double(ours) / double(bare);
        table.add({of, QString::number(ours), QString::number(bare), figure(ratio), figure(1.2), within(ratio, 1.2)});
    };
    const auto addPart = [&](const QString &of, qint64 Memory::*part) {
        table.add({of, QString::number(daemon.memory.*part), QString::number(floor.memory.*part)});
    };
    addNothing(QStringLiteral("system calls"), orNone(daemon.calls), orNone(floor.calls), daemon.calls == 0);
    addNothing(QStringLiteral("processor time, ms"), figure(daemon.processorMilliseconds, 3),
               figure(floor.processorMilliseconds, 3), daemon.processorMilliseconds == 0);
    addNothing(QStringLiteral("system calls while a start waits"), orNone(waiting.calls), QString(),
               waiting.calls == 0);
    addNothing(QStringLiteral("processor time while a start waits, ms"), figure(waiting.processorMilliseconds, 3),
               QString(), waiting.processorMilliseconds == 0);
    addMemory(QStringLiteral("private memory, kB"), daemon.memory.total(), floor.memory.total());
    addMemory(QStringLiteral("of it changed pages"), daemon.memory.changed, floor.memory.changed);
    addPart(QStringLiteral("of it the program's file"), &Memory::program);
    addPart(QStringLiteral("of it libraries"), &Memory::libraries);
    addMemory(QStringLiteral("private memory with --nodaemon, kB"), inForeground.total(), floor.memory.total());
    table.print();
}

} // namespace

void measureRest(const Programs &programs, int seconds, const QString &parameter)
{
    const Rest daemon = watchBoot(MeasuredBoot::By::Daemon, programs, seconds, parameter);
    const Rest floor = watchBoot(MeasuredBoot::By::Floor, programs, seconds);
    const Rest inForeground = watchBoot(MeasuredBoot::By::DaemonInForeground, programs, 1);
    printRest(daemon, inForeground.memory, floor, watchWaiting(programs, seconds), seconds);
}
