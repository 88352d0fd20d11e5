#ifndef BOOT_H
#define BOOT_H

#include "client/Records.h"
#include "contract/ModuleState.h"
#include "contract/Steps.h"

#include <QHash>

/// The progress of a boot: the modules and steps as the supervisor has read them, and the state of each.
struct Boot
{
    /// A module or a step.
    struct Part
    {
        ModuleState state = ModuleState::None; ///< of a module: the last one in the timeline
        quint64 since = 0; ///< launched, asked to stop, or begun: microseconds of CLOCK_MONOTONIC
    };

    int target = Steps::firstOwn; ///< the last step that the step file allows
    bool isKnown = false; ///< the supervisor has sent its modules and steps
    ModuleList modules;
    StepList steps;
    QHash<QString, Part> moduleParts;
    QHash<QString, Part> stepParts;
    bool isComplete = false;
    bool hasHomePage = false; ///< the end of the initialisation was announced

    /// With the step file below `root`.
    [[nodiscard]] static Boot begin(const QString &root);

    [[nodiscard]] bool isHeld() const { return target < Steps::firstOwn; }
    /// The step whose end is the end of the boot; empty when the boot is held before the first step.
    [[nodiscard]] QString lastStep() const;
    /// The modules that the boot should start: all that are installed, also those that no step has.
    [[nodiscard]] QStringList expected() const;
    /// Those of them that are not running.
    [[nodiscard]] QStringList missing() const;
    /// All modules run, and the home page is shown unless the step file holds the boot.
    [[nodiscard]] bool isGood() const { return missing().isEmpty() && (hasHomePage || isHeld()); }
    /// The module that the supervisor is starting; empty for none.
    [[nodiscard]] QString waitingFor() const;
};

#endif
