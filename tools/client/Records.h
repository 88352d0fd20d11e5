#ifndef RECORDS_H
#define RECORDS_H

#include "contract/ExitText.h"
#include "contract/MemoryCeiling.h"
#include "contract/ModuleState.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class QDBusMessage;

/// The records of the inspection interface (see contract/InspectionNames.h). Keys that only a newer daemon sends are
/// ignored; a key that an older one does not send leaves its field empty.

struct ModuleInfo
{
    QString name;
    QString step;
    ModuleState state = ModuleState::None; ///< None also for a state that only a newer daemon knows
    QString stateText; ///< as the daemon sent it
    QString status;
    uint pid = 0;
    uint starts = 0;
    uint exits = 0;
    uint exitsBySignal = 0; ///< of these
    MemoryCeiling maxMemory;
    int exitCode = 0;
    bool exitedBySignal = false;
    QStringList dependencies;
    QStringList dependents;
    quint64 launchedAt = 0;
    quint64 readyAt = 0;
    quint64 exitedAt = 0;

    void setState(const QString &text);
    [[nodiscard]] bool isRunning() const { return state == ModuleState::Running; }
    /// True also without a state: a module whose step does not exist is never started.
    [[nodiscard]] bool isStopped() const { return state == ModuleState::Stopped || stateText.isEmpty(); }
    /// False for a program that could not be run, although its state is Starting.
    [[nodiscard]] bool isLaunched() const { return pid != 0; }
    /// "exit status 4", "killed by SIGILL" of the last process that ended.
    [[nodiscard]] QString lastExit() const { return exitText(exitCode, exitedBySignal); }
    /// The same if it is the last process that was launched; else the status, which is the daemon's text.
    [[nodiscard]] QString statusText() const { return exitedAt > launchedAt ? lastExit() : status; }
    /// From the last launch until the module was ready; 0 if it was not.
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
    QString event; ///< one of Inspect::Happened, or the text of a module's new state
    QString name;
};

using ModuleList = QList<ModuleInfo>;
using StepList = QList<StepInfo>;
using TimelineList = QList<TimelineEntry>;

/// From the replies of ListModules, ListSteps and GetTimeline.
[[nodiscard]] ModuleList readModules(const QDBusMessage &reply);
[[nodiscard]] StepList readSteps(const QDBusMessage &reply);
[[nodiscard]] TimelineList readTimeline(const QDBusMessage &reply);

/// Null if there is no module of that name.
[[nodiscard]] const ModuleInfo *findModule(const ModuleList &modules, const QString &name);
[[nodiscard]] QStringList moduleNames(const ModuleList &modules);

#endif
