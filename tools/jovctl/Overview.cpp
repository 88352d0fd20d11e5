#include "jovctl/Overview.h"

#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Units.h"
#include "contract/InspectionNames.h"
#include "jovctl/PastBoots.h"
#include "jovctl/ProcessUsage.h"
#include "jovctl/Reason.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>

namespace {

constexpr int labelWidth = 12;

struct Overview
{
    QString version;
    quint64 runsFor = 0; ///< microseconds since the last start or restart
    QString state; ///< in a word
    QString detail;
    QStringList down; ///< "NAME: why"
    QString lastEnd;
};

QString waitText(const ModuleList &modules, const StepList &steps)
{
    const ModuleInfo *module = moduleWaitedFor(modules, steps);
    return module ? QStringLiteral("waiting for %1 since %2")
                        .arg(module->name, Units::duration(Units::now() - module->launchedAt))
                  : QString();
}

QStringList downModules(const BusClient &client, const ModuleList &modules, const StepList &steps)
{
    QStringList down;
    for (const StepInfo &step : steps) {
        for (const QString &name : step.modules) {
            const ModuleInfo *module = findModule(modules, name);
            if (module && !module->isRunning()) {
                down << QStringLiteral("%1: %2").arg(name, reasonNotRunning(*module, modules, client));
            }
        }
    }
    return down;
}

TimelineList timelineSince(quint64 start, const BusClient &client)
{
    TimelineList entries = client.timeline();
    entries.erase(entries.begin(), std::find_if(entries.begin(), entries.end(), [start](const TimelineEntry &entry) {
                      return entry.time >= start;
                  }));
    return entries;
}

/// True after a stop of everything, and after a start-up whose modules were all stopped one by one. Modules that ended
/// by themselves do not count.
bool isStopped(bool startFailed, bool allDone, const ModuleList &modules, const TimelineList &sinceStart)
{
    const auto hasStop = [&sinceStart](auto isOne) { return std::any_of(sinceStart.begin(), sinceStart.end(), isOne); };
    if (startFailed) {
        return hasStop([](const TimelineEntry &entry) { return entry.event == Inspect::Happened::stopAll; });
    }
    const auto runs = [](const ModuleInfo &module) { return module.isLaunched() && !module.isStopped(); };
    return allDone && std::none_of(modules.begin(), modules.end(), runs)
        && hasStop([](const TimelineEntry &entry) { return stateOf(entry.event) == ModuleState::Stopping; });
}

void setState(Overview &overview, const BusClient &client, const ModuleList &modules, const StepList &steps)
{
    const int reached = client.property(Inspect::currentStep);
    const QString atStep = QStringLiteral("at step %1").arg(reached);
    const QString wait = waitText(modules, steps);
    const bool allDone = std::all_of(steps.begin(), steps.end(), [](const StepInfo &step) { return step.doneAt > 0; });
    const bool startFailed = client.property(Inspect::startFailed);
    const quint64 start = client.value(Inspect::startedAt).toULongLong();
    overview.runsFor = Units::now() - start;
    if (client.value(Inspect::rebootRequested).toBool()) {
        overview.state = QStringLiteral("waiting for the reboot");
    } else if (isStopped(startFailed, allDone, modules, timelineSince(start, client))) {
        const bool isStopping = std::any_of(modules.begin(), modules.end(), [](const ModuleInfo &module) {
            return module.state == ModuleState::Stopping;
        });
        overview.state = isStopping ? QStringLiteral("stopping") : QStringLiteral("stopped");
        overview.detail = QStringLiteral("to start the modules again: jovctl %1")
                              .arg(startFailed ? QStringLiteral("restart-all") : QStringLiteral("start-all"));
    } else if (startFailed) {
        overview.state = QStringLiteral("failed");
        // After every other failure of a start-up the daemon ends.
        overview.detail =
            QStringLiteral("the check of the mandatory settings failed. To start again: jovctl restart-all");
    } else if (!wait.isEmpty()) {
        overview.state = allDone ? QStringLiteral("up") : QStringLiteral("starting");
        overview.detail = QStringLiteral("%1, %2").arg(atStep, wait);
    } else if (isHeld(modules, steps, reached)) {
        overview.state = QStringLiteral("held at step %1").arg(reached);
        overview.detail = QStringLiteral("by the step file. To continue: jovctl step N");
    } else {
        overview.state = allDone ? QStringLiteral("up") : QStringLiteral("starting");
        overview.detail = allDone ? QString() : atStep;
    }
}

QString lastEnd()
{
    try {
        const QList<PastBoot> boots = readPastBoots();
        return boots.size() < 2 ? QStringLiteral("none recorded")
                                : QStringLiteral("%1, %2").arg(PastBoot::timeOf(boots.at(1).last), boots.at(1).text());
    } catch (const Failure &) {
        return QStringLiteral("unknown (no history)");
    }
}

void line(const char *label, const QString &text)
{
    Console::writeLine(QStringLiteral("%1%2").arg(QLatin1String(label), -labelWidth).arg(Console::printable(text)));
}

QString memoryText()
{
    return QStringLiteral("%1 of %2 available").arg(Units::memory(availableMemoryKb()), Units::memory(totalMemoryKb()));
}

void print(const Overview &overview, int modules)
{
    line("Version", overview.version);
    line("Running for", Units::duration(overview.runsFor));
    line("State",
         overview.detail.isEmpty() ? overview.state : QStringLiteral("%1, %2").arg(overview.state, overview.detail));
    line("Modules",
         overview.down.isEmpty() ? QStringLiteral("all %1 are running").arg(modules)
                                 : QStringLiteral("%1 of %2 are not running:").arg(overview.down.size()).arg(modules));
    for (const QString &text : overview.down) {
        Console::writeLine(QStringLiteral("  %1").arg(Console::printable(text)));
    }
    line("Memory", memoryText());
    line("Last end", overview.lastEnd);
}

} // namespace

ExitStatus showOverview(const BusClient &client, bool asJson)
{
    const ModuleList modules = client.modules();
    const StepList steps = client.steps();
    Overview overview;
    overview.version = client.value(Inspect::version).toString();
    overview.down = downModules(client, modules, steps);
    overview.lastEnd = lastEnd();
    setState(overview, client, modules, steps);
    if (asJson) {
        Console::writeJson(
            QJsonDocument(QJsonObject{{QStringLiteral("version"), overview.version},
                                      {QStringLiteral("runsFor"), qint64(overview.runsFor)},
                                      {QStringLiteral("state"), overview.state},
                                      {QStringLiteral("detail"), overview.detail},
                                      {QStringLiteral("modules"), modules.size()},
                                      {QStringLiteral("notRunning"), QJsonArray::fromStringList(overview.down)},
                                      {QStringLiteral("availableMemory"), availableMemoryKb()},
                                      {QStringLiteral("lastEnd"), overview.lastEnd}}));
    } else {
        print(overview, modules.size());
    }
    return overview.down.isEmpty() ? ExitStatus::Done : ExitStatus::NotUp;
}
