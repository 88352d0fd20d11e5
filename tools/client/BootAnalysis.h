#ifndef BOOT_ANALYSIS_H
#define BOOT_ANALYSIS_H

#include "client/Records.h"

/// One module in a start-up. All times count from the start-up's begin, in microseconds.
struct BootModule
{
    QString name;
    QString step;
    quint64 launched = 0;
    quint64 until = 0; ///< ready, or ended, or still starting when the record ends
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
 * The last start-up of the terminal, whether the daemon's own start or a full restart.
 *
 * Modules start one after the other, each when the one before it is ready, so every one of them adds to the total. The
 * critical chain is what would be left of that if all that need not wait for each other started at once: in each step
 * the slowest chain of dependencies.
 */
struct BootRecord
{
    bool isKnown = false; ///< the daemon's timeline still holds the begin
    bool isRestart = false;
    bool isComplete = false; ///< every step is done
    quint64 total = 0;
    quint64 homepage = 0; ///< the home page was shown; 0 when it was not
    quint64 critical = 0; ///< the sum of the critical chain
    QList<BootStep> steps;

    [[nodiscard]] QList<BootModule> allModules() const;
    /// Those that took longest to start, `count` at most; -1 for all.
    [[nodiscard]] QList<BootModule> slowest(int count) const;
};

[[nodiscard]] BootRecord analyseBoot(const TimelineList &timeline, const ModuleList &modules, const StepList &steps);

#endif
