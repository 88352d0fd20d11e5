#include "verify/TerminalCheck.h"

#include "catalogue/ModulePaths.h"
#include "client/NearMiss.h"
#include "contract/Components.h"
#include "contract/Steps.h"
#include "initstep/InitStep.h"
#include "logger/PlatformLogger.h"
#include "system/RegularFile.h"
#include "verify/DependencyCheck.h"
#include "verify/EarlyCheck.h"
#include "verify/ParametersCheck.h"
#include "verify/RootFile.h"
#include "verify/StepTable.h"

#include <jov/JovLogger.h>
#include <jov/JovRoot.h>

#include <algorithm>

namespace {

/// The daemon checks the mandatory settings before the first step above this value.
constexpr int lastBeforeSettings = Steps::firstOwn - 1;
constexpr qint64 largestFile = 1 << 20;
constexpr qint64 largestLine = 4096;

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

// "RULE [MODULE...]" on each line, and comments that begin with "#".
void readSilenced(Findings &findings)
{
    const QString path = QStringLiteral("/.jov-verify");
    const RootFile file(path);
    const QByteArray text =
        file.isRegular() ? RegularFile(file.openName()).read(largestFile).value_or(QByteArray()) : "";
    QStringList known;
    for (int i = 0; i < int(Rule::Count); ++i) {
        known << idOf(Rule(i));
    }
    int number = 0;
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray &line : lines) {
        ++number;
        QStringList words =
            QString::fromUtf8(line).section(QLatin1Char('#'), 0, 0).simplified().split(QLatin1Char(' '));
        const QString id = words.takeFirst();
        const int rule = known.indexOf(id);
        if (rule >= 0) {
            findings.silence(Rule(rule), words);
        } else if (!id.isEmpty()) {
            findings.add(Rule::UnknownRule, {JovRoot::rooted(path), number, QString()},
                         QStringLiteral("unknown rule '%1'").arg(id),
                         QStringLiteral("use the name in brackets behind a finding%1").arg(spellingHint(id, known)));
        }
    }
}

// The daemon reads the first line: blanks around a number are allowed.
void checkStepFile(Findings &findings)
{
    const QString path = QStringLiteral("/tmp/step");
    const RootFile file(path);
    const std::optional<QByteArray> text =
        file.isRegular() ? RegularFile(file.openName()).read(largestLine + 1) : std::nullopt;
    // The daemon ignores the file if its first line is longer.
    if (!text || text->split('\n').first().size() > largestLine) {
        return;
    }
    const Place place{JovRoot::rooted(path), 1, QString()};
    const QString line = QString::fromLocal8Bit(text->split('\n').first().constData()).trimmed();
    bool isNumber = false;
    const int target = line.toInt(&isNumber);
    if (!isNumber || target < 0) {
        findings.add(Rule::StepFileValue, place,
                     QStringLiteral("'%1' is not the number of a step: no step is started").arg(line),
                     QStringLiteral("write the number of a step, or remove the file"));
    } else if (target < Steps::firstOwn) {
        findings.add(
            Rule::StepFileHolds, place,
            QStringLiteral("the start-up stops after step %1, until an event \"init_step\" continues it").arg(target),
            QStringLiteral("remove the file if no boot sequence sends the event"));
    }
}

// One module may have a limit only for other terminals, but hardly all of them.
void checkLimits(const InstalledModules &modules, const QString &ddrSize, Findings &findings)
{
    const auto count = [&](ConfigLines::Limits limits) {
        return std::count_if(modules.begin(), modules.end(),
                             [&](const InstalledModule &module) { return module.lines.limits == limits; });
    };
    if (count(ConfigLines::Limits::OfOthers) > 1 && count(ConfigLines::Limits::OfTerminal) == 0) {
        findings.add(
            Rule::LimitsNone, {JovRoot::rooted(QStringLiteral("/etc/JovApplication/platform.ini")), 0, {}},
            QStringLiteral("this terminal's memory size is '%1', but no module has a memory limit for it").arg(ddrSize),
            QStringLiteral("set FAB_HW_DDRSIZE in the section [platform]"));
    }
}

void checkSettingsManager(const InstalledModules &modules, Findings &findings)
{
    const QString advice = QStringLiteral("install it in a step with a value of %1 or less").arg(lastBeforeSettings);
    const auto module = modules.constFind(Components::settingsManager);
    if (module == modules.constEnd()) {
        findings.add(Rule::SettingsMissing, {ModulePaths::rootedModuleDirectory(), 0, QString()},
                     QStringLiteral("there is no module '%1': the mandatory settings are not checked, and the memory "
                                    "of modules is not monitored")
                         .arg(Components::settingsManager),
                     advice);
    } else if (module->isLost) {
        findings.add(Rule::SettingsLost, module->config,
                     QStringLiteral("cannot run, but the mandatory settings are checked before the first step with a "
                                    "value above %1: the start-up fails")
                         .arg(lastBeforeSettings),
                     advice);
    } else if (module->step->getValue() > lastBeforeSettings) {
        findings.add(Rule::SettingsLost, module->config.at(module->lines.initStep),
                     QStringLiteral("is in the step '%1' (%2), but the mandatory settings are checked before the first "
                                    "step with a value above %3: the start-up fails")
                         .arg(module->step->getName())
                         .arg(module->step->getValue())
                         .arg(lastBeforeSettings),
                     advice);
    }
}

void checkPlatform(const InstalledModules &modules, bool hasFallback, Findings &findings)
{
    if (!modules.contains(Components::platform) && !hasFallback) {
        findings.add(Rule::PlatformMissing, {ModulePaths::rootedModuleDirectory(), 0, QString()},
                     QStringLiteral("there is no module '%1': nobody carries out a reboot request after a crash")
                         .arg(Components::platform),
                     QStringLiteral("install it, or set reboot_fallback in platform.ini"));
    }
}

} // namespace

TerminalReport checkTerminal(const QStringList &played)
{
    // The log of the files under test is not written, and where it is, is not read.
    LogOptions::areDefaults = true;
    const QuietLog quiet;
    TerminalReport report;
    Findings &findings = report.findings;
    readSilenced(findings);
    StepTable steps;
    const bool hasChain = steps.read(findings);
    const Programs programs = checkPrograms(played, findings);
    const TerminalParameters parameters = checkParameters(programs.names, findings);
    InstalledModules modules = checkModules(programs, hasChain ? &steps : nullptr, parameters.ddrSize, findings);
    checkLimits(modules, parameters.ddrSize, findings);
    if (hasChain) {
        checkDependencies(modules, findings);
        checkEarly(modules, steps, findings);
        checkSettingsManager(modules, findings);
        checkStepFile(findings);
    }
    checkPlatform(modules, parameters.hasRebootFallback, findings);
    report.modules = modules.size();
    report.steps = steps.chain().size();
    return report;
}
