// start, stop and restart of single modules. They report the states afterwards: the daemon's replies do not say whether
// an operation succeeded.

#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Units.h"
#include "contract/InspectionNames.h"
#include "jovctl/Command.h"
#include "jovctl/Reason.h"

#include <QThread>

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

bool startOne(const BusClient &client, const QString &name)
{
    const ModuleList before = client.modules();
    const ModuleInfo *module = findModule(before, name);
    if (module && module->isRunning()) {
        say(QStringLiteral("%1 is already running, pid %2").arg(name).arg(module->pid));
        return true;
    }
    client.control(QStringLiteral("startModule"), {name});
    return reportStarted(client, name, client.modules(), "started");
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

void reportStopped(const ModuleInfo &module, bool isAsked, bool isCrash)
{
    const bool isKilled = module.status == QLatin1String("SIGKILL") || module.isLaunched();
    if (!isAsked || !isKilled) {
        say(QStringLiteral("%1 stopped (%2)").arg(module.name, module.status));
    } else if (isCrash) {
        complain(QStringLiteral("%1 did not stop in time and was killed, which the daemon treats as a crash")
                     .arg(module.name));
    } else {
        complain(QStringLiteral("%1 was killed before it had stopped").arg(module.name));
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

bool stopOne(const BusClient &client, const QString &name)
{
    const ModuleList before = client.modules();
    const ModuleInfo *module = findModule(before, name);
    if (module && module->isStopped()) {
        // The daemon would stop all later steps nevertheless.
        say(QStringLiteral("%1 is already stopped").arg(name));
        return true;
    }
    const bool isAsked = module && (module->isRunning() || module->state == ModuleState::WebClientStarted);
    const bool wasRefusing = client.property(Inspect::startFailed);
    client.control(QStringLiteral("stopModule"), {name});
    const ModuleList after = modulesAfterStop(client, name);
    module = findModule(after, name);
    const bool isStopped = module && module->isStopped();
    if (isStopped) {
        // Only a crash sets the flag here; a kill by a second stop and one while all modules are stopped do not.
        reportStopped(*module, isAsked, !wasRefusing && client.property(Inspect::startFailed));
    } else {
        complain(QStringLiteral("%1 is not stopped: it is %2")
                     .arg(name, module ? module->stateText : QStringLiteral("unknown to the daemon")));
    }
    reportOthers(name, before, after);
    return isStopped;
}

bool restartOne(const BusClient &client, const QString &name)
{
    const ModuleList before = client.modules();
    client.control(QStringLiteral("restartModule"), {name});
    const ModuleList after = client.modules();
    const ModuleInfo *old = findModule(before, name);
    const ModuleInfo *now = findModule(after, name);
    if (old && now && now->isRunning() && now->starts == old->starts) {
        return complain(QStringLiteral("%1 was not restarted: the same process is still running").arg(name));
    }
    return reportStarted(client, name, after, "restarted");
}

ExitStatus each(const Arguments &arguments, bool (*one)(const BusClient &, const QString &))
{
    const BusClient client(BusClient::Purpose::Control);
    const QStringList names = arguments.operands();
    checkNames(client.modules(), names);
    bool done = true;
    for (const QString &name : names) {
        done = one(client, name) && done;
        Console::flush();
    }
    return done ? ExitStatus::Done : ExitStatus::Failed;
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
