// Commands for all modules together. Like those for single modules, they report the states afterwards.

#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Failure.h"
#include "client/Units.h"
#include "client/WaitNotice.h"
#include "contract/InspectionNames.h"
#include "contract/Steps.h"
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

/// The modules of all steps that are not running.
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
        Console::complain(QStringLiteral("not running: %1").arg(joined(missing)));
        return ExitStatus::Failed;
    }
    Console::writeLine(done);
    return ExitStatus::Done;
}

bool startFailed(const BusClient &client)
{
    return client.property(Inspect::startFailed) != 0;
}

bool hasHappened(const BusClient &client, QLatin1String event, quint64 since)
{
    const TimelineList timeline = client.timeline();
    return std::any_of(timeline.begin(), timeline.end(),
                       [&](const TimelineEntry &entry) { return entry.time >= since && entry.event == event; });
}

/// The daemon may reply before the restart has begun. A restart is complete when the last step is.
void waitForRestart(const BusClient &client, quint64 since)
{
    WaitNotice notice(client);
    for (;; QThread::msleep(pollInterval)) {
        if (hasHappened(client, Inspect::Happened::restart, since)) {
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
        Console::complain(QStringLiteral("the start-up failed or was interrupted"));
        return ExitStatus::Failed;
    }
    return reportAllRunning(
        client, QStringLiteral("all modules are running again after %1").arg(Units::duration(Units::now() - since)));
}

} // namespace

ExitStatus Commands::startAll(const Arguments &)
{
    const BusClient client(BusClient::Purpose::Control);
    client.control(QStringLiteral("startAll"));
    if (startFailed(client)) {
        Console::complain(
            QStringLiteral("the daemon refuses to start modules, because all modules were stopped or the start-up "
                           "failed. Use: jovctl restart-all"));
        return ExitStatus::Failed;
    }
    return reportAllRunning(client, QStringLiteral("all modules are running"));
}

ExitStatus Commands::stopAll(const Arguments &)
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
        Console::complain(QStringLiteral("still running: %1").arg(joined(left)));
        return ExitStatus::Failed;
    }
    Console::writeLine(QStringLiteral("all modules are stopped. To start them again, use: jovctl restart-all"));
    return ExitStatus::Done;
}

ExitStatus Commands::restartAll(const Arguments &)
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
                      QStringLiteral("ApplicationManager ended, probably because it cannot use its files. "
                                     "Check them with: jovctl verify"));
    }
}

ExitStatus Commands::restartApp(const Arguments &)
{
    const BusClient client(BusClient::Purpose::Control);
    const quint64 since = Units::now();
    const int step = client.property(Inspect::currentStep);
    client.control(QStringLiteral("restartApp"));
    // The daemon begins a restart before it answers the next call.
    if (!hasHappened(client, Inspect::Happened::stopAll, since)) {
        Console::complain(
            step < Steps::firstOwn
                ? QStringLiteral("not restarted: the start-up has reached step %1, and restarts are allowed from step "
                                 "%2 on")
                      .arg(step)
                      .arg(Steps::firstOwn)
                : QStringLiteral("not restarted yet: the platform has locked restarts. The daemon restarts when the "
                                 "platform unlocks them"));
        return ExitStatus::Failed;
    }
    return reportRestart(client, since);
}

ExitStatus Commands::shutDown(const Arguments &)
{
    const BusClient client(BusClient::Purpose::Control);
    const QString owner = client.owner();
    try {
        client.control(QStringLiteral("stopManager"));
    } catch (const Failure &) {
        // The daemon may exit without a reply.
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
