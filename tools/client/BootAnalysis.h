#ifndef BOOT_ANALYSIS_H
#define BOOT_ANALYSIS_H

#include "client/Records.h"

#include <QHash>

/// One module in a start-up. All times are in microseconds since the begin of the start-up.
struct BootModule
{
    QString name;
    QString step;
    quint64 launched = 0;
    quint64 until = 0; ///< when it was ready or ended; else the end of the record
    bool isReady = false;
    bool isCritical = false;

    [[nodiscard]] quint64 duration() const { return until - launched; }
};

struct BootStep
{
    QString name;
    int value = 0;
    quint64 started = 0;
    quint64 until = 0;
    bool isDone = false;
    QList<BootModule> modules; ///< in the order of their launch
};

/**
 * The last start-up of the terminal: the start of the daemon or a full restart.
 *
 * If the daemon started one module after the other, each adds to the total. Then the critical chain is the sequence of
 * dependent modules that sets the shortest possible start-up time: in each step the slowest chain of dependencies. If
 * modules were launched ahead, it has the modules that the start-up has waited for.
 */
struct BootRecord
{
    bool isKnown = false; ///< the daemon's timeline has the begin
    bool isRestart = false;
    bool isComplete = false; ///< every step is done
    quint64 total = 0;
    quint64 homepage = 0; ///< when the home page was shown; 0: not yet
    quint64 critical = 0; ///< the length of the critical chain
    QList<BootStep> steps;

    [[nodiscard]] QList<BootModule> allModules() const;
    /// A module was launched before the previous one had settled.
    [[nodiscard]] bool hasOverlaps() const;
    /// The `count` modules that took longest to start, or all for -1.
    [[nodiscard]] QList<BootModule> slowest(int count) const;
};

/// Marks the modules of the critical chain and sets its length, by the dependencies of each module.
void markCriticalChain(BootRecord &record, const QHash<QString, QStringList> &dependencies);

[[nodiscard]] BootRecord analyseBoot(const TimelineList &timeline, const ModuleList &modules, const StepList &steps,
                                     quint64 now = 0);

#endif
