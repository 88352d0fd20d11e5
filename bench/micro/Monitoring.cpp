#include "catalogue/Catalogue.h"
#include "manager/ComponentBus.h"
#include "micro/Sections.h"
#include "monitoring/MemoryWatchdog.h"
#include "monitoring/ProcReader.h"
#include "rig/FigureTable.h"
#include "rig/MeasuredBoot.h"
#include "rig/Statistics.h"

#include <QElapsedTimer>

#include <array>
#include <csignal>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

template <typename Work>
double milliseconds(Work work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e6;
}

/// A catalogue of so many modules with a ceiling that none reaches.
QStringList fill(Catalogue &catalogue, const BenchTerminal &terminal, int count)
{
    QStringList names;
    for (int i = 0; i < count; ++i) {
        BenchTerminal::Module module;
        module.name = QStringLiteral("watched%1").arg(i);
        module.maxMemory = 90;
        terminal.add(module);
        catalogue.addApplication(ApplicationType::Module, module.name, QStringLiteral("256MB"));
        names.append(module.name);
    }
    return names;
}

double checkTime(Catalogue &catalogue, int repetitions)
{
    struct NoOrders : RestartOrders
    {
        bool stopModuleAlone(const QString & /*name*/) override { return false; }
        void rebootComes(const QVariantMap & /*reason*/) override { }
        void rebootAccepted() override { }
        void rebootRefused() override { }
        int startAll() override { return 0; }
    } orders;
    JovModule component(QStringLiteral("Bench"));
    ComponentBus bus(component);
    MemoryWatchdog watchdog(bus, orders, catalogue, ProcReader());
    QVector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        times.append(milliseconds([&] { watchdog.checkMemory(); }));
    }
    if (!watchdog.outOfMemoryModules().isEmpty()) {
        qFatal("the check went another way than the one to measure");
    }
    return median(times);
}

double checkRunning(const Programs &programs, int count, int repetitions)
{
    const BenchTerminal terminal(programs.tinyModule);
    Catalogue catalogue;
    const QStringList names = fill(catalogue, terminal, count);
    std::vector<std::unique_ptr<QProcess>> processes;
    for (const QString &name : names) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(QStringLiteral("sleep"), {QStringLiteral("600")});
        processes.back()->waitForStarted();
        catalogue.find(name)->setID(QString::number(processes.back()->processId()));
    }
    const double time = checkTime(catalogue, repetitions);
    for (const auto &process : processes) {
        process->kill();
        process->waitForFinished();
    }
    return time;
}

double checkStopped(const Programs &programs, int count, int repetitions)
{
    const BenchTerminal terminal(programs.tinyModule);
    Catalogue catalogue;
    fill(catalogue, terminal, count);
    return checkTime(catalogue, repetitions);
}

/// A process whose memory is in so many mappings: pages of alternating rights cannot be put together.
pid_t forkWithMappings(int count)
{
    std::array<int, 2> ready = {};
    if (pipe2(ready.data(), O_CLOEXEC) != 0) {
        qFatal("no pipe");
    }
    const pid_t pid = fork();
    if (pid == 0) {
        const auto page = std::size_t(sysconf(_SC_PAGESIZE));
        auto *memory = static_cast<char *>(
            mmap(nullptr, page * std::size_t(count), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        for (int i = 0; i < count; i += 2) {
            mprotect(memory + page * std::size_t(i), page, PROT_READ);
        }
        char done = 1;
        if (write(ready[1], &done, 1) == 1) {
            pause();
        }
        _exit(0);
    }
    char done = 0;
    close(ready[1]);
    if (read(ready[0], &done, 1) != 1) {
        qFatal("no process to look at");
    }
    close(ready[0]);
    return pid;
}

qint64 bareRead(const QByteArray &path)
{
    static std::array<char, 65536> buffer;
    const int file = open(path.constData(), O_RDONLY | O_CLOEXEC);
    qint64 size = 0;
    for (ssize_t count = 1; count > 0;) {
        count = read(file, buffer.data(), buffer.size());
        size += count;
    }
    close(file);
    return size;
}

void measureMappings(FigureTable &table, int repetitions)
{
    const pid_t pid = forkWithMappings(10000);
    const QString text = QString::number(pid);
    const QByteArray path = "/proc/" + text.toLatin1() + "/smaps";
    const ProcReader reader;
    Pairs pairs;
    for (int i = 0; i < repetitions; ++i) {
        int rss = 0;
        qint64 size = 0;
        const double ours = milliseconds([&] { rss = reader.getMemoryUsage(text); });
        pairs.add(ours, milliseconds([&] { size = bareRead(path); }));
        if (rss <= 0 || size <= 0) {
            qFatal("nothing was read");
        }
    }
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    table.add(
        {QStringLiteral("getMemoryUsage, 10,000 mappings, ms"), figure(median(pairs.ours)), QString(), QString()});
    table.add({QStringLiteral("bare read of the same file, ms"), figure(median(pairs.floor)), QString(), QString()});
    table.add({QStringLiteral("ratio of the two"), figure(pairs.ratio()), figure(1.2), within(pairs.ratio(), 1.2)});
}

} // namespace

void Sections::monitoring(const Programs &programs, FigureTable &table, int repetitions)
{
    const double running = checkRunning(programs, 100, repetitions);
    const double twice = checkRunning(programs, 200, repetitions);
    const double stopped = checkStopped(programs, 1000, repetitions);
    table.add({QStringLiteral("checkMemory, 100 running modules, ms"), figure(running), QStringLiteral("10"),
               within(running, 10)});
    table.add({QStringLiteral("checkMemory, 200 running modules, ms"), figure(twice), QString(), QString()});
    table.add({QStringLiteral("checkMemory, 1,000 stopped modules, ms"), figure(stopped), QStringLiteral("5"),
               within(stopped, 5)});
    measureMappings(table, repetitions);
}
