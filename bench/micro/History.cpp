#include "contract/HistoryNames.h"
#include "history/BlackBox.h"
#include "micro/Sections.h"
#include "rig/FigureTable.h"
#include "rig/Statistics.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QTimer>

#include <ctime>

namespace {

constexpr int settleTime = 50; // milliseconds

double processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1000 + double(time.tv_nsec) / 1e6;
}

QJsonObject hundredModules()
{
    QJsonArray modules;
    for (int i = 0; i < 100; ++i) {
        modules << QJsonArray{QStringLiteral("module-%1").arg(i), 0, 1000000 + i, 2000000 + i};
    }
    return {{History::Key::total, 2000000}, {History::Key::modules, modules}};
}

void waitForRecords(const QString &path, int count)
{
    for (int found = -1; found < count;) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QFile file(path);
        found = file.open(QIODevice::ReadOnly) ? file.readAll().count('\n') : 0;
    }
}

/// What a record takes of the daemon's thread, in milliseconds: the fork included, the disk not.
double recordTime()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("history"));
    const QJsonObject boot = hundredModules();
    BlackBox blackBox([] { return 5; });
    blackBox.begin(path, 256);
    waitForRecords(path, 1);
    // Until the child of that record has been reaped: the next one would only be queued.
    QEventLoop loop;
    QTimer::singleShot(settleTime, &loop, &QEventLoop::quit);
    loop.exec();
    const double before = processorTime();
    blackBox.noteStarted(boot);
    const double time = processorTime() - before;
    waitForRecords(path, 2);
    return time;
}

} // namespace

void Sections::history(FigureTable &table, int repetitions)
{
    QVector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        times.append(recordTime());
    }
    const double time = median(times);
    table.add({QStringLiteral("the record of a boot of 100 modules, ms of the daemon"), figure(time),
               QStringLiteral("2"), within(time, 2)});
}
