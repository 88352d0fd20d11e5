#ifndef RECORDS_H
#define RECORDS_H

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class QDBusMessage;

/// What the daemon tells about a module, a step and a moment. Times are microseconds of CLOCK_MONOTONIC, 0 for never;
/// keys that a newer daemon adds are passed over, and those that an older one does not send leave their field empty.

struct ModuleInfo
{
    QString name;
    QString step;
    QString state;
    QString status;
    uint pid = 0;
    uint starts = 0;
    int maxMemory = 0; ///< 0 or less: no limit; below 100: per cent of the terminal's memory; else kB
    int exitCode = 0;
    QStringList dependencies;
    QStringList dependents;
    quint64 launchedAt = 0;
    quint64 readyAt = 0;
    quint64 exitedAt = 0;

    [[nodiscard]] bool isRunning() const { return state == QLatin1String("RUNNING"); }
    /// Also of a module that was never started or has no node: nothing of it runs.
    [[nodiscard]] bool isStopped() const { return state == QLatin1String("STOPPED") || state.isEmpty(); }
    /// False, though the state is "STARTING", of a program that cannot be run.
    [[nodiscard]] bool isLaunched() const { return pid != 0; }
    /// From the last launch until it was ready; 0 when it was not.
    [[nodiscard]] quint64 startDuration() const { return readyAt > launchedAt ? readyAt - launchedAt : 0; }
};

struct StepInfo
{
    QString name;
    int value = 0;
    bool showHomepage = false;
    QStringList modules;
    quint64 startedAt = 0;
    quint64 doneAt = 0;
};

struct TimelineEntry
{
    quint64 time = 0;
    QString event;
    QString name;
};

using ModuleList = QList<ModuleInfo>;
using StepList = QList<StepInfo>;
using TimelineList = QList<TimelineEntry>;

/// From the reply of ListModules, ListSteps and GetTimeline.
[[nodiscard]] ModuleList readModules(const QDBusMessage &reply);
[[nodiscard]] StepList readSteps(const QDBusMessage &reply);
[[nodiscard]] TimelineList readTimeline(const QDBusMessage &reply);

/// Null when there is none of that name.
[[nodiscard]] const ModuleInfo *findModule(const ModuleList &modules, const QString &name);
[[nodiscard]] QStringList moduleNames(const ModuleList &modules);

#endif
