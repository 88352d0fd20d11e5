// start, stop and restart of single modules. They report the states afterwards: the daemon's replies do not say whether
// an operation succeeded.

#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Units.h"
#include "contract/InspectionNames.h"
#include "jovctl/Command.h"
#include "jovctl/Reason.h"

#include <QThread>

#include <algorithm>
#include <csignal>

namespace {

constexpr int pollInterval = 10; // milliseconds
constexpr int mostPolls = 100;

void say(const QString &text)
{
    Console::writeLine(Console::printable(text));
}

bool complain(const QString &text)
{
    Console::complain(Console::printable(text));
    return false;
}

ExitStatus statusOf(bool isDone)
{
    return isDone ? ExitStatus::Done : ExitStatus::Failed;
}

bool reportStarted(const BusClient &client, const QString &name, const ModuleList &modules, const char *done)
{
    const ModuleInfo *module = findModule(modules, name);
    if (module && module->isRunning()) {
        say(QStringLiteral("%1 %2, pid %3, ready in %4")
                .arg(name, QLatin1String(done))
                .arg(module->pid)
                .arg(Units::duration(module->startDuration())));
        return true;
    }
    return complain(QStringLiteral("%1 is not running: %2")
                        .arg(name,
                             module ? reasonNotRunning(*module, modules, client)
                                    : QStringLiteral("the daemon no longer knows it")));
}

ExitStatus startOne(const BusClient &client, const QString &name)
{
    const ModuleList before = client.modules();
    const ModuleInfo *module = findModule(before, name);
    if (module && module->isRunning()) {
        say(QStringLiteral("%1 is already running, pid %2").arg(name).arg(module->pid));
        return ExitStatus::Done;
    }
    client.control(QStringLiteral("startModule"), {name});
    return statusOf(reportStarted(client, name, client.modules(), "started"));
}

/// The modules after the processes that were stopped have ended: the daemon may reply between a kill and the end.
ModuleList settledModules(const BusClient &client)
{
    const auto isEnding = [](const ModuleInfo &module) { return module.isStopped() && module.isLaunched(); };
    ModuleList modules = client.modules();
    for (int i = 0; i < mostPolls && std::any_of(modules.begin(), modules.end(), isEnding); ++i) {
        QThread::msleep(pollInterval);
        modules = client.modules();
    }
    return modules;
}

bool isRebootRequested(const BusClient &client)
{
    return client.value(Inspect::rebootRequested).toBool();
}

/// The daemon treats the kill that ends a stop without success as a crash, also that of a dependent module. A kill by a
/// second stop, and one while all modules are stopped, do not reboot the terminal.
QStringList reportCrashes(const BusClient &client, bool wasRequested, const ModuleList &before, const ModuleList &after)
{
    QStringList names;
    if (wasRequested || !isRebootRequested(client)) {
        return names;
    }
    for (const ModuleInfo &module : after) {
        const ModuleInfo *old = findModule(before, module.name);
        if (old && module.exitsBySignal > old->exitsBySignal) {
            names << module.name;
            complain(QStringLiteral("%1 %2: the terminal will reboot")
                         .arg(module.name,
                              module.exitCode == SIGKILL ? QStringLiteral("did not stop in time and was killed, which "
                                                                          "the daemon treats as a crash")
                                                         : QStringLiteral("crashed (%1)").arg(module.lastExit())));
        }
    }
    return names;
}

void reportStopped(const ModuleInfo &module, bool isAsked)
{
    const bool isKilled = (module.exitedBySignal && module.exitCode == SIGKILL) || module.isLaunched();
    if (isAsked && isKilled) {
        complain(QStringLiteral("%1 was killed before it had stopped").arg(module.name));
    } else {
        say(QStringLiteral("%1 stopped (%2)").arg(module.name, module.lastExit()));
    }
}

void reportOthers(const QString &name, const ModuleList &before, const ModuleList &after)
{
    QStringList others;
    for (const ModuleInfo &other : before) {
        const ModuleInfo *now = findModule(after, other.name);
        if (other.name != name && !other.isStopped() && now && now->isStopped()) {
            others << other.name;
        }
    }
    if (!others.isEmpty()) {
        say(QStringLiteral("also stopped (dependents and later steps): %1").arg(others.join(QStringLiteral(", "))));
    }
}

ExitStatus stopOne(const BusClient &client, const QString &name)
{
    const ModuleList before = client.modules();
    const ModuleInfo *module = findModule(before, name);
    if (module && module->isStopped()) {
        // The daemon would stop all later steps nevertheless.
        say(QStringLiteral("%1 is already stopped").arg(name));
        return ExitStatus::Done;
    }
    const bool isAsked = module && (module->isRunning() || module->state == ModuleState::WebClientStarted);
    const bool wasRequested = isRebootRequested(client);
    client.control(QStringLiteral("stopModule"), {name});
    const ModuleList after = settledModules(client);
    const QStringList crashed = reportCrashes(client, wasRequested, before, after);
    module = findModule(after, name);
    const bool isStopped = module && module->isStopped();
    if (!isStopped) {
        complain(QStringLiteral("%1 is not stopped: it is %2")
                     .arg(name, module ? module->stateText : QStringLiteral("unknown to the daemon")));
    } else if (!crashed.contains(name)) {
        reportStopped(*module, isAsked);
    }
    reportOthers(name, before, after);
    return crashed.isEmpty() ? statusOf(isStopped) : ExitStatus::Reboot;
}

ExitStatus restartOne(const BusClient &client, const QString &name)
{
    const ModuleList before = client.modules();
    const bool wasRequested = isRebootRequested(client);
    client.control(QStringLiteral("restartModule"), {name});
    const ModuleList after = client.modules();
    const ModuleInfo *old = findModule(before, name);
    const ModuleInfo *now = findModule(after, name);
    if (old && now && now->isRunning() && now->starts == old->starts) {
        complain(QStringLiteral("%1 was not restarted: the same process is still running").arg(name));
        return ExitStatus::Failed;
    }
    const bool isStarted = reportStarted(client, name, after, "restarted");
    return reportCrashes(client, wasRequested, before, after).isEmpty() ? statusOf(isStarted) : ExitStatus::Reboot;
}

/// The result is the highest status of one: a reboot is more than a failure.
ExitStatus each(const Arguments &arguments, ExitStatus (*one)(const BusClient &, const QString &))
{
    const BusClient client(BusClient::Purpose::Control);
    const QStringList names = arguments.operands();
    checkNames(client.modules(), names);
    ExitStatus result = ExitStatus::Done;
    for (const QString &name : names) {
        result = std::max(result, one(client, name));
        Console::flush();
    }
    return result;
}

} // namespace

ExitStatus Commands::start(const Arguments &arguments)
{
    return each(arguments, startOne);
}

ExitStatus Commands::stop(const Arguments &arguments)
{
    return each(arguments, stopOne);
}

ExitStatus Commands::restart(const Arguments &arguments)
{
    return each(arguments, restartOne);
}
