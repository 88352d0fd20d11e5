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

/// The modules after the process of `name` has ended: the daemon may reply between the kill and the end.
ModuleList modulesAfterStop(const BusClient &client, const QString &name)
{
    ModuleList modules = client.modules();
    for (int i = 0; i < mostPolls; ++i) {
        const ModuleInfo *module = findModule(modules, name);
        if (!module || !module->isStopped() || !module->isLaunched()) {
            break;
        }
        QThread::msleep(pollInterval);
        modules = client.modules();
    }
    return modules;
}

ExitStatus reportStopped(const ModuleInfo &module, bool isAsked, bool isCrash)
{
    const bool isKilled = (module.exitedBySignal && module.exitCode == SIGKILL) || module.isLaunched();
    if (!isAsked || !isKilled) {
        say(QStringLiteral("%1 stopped (%2)").arg(module.name, module.lastExit()));
    } else if (isCrash) {
        complain(QStringLiteral("%1 did not stop in time and was killed, which the daemon treats as a crash: the "
                                "terminal will reboot")
                     .arg(module.name));
        return ExitStatus::Reboot;
    } else {
        complain(QStringLiteral("%1 was killed before it had stopped").arg(module.name));
    }
    return ExitStatus::Done;
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
    const bool wasRefusing = client.property(Inspect::startFailed);
    client.control(QStringLiteral("stopModule"), {name});
    const ModuleList after = modulesAfterStop(client, name);
    module = findModule(after, name);
    ExitStatus status = ExitStatus::Failed;
    if (module && module->isStopped()) {
        // Only a crash sets the flag here; a kill by a second stop and one while all modules are stopped do not.
        status = reportStopped(*module, isAsked, !wasRefusing && client.property(Inspect::startFailed));
    } else {
        complain(QStringLiteral("%1 is not stopped: it is %2")
                     .arg(name, module ? module->stateText : QStringLiteral("unknown to the daemon")));
    }
    reportOthers(name, before, after);
    return status;
}

ExitStatus restartOne(const BusClient &client, const QString &name)
{
    const ModuleList before = client.modules();
    client.control(QStringLiteral("restartModule"), {name});
    const ModuleList after = client.modules();
    const ModuleInfo *old = findModule(before, name);
    const ModuleInfo *now = findModule(after, name);
    if (old && now && now->isRunning() && now->starts == old->starts) {
        complain(QStringLiteral("%1 was not restarted: the same process is still running").arg(name));
        return ExitStatus::Failed;
    }
    return statusOf(reportStarted(client, name, after, "restarted"));
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
