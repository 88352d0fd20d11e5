#include "verify/ModuleCheck.h"

#include "catalogue/Catalogue.h"
#include "catalogue/ConfigReader.h"
#include "catalogue/ModulePaths.h"
#include "catalogue/XmlFile.h"
#include "client/NearMiss.h"
#include "contract/Components.h"
#include "verify/StepTable.h"
#include "verify/XmlElements.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

namespace {

const QString byDefault =
    QStringLiteral("the module starts in the step 'default', without dependencies, arguments and memory limit");

/// The configuration directories, except the one of the daemon.
QStringList configuredNames()
{
    QStringList names = QDir(ModulePaths::rootedConfigDirectory()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    names.removeAll(Components::applicationManager);
    names.sort();
    return names;
}

QStringList without(QStringList names, const QStringList &others)
{
    const QSet<QString> taken(others.begin(), others.end());
    names.erase(std::remove_if(names.begin(), names.end(), [&](const QString &name) { return taken.contains(name); }),
                names.end());
    return names;
}

void checkPlacement(const InstalledModule &module, const StepTable &steps, Findings &findings)
{
    const QString name = module.record->getInitStep();
    const Place place = module.config.at(module.lines.initStep);
    const QString never = QStringLiteral("the module is never started");
    if (module.step) {
        if (!steps.isReached(*module.step)) {
            findings.error(place, QStringLiteral("its step '%1' is never reached: %2").arg(name, never),
                           QStringLiteral("correct the step in initStep.xml, or use another step"));
        }
    } else if (name.isEmpty()) {
        findings.error(place, QStringLiteral("<initStep> is empty: %1").arg(never),
                       QStringLiteral("name a step, or remove the element to use the step 'default'"));
    } else if (steps.listed(name)) {
        findings.error(place, QStringLiteral("its step '%1' is dropped from the start-up: %2").arg(name, never),
                       QStringLiteral("correct the step in initStep.xml"));
    } else if (steps.listed(name.trimmed())) {
        findings.error(place, QStringLiteral("unknown step '%1' (spaces are significant): %2").arg(name, never),
                       QStringLiteral("write <initStep>%1</initStep> on one line").arg(name.trimmed()));
    } else {
        findings.error(place, QStringLiteral("unknown step '%1': %2").arg(name, never),
                       QStringLiteral("use a step of initStep.xml%1").arg(spellingHint(name, steps.names())));
    }
}

void checkConfigFile(InstalledModule &module, const QStringList &orphans, const QString &ddrSize, Findings &findings)
{
    const QString name = module.record->getName();
    const XmlFile file = readXmlFile(module.config.file);
    if (file.result == XmlFile::Result::Missing) {
        findings.warning(module.config, QStringLiteral("the file is missing: ") + byDefault,
                         QStringLiteral("create it%1").arg(spellingHint(name, orphans)));
        return;
    }
    const XmlElement root = XmlElements::rootOf(file, QStringLiteral("config"), module.config, byDefault, findings);
    if (!root.isNull()) {
        module.lines = checkConfig(root, ddrSize, module.config, findings);
    }
}

void checkOrphan(const QString &name, const QStringList &unconfigured, Findings &findings)
{
    const Place place{ModulePaths::rootedConfigDirectory() + name + QStringLiteral("/config.xml"), 0, name};
    if (QFileInfo::exists(place.file)) {
        findings.warning(
            place,
            QStringLiteral("a configuration without a module: %1%2 does not exist")
                .arg(ModulePaths::moduleDirectory(), name),
            QStringLiteral("install the module, or remove the directory%1").arg(spellingHint(name, unconfigured)));
    }
}

} // namespace

InstalledModules checkModules(const QStringList &names, const StepTable *steps, const QString &ddrSize,
                              Catalogue &catalogue, Findings &findings)
{
    const QStringList configured = configuredNames();
    const QStringList orphans = without(configured, names);
    InstalledModules modules;
    for (const QString &name : names) {
        const ApplicationRecord *record = catalogue.addApplication(ApplicationType::Module, name, ddrSize);
        InstalledModule module{record,
                               steps ? steps->find(record->getInitStep()) : nullptr,
                               {configPath(ApplicationType::Module, name), 0, name},
                               {}};
        checkConfigFile(module, orphans, ddrSize, findings);
        if (steps) {
            checkPlacement(module, *steps, findings);
        }
        modules.insert(name, module);
    }
    const QStringList unconfigured = without(names, configured);
    for (const QString &name : orphans) {
        checkOrphan(name, unconfigured, findings);
    }
    return modules;
}
