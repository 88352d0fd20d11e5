#ifndef BOOT_FORECAST_H
#define BOOT_FORECAST_H

#include "client/BootAnalysis.h"

#include <QHash>
#include <QSet>

/// What lets the supervisor launch modules ahead of its walk over the steps.
struct LaunchingAhead
{
    QSet<QString> parallel; ///< steps
    QHash<QString, QStringList> early; ///< of a module: after which others
    int atOnce = 0; ///< how many may be starting
    quint64 counted = 0; ///< for how long each one counts, in microseconds
};

struct BootForecast
{
    quint64 total = 0; ///< in microseconds
    /// The modules that set the time: each was launched when the one before it was ready. The times are those of the
    /// forecast.
    QList<BootModule> chain;
};

/// Replays a complete start-up with the durations that were measured. The supervisor's own time between two modules or
/// steps is measured, too; it does not apply to a module that is launched ahead.
[[nodiscard]] BootForecast forecastBoot(const BootRecord &record, const ModuleList &modules,
                                        const LaunchingAhead &ahead);

#endif
