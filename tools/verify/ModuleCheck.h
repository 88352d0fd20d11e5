#ifndef MODULE_CHECK_H
#define MODULE_CHECK_H

#include "verify/ConfigCheck.h"
#include "verify/Findings.h"

#include <QMap>
#include <QStringList>

class ApplicationRecord;
class Catalogue;
class InitStep;
class StepTable;

/// An installed module as the daemon reads it.
struct InstalledModule
{
    const ApplicationRecord *record; ///< in the catalogue
    const InitStep *step; ///< null: it is never started
    Place config;
    ConfigLines lines;
};

using InstalledModules = QMap<QString, InstalledModule>;

/// Checks the configuration of the named modules, and reports configuration directories without a module. `steps` is
/// null if there is no chain.
InstalledModules checkModules(const QStringList &names, const StepTable *steps, const QString &ddrSize,
                              Catalogue &catalogue, Findings &findings);

#endif
