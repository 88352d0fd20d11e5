// start, stop and restart of single modules. What is reported is how the modules are afterwards: the daemon's reply
// tells no more than that it tried.

#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Units.h"
#include "jovctl/Command.h"

namespace {

void say(const QString &text)
{
    Console::writeLine(Console::printable(text));
}

QString notRunning(const ModuleInfo &module, const ModuleList &modules)
{
    for (const QString &name : module.dependencies) {
        const ModuleInfo *other = findModule(modules, name);
        if (!other || !other->isRunning()) {
            return QStringLiteral("it depends on %1, which does not run").arg(name);
        }
    }
    if (!module.isStopped() && module.isLaunched()) {
        return QStringLiteral("it is %1").arg(module.state);
    }
    return module.isStopped() && module.exitedAt > module.launchedAt
        ? QStringLiteral("its process ended (%1, exit code %2)").arg(module.status).arg(module.exitCode)
        : QStringLiteral("it was not launched; the daemon's log says why");
}

bool reportStarted(const QString &name, const ModuleList &modules, const char *done)
{
    const ModuleInfo *module = findModule(modules, name);
    if (module && module->isRunning()) {
        say(QStringLiteral("%1 %2, pid %3, ready in %4")
                .arg(name, QLatin1String(done))
                .arg(module->pid)
                .arg(Units::duration(module->startDuration())));
        return true;
    }
    Console::complain(QStringLiteral("%1 does not run: %2")
                          .arg(Console::printable(name),
                               module ? Console::printable(notRunning(*module, modules))
                                      : QStringLiteral("it is not in the catalogue any more")));
    return false;
}

bool startOne(const BusClient &client, const QString &name)
{
    const ModuleList before = client.modules();
    const ModuleInfo *module = findModule(before, name);
    if (module && module->isRunning()) {
        say(QStringLiteral("%1 runs already, pid %2").arg(name).arg(module->pid));
        return true;
    }
    client.control(QStringLiteral("startModule"), {name});
    return reportStarted(name, client.modules(), "started");
}

bool stopOne(const BusClient &client, const QString &name)
{
    const ModuleList before = client.modules();
    const ModuleInfo *module = findModule(before, name);
    if (module && module->isStopped()) {
        // Asking would stop all later steps for nothing.
        say(QStringLiteral("%1 is stopped already").arg(name));
        return true;
    }
    const bool isAsked = module && (module->isRunning() || module->state == QLatin1String("WEB_CLIENT_STARTED"));
    client.control(QStringLiteral("stopModule"), {name});
    const ModuleList after = client.modules();
    QStringList others;
    for (const ModuleInfo &other : before) {
        const ModuleInfo *now = findModule(after, other.name);
        if (other.name != name && !other.isStopped() && now && now->isStopped()) {
            others << other.name;
        }
    }
    module = findModule(after, name);
    const bool isStopped = module && module->isStopped();
    // The daemon can reply before it has seen the end of a process that it had to kill.
    const bool isKilled =
        isStopped && isAsked && (module->launchedAt > module->exitedAt || module->status == QLatin1String("SIGKILL"));
    if (isKilled) {
        Console::complain(QStringLiteral("%1 did not end in time and was killed: that counts as a crash")
                              .arg(Console::printable(name)));
    } else if (isStopped) {
        say(QStringLiteral("%1 stopped (%2)").arg(name, module->status));
    } else {
        Console::complain(QStringLiteral("%1 is not stopped: it is %2")
                              .arg(Console::printable(name), module ? module->state : QStringLiteral("gone")));
    }
    if (!others.isEmpty()) {
        say(QStringLiteral("also stopped, as they depend on it or belong to a later step: %1")
                .arg(others.join(QStringLiteral(", "))));
    }
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
        Console::complain(QStringLiteral("%1 was not restarted: it runs as before").arg(Console::printable(name)));
        return false;
    }
    return reportStarted(name, after, "restarted");
}

template <bool (*one)(const BusClient &, const QString &)>
ExitStatus each(const Arguments &arguments)
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

Command command(const QString &name, const QString &summary, const QString &description,
                ExitStatus (*run)(const Arguments &))
{
    Command command;
    command.name = name;
    command.synopsis = QStringLiteral("NAME...");
    command.summary = summary;
    command.description = description;
    command.examples = QStringList{QStringLiteral("jovctl %1 JovGate").arg(name),
                                   QStringLiteral("jovctl %1 jovaudio kelmmi").arg(name)};
    command.fewest = 1;
    command.most = -1;
    command.run = run;
    return command;
}

} // namespace

CommandList controlCommands()
{
    return {command(QStringLiteral("start"), QStringLiteral("Start modules and wait until they run"),
                    QStringLiteral("What a module depends on must run already."), each<startOne>),
            command(QStringLiteral("stop"), QStringLiteral("Stop modules and what depends on them"),
                    QStringLiteral("All later steps are stopped first; what was stopped besides is said."),
                    each<stopOne>),
            command(QStringLiteral("restart"), QStringLiteral("Stop modules alone and start them again"),
                    QStringLiteral("What depends on a module goes on running meanwhile."), each<restartOne>)};
}
