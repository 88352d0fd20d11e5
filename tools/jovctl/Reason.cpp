#include "jovctl/Reason.h"

#include "client/BusClient.h"
#include "client/Units.h"
#include "contract/InspectionNames.h"
#include "contract/Steps.h"

#include <QSet>

#include <algorithm>

namespace {

QString unsettled(const ModuleInfo &module)
{
    switch (module.state) {
    case ModuleState::Stopping:
        return QStringLiteral("it was asked to stop and has not ended yet");
    case ModuleState::WebClientStarted:
        return QStringLiteral("it has not announced its presentation yet");
    case ModuleState::Starting:
        return module.isLaunched()
            ? QStringLiteral("it has not announced the end of its initialization yet; if its announcement "
                             "was lost with the bus: jovctl restart %1")
                  .arg(module.name)
            : QStringLiteral("it was not launched; see the daemon's log");
    default:
        return QStringLiteral("it is %1").arg(module.stateText);
    }
}

/// Which module a module that is not running waits for, through dependencies and steps: itself, if none.
const ModuleInfo &rootCauseOf(const ModuleInfo &module, const ModuleList &modules, const StepList &steps)
{
    const ModuleInfo *cause = &module;
    QSet<QString> seen;
    while (!seen.contains(cause->name)) {
        seen.insert(cause->name);
        for (const QString &name : cause->dependencies) {
            const ModuleInfo *other = findModule(modules, name);
            if (other && !other->isRunning()) {
                cause = other;
                break;
            }
        }
    }
    if (cause->launchedAt == 0 && cause->isStopped()) {
        const ModuleInfo *waitedFor = moduleWaitedFor(modules, steps);
        cause = waitedFor ? waitedFor : cause;
    }
    return *cause;
}

QString ownReason(const ModuleInfo &module, const StepList &steps, const BusClient &client)
{
    const auto step =
        std::find_if(steps.begin(), steps.end(), [&](const StepInfo &one) { return one.name == module.step; });
    if (step == steps.end()) {
        return QStringLiteral("its step \"%1\" is not in initStep.xml, so it is never started").arg(module.step);
    }
    if (!module.isStopped()) {
        return unsettled(module);
    }
    if (module.exitedAt > module.launchedAt) {
        return QStringLiteral("its process ended %1 (%2)").arg(Units::ago(module.exitedAt), module.lastExit());
    }
    if (client.property(Inspect::startFailed)) {
        return QStringLiteral("the start-up failed, or was stopped before it reached this module");
    }
    const int reached = client.property(Inspect::currentStep);
    return step->value > reached
        ? QStringLiteral("its step has the value %1, and the start-up has reached %2").arg(step->value).arg(reached)
        : QStringLiteral("it was stopped, or could not be launched");
}

} // namespace

const ModuleInfo *moduleWaitedFor(const ModuleList &modules, const StepList &steps)
{
    for (const StepInfo &step : steps) {
        for (const QString &name : step.modules) {
            const ModuleInfo *module = findModule(modules, name);
            if (module && module->isLaunched() && !module->isRunning()) {
                return module;
            }
        }
    }
    return nullptr;
}

bool isHeld(const ModuleList &modules, const StepList &steps, int reached)
{
    return reached < Steps::firstOwn && !moduleWaitedFor(modules, steps)
        && !std::all_of(steps.begin(), steps.end(), [](const StepInfo &step) { return step.doneAt > 0; });
}

QString reasonNotRunning(const ModuleInfo &module, const ModuleList &modules, const BusClient &client)
{
    const StepList steps = client.steps();
    const ModuleInfo &cause = rootCauseOf(module, modules, steps);
    const QString why = ownReason(cause, steps, client);
    if (cause.name == module.name) {
        return why;
    }
    for (const QString &name : module.dependencies) {
        const ModuleInfo *other = findModule(modules, name);
        if (!other || !other->isRunning()) {
            const QString text = QStringLiteral("it depends on %1, which is not running").arg(name);
            return text
                + (name == cause.name ? QStringLiteral(": %1").arg(why)
                                      : QStringLiteral("; the cause is %1: %2").arg(cause.name, why));
        }
    }
    return QStringLiteral("the start-up waits for %1: %2").arg(cause.name, why);
}
