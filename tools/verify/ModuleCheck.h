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
    const ApplicationRecord *record; ///< the catalogue's
    const InitStep *step; ///< where it starts; null: nowhere
    Place config;
    ConfigLines lines;
};

using InstalledModules = QMap<QString, InstalledModule>;

/// Checks the configuration of the named modules, and the configuration folders that belong to none. `steps` is null
/// when there is no chain. The records are the catalogue's.
InstalledModules checkModules(const QStringList &names, const StepTable *steps, const QString &ddrSize,
                              Catalogue &catalogue, Findings &findings);

#endif
