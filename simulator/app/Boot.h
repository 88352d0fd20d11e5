#ifndef BOOT_H
#define BOOT_H

#include "client/Records.h"

#include <QHash>

/// How far the terminal is: the modules and steps as the daemon has read them, and where each has got to.
struct Boot
{
    /// A module or a step.
    struct Part
    {
        QString state; ///< of a module: the last one in the timeline
        quint64 since = 0; ///< launched, asked to stop, or begun: microseconds of CLOCK_MONOTONIC
    };

    /// The last number that the step file lets the boot reach; from 5 on it goes on by itself.
    int target = goesOn;
    ModuleList modules; ///< none until the daemon has answered
    StepList steps;
    QHash<QString, Part> moduleParts;
    QHash<QString, Part> stepParts;
    bool isComplete = false;

    static constexpr int goesOn = 5;

    /// With the step file that lies below `root`.
    [[nodiscard]] static Boot begin(const QString &root);

    [[nodiscard]] bool isHeld() const { return target < goesOn; }
    /// The step whose end is the end of the boot; empty when it is held before the first one.
    [[nodiscard]] QString lastStep() const;
    /// The modules that the boot is to bring up.
    [[nodiscard]] QStringList expected() const;
    [[nodiscard]] QStringList missing() const;
    /// The one whose start the supervisor is waiting for; empty for none.
    [[nodiscard]] QString waitingFor() const;
};

#endif
