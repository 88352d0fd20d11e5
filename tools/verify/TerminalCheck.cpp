#include "verify/TerminalCheck.h"

#include "catalogue/Catalogue.h"
#include "catalogue/ModulePaths.h"
#include "initstep/InitStep.h"
#include "root/PlatformIni.h"
#include "verify/DependencyCheck.h"
#include "verify/ProgramCheck.h"
#include "verify/StepTable.h"

#include <jov/JovLogger.h>

#include <algorithm>

namespace {

/// The last step before which the daemon does not ask for the mandatory settings.
constexpr int lastBeforeSettings = 4;

/// The daemon's readers log what they find into the log file of these very files; what is wrong is told here instead.
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
        findings.warning({PlatformIni::path(), 0, QString()}, QStringLiteral("counts as empty: ") + fault,
                         QStringLiteral("put a plain file there, of at most 1 MiB, without @Variant and @DateTime"));
    }
    const QString size = PlatformIni::section(QStringLiteral("platform")).value(QStringLiteral("FAB_HW_DDRSIZE"));
    return size.isEmpty() ? QStringLiteral("256MB") : size;
}

void checkSettingsManager(const InstalledModules &modules, Findings &findings)
{
    const QString name = QStringLiteral("SettingsManager");
    const auto module = modules.constFind(name);
    if (module == modules.constEnd()) {
        findings.warning(
            {ModulePaths::rootedModuleDirectory(), 0, QString()},
            QStringLiteral("no module 'SettingsManager': the mandatory settings are not checked, and no module's "
                           "memory is watched"),
            QStringLiteral("install it, in a step of a value up to %1").arg(lastBeforeSettings));
    } else if (module->step && module->step->getValue() > lastBeforeSettings) {
        findings.error(
            module->config.at(module->lines.initStep),
            QStringLiteral("starts in the step '%1' (%2), but the mandatory settings are checked before the first "
                           "step above %3: the start-up fails")
                .arg(module->step->getName())
                .arg(module->step->getValue())
                .arg(lastBeforeSettings),
            QStringLiteral("put it into a step of a value up to %1").arg(lastBeforeSettings));
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
    return {modules.size(), steps.chain().size(), findings.sorted()};
}
