#include "verify/TerminalCheck.h"

#include "catalogue/Catalogue.h"
#include "catalogue/ModulePaths.h"
#include "contract/Components.h"
#include "contract/Steps.h"
#include "initstep/InitStep.h"
#include "root/PlatformIni.h"
#include "verify/DependencyCheck.h"
#include "verify/ProgramCheck.h"
#include "verify/StepTable.h"

#include <jov/JovLogger.h>

#include <algorithm>

namespace {

/// The daemon checks the mandatory settings before the first step above this value.
constexpr int lastBeforeSettings = Steps::firstOwn - 1;

/// Switches off the log of the daemon's readers: it would go to the log file that the files under test name.
class QuietLog
{
public:
    QuietLog() { logger().setLevel(belowEveryLevel); }
    ~QuietLog() { logger().setLevel(m_level); }
    QuietLog(const QuietLog &) = delete;
    QuietLog &operator=(const QuietLog &) = delete;

private:
    static constexpr int belowEveryLevel = -1;
    const int m_level = logger().level();
};

QString ddrSizeOfTerminal(Findings &findings)
{
    const QString fault = PlatformIni::fault();
    if (!fault.isEmpty()) {
        findings.warning({PlatformIni::path(), 0, QString()}, QStringLiteral("treated as empty: ") + fault,
                         QStringLiteral("use a regular file of at most 1 MiB, without @Variant and @DateTime"));
    }
    const QString size = PlatformIni::section(QStringLiteral("platform")).value(QStringLiteral("FAB_HW_DDRSIZE"));
    return size.isEmpty() ? QStringLiteral("256MB") : size;
}

void checkSettingsManager(const InstalledModules &modules, Findings &findings)
{
    const auto module = modules.constFind(Components::settingsManager);
    if (module == modules.constEnd()) {
        findings.warning(
            {ModulePaths::rootedModuleDirectory(), 0, QString()},
            QStringLiteral("there is no module '%1': the mandatory settings are not checked, and the memory of modules "
                           "is not monitored")
                .arg(Components::settingsManager),
            QStringLiteral("install it in a step with a value of %1 or less").arg(lastBeforeSettings));
    } else if (module->step && module->step->getValue() > lastBeforeSettings) {
        findings.error(
            module->config.at(module->lines.initStep),
            QStringLiteral("is in the step '%1' (%2), but the mandatory settings are checked before the first "
                           "step with a value above %3: the start-up fails")
                .arg(module->step->getName())
                .arg(module->step->getValue())
                .arg(lastBeforeSettings),
            QStringLiteral("move it to a step with a value of %1 or less").arg(lastBeforeSettings));
    }
}

void checkPlatform(const InstalledModules &modules, Findings &findings)
{
    if (!modules.contains(Components::platform)) {
        findings.warning({ModulePaths::rootedModuleDirectory(), 0, QString()},
                         QStringLiteral("there is no module '%1': nobody can answer a request to reboot the terminal, "
                                        "after a crash for example")
                             .arg(Components::platform),
                         QStringLiteral("install it, unless another program has its name on the bus"));
    }
}

} // namespace

int TerminalReport::errors() const
{
    return int(std::count_if(findings.begin(), findings.end(),
                             [](const Finding &finding) { return finding.severity == Finding::Severity::Error; }));
}

TerminalReport checkTerminal()
{
    const QuietLog quiet;
    Findings findings;
    StepTable steps;
    Catalogue catalogue;
    const bool hasChain = steps.read(findings);
    const QStringList names = checkPrograms(findings);
    const InstalledModules modules =
        checkModules(names, hasChain ? &steps : nullptr, ddrSizeOfTerminal(findings), catalogue, findings);
    if (hasChain) {
        checkDependencies(modules, findings);
    }
    checkSettingsManager(modules, findings);
    checkPlatform(modules, findings);
    return {modules.size(), steps.chain().size(), findings.sorted()};
}
