#ifndef MODULE_CHECK_H
#define MODULE_CHECK_H

#include "catalogue/ApplicationRecord.h"
#include "verify/ConfigCheck.h"
#include "verify/Findings.h"
#include "verify/ProgramCheck.h"

#include <QMap>

class InitStep;
class StepTable;

/// An installed module as the daemon reads it.
struct InstalledModule
{
    ApplicationRecord record;
    const InitStep *step = nullptr; ///< null: it is never started
    bool isLost = false; ///< it cannot be started
    Place config;
    ConfigLines lines;
};

using InstalledModules = QMap<QString, InstalledModule>;

/// Checks the configuration of the modules, and reports configuration directories without a module. `steps` is null if
/// there is no chain.
InstalledModules checkModules(const Programs &programs, const StepTable *steps, const QString &ddrSize,
                              Findings &findings);

#endif
