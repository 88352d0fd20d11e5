// What concerns all modules at once. As with single modules, the state afterwards is what is reported.

#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Failure.h"
#include "client/Units.h"
#include "client/WaitNotice.h"
#include "jovctl/Command.h"

#include <QSet>
#include <QThread>

#include <algorithm>

namespace {

constexpr int pollInterval = 50; // milliseconds

QString joined(const QStringList &names)
{
    return Console::printable(names.join(QStringLiteral(", ")));
}

/// Of the steps' modules, those that do not run.
QStringList notRunning(const BusClient &client)
{
    QSet<QString> expected;
    const StepList steps = client.steps();
    for (const StepInfo &step : steps) {
        expected.unite(QSet<QString>(step.modules.begin(), step.modules.end()));
    }
    QStringList names;
    const ModuleList modules = client.modules();
    for (const ModuleInfo &module : modules) {
        if (expected.contains(module.name) && !module.isRunning()) {
            names << module.name;
        }
    }
    return names;
}

ExitStatus reportAllRunning(const BusClient &client, const QString &done)
{
    const QStringList missing = notRunning(client);
    if (!missing.isEmpty()) {
        Console::complain(QStringLiteral("these do not run: %1").arg(joined(missing)));
        return ExitStatus::Failed;
    }
    Console::writeLine(done);
    return ExitStatus::Done;
}

bool startFailed(const BusClient &client)
{
    return client.properties().value(QStringLiteral("StartFailed")).toBool();
}

ExitStatus startAll(const Arguments &)
{
    const BusClient client(BusClient::Purpose::Control);
    client.control(QStringLiteral("startAll"));
    if (startFailed(client)) {
        Console::complain(
            QStringLiteral("the daemon starts nothing: everything was stopped, or the start-up has failed. "
                           "jovctl restart-all begins again"));
        return ExitStatus::Failed;
    }
    return reportAllRunning(client, QStringLiteral("all modules run"));
}

ExitStatus stopAll(const Arguments &)
{
    const BusClient client(BusClient::Purpose::Control);
    client.control(QStringLiteral("stopAll"));
    QStringList left;
    const ModuleList modules = client.modules();
    for (const ModuleInfo &module : modules) {
        if (!module.isStopped()) {
            left << module.name;
        }
    }
    if (!left.isEmpty()) {
        Console::complain(QStringLiteral("these still run: %1").arg(joined(left)));
        return ExitStatus::Failed;
    }
    Console::writeLine(QStringLiteral("all modules are stopped; jovctl restart-all starts them again"));
    return ExitStatus::Done;
}

bool hasHappened(const BusClient &client, const char *event, quint64 since)
{
    const TimelineList timeline = client.timeline();
    return std::any_of(timeline.begin(), timeline.end(), [&](const TimelineEntry &entry) {
        return entry.time >= since && entry.event == QLatin1String(event);
    });
}

/// The daemon may only have accepted a restart when it answers; it is over with the last step's start.
void waitForRestart(const BusClient &client, quint64 since)
{
    WaitNotice notice(client);
    for (;; QThread::msleep(pollInterval)) {
        if (hasHappened(client, "restart", since)) {
            const StepList steps = client.steps();
            if (steps.isEmpty() || steps.last().doneAt >= since || startFailed(client)) {
                return;
            }
        }
        notice.tick();
    }
}

ExitStatus reportRestart(const BusClient &client, quint64 since)
{
    waitForRestart(client, since);
    if (startFailed(client)) {
        Console::complain(QStringLiteral("the start was interrupted"));
        return ExitStatus::Failed;
    }
    return reportAllRunning(
        client, QStringLiteral("all modules run again, after %1").arg(Units::duration(Units::now() - since)));
}

ExitStatus restartAll(const Arguments &)
{
    const BusClient client(BusClient::Purpose::Control);
    const QString owner = client.owner();
    const quint64 since = Units::now();
    try {
        client.control(QStringLiteral("restart"));
        return reportRestart(client, since);
    } catch (const Failure &) {
        if (owner.isEmpty() || client.owner() == owner) {
            throw;
        }
        throw Failure(ExitStatus::NoDaemon,
                      QStringLiteral("ApplicationManager has ended, as it does when it cannot use its files: "
                                     "see jovctl verify, and its log"));
    }
}

ExitStatus restartApp(const Arguments &)
{
    const BusClient client(BusClient::Purpose::Control);
    const quint64 since = Units::now();
    const int step = client.properties().value(QStringLiteral("CurrentStep")).toInt();
    client.control(QStringLiteral("restartApp"));
    // The daemon begins with it before it answers the next question.
    if (!hasHappened(client, "stop_all", since)) {
        Console::complain(
            step < 5
                ? QStringLiteral("nothing was restarted: the start-up has only reached step %1, and needs 5").arg(step)
                : QStringLiteral("not restarted yet: the platform has locked restarts, it follows when "
                                 "the platform unlocks them"));
        return ExitStatus::Failed;
    }
    return reportRestart(client, since);
}

ExitStatus shutDown(const Arguments &)
{
    const BusClient client(BusClient::Purpose::Control);
    const QString owner = client.owner();
    try {
        client.control(QStringLiteral("stopManager"));
    } catch (const Failure &) {
        // A daemon that has ended owes no answer any more.
        if (owner.isEmpty() || client.owner() == owner) {
            throw;
        }
    }
    WaitNotice notice(client);
    while (!owner.isEmpty() && client.owner() == owner) {
        notice.tick();
        QThread::msleep(pollInterval);
    }
    Console::writeLine(QStringLiteral("ApplicationManager has ended"));
    return ExitStatus::Done;
}

Command command(const QString &name, const QString &summary, const QString &description,
                ExitStatus (*run)(const Arguments &))
{
    Command command;
    command.name = name;
    command.summary = summary;
    command.description = description;
    command.examples = QStringList{QStringLiteral("jovctl %1").arg(name)};
    command.run = run;
    return command;
}

} // namespace

CommandList wholeCommands()
{
    return {command(QStringLiteral("start-all"), QStringLiteral("Start whatever does not run"),
                    QStringLiteral("Step by step. After stop-all nothing starts this way: use restart-all."), startAll),
            command(QStringLiteral("stop-all"), QStringLiteral("Stop all modules, the last step first"),
                    QStringLiteral("The daemon stays."), stopAll),
            command(QStringLiteral("restart-all"), QStringLiteral("Stop all, read all files again, start all"),
                    QStringLiteral("With files that it cannot use the daemon ends instead: ask jovctl verify first."),
                    restartAll),
            command(QStringLiteral("restart-app"), QStringLiteral("Stop all and start all, when that is allowed"),
                    QStringLiteral("As a module would ask for it: only from step 5 on, and not while the platform\n"
                                   "has locked restarts. The files are not read again."),
                    restartApp),
            command(QStringLiteral("shutdown"), QStringLiteral("Stop all modules and end the daemon"), QString(),
                    shutDown)};
}
