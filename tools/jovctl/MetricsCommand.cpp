#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Units.h"
#include "contract/HistoryNames.h"
#include "contract/InspectionNames.h"
#include "history/BootIdentity.h"
#include "jovctl/Command.h"
#include "jovctl/MetricsText.h"
#include "jovctl/PastBoots.h"
#include "jovctl/ProcessUsage.h"
#include "jovctl/Reason.h"

#include <QDateTime>
#include <QSaveFile>

#include <functional>

namespace {

using Type = MetricsText::Type;
using Value = std::function<QString(const ModuleInfo &)>;

QString moduleLabels(const ModuleInfo &module)
{
    return MetricsText::label("module", module.name) + QLatin1Char(',') + MetricsText::label("step", module.step);
}

/// A sample for each module whose value is not empty.
void perModule(MetricsText &text, Type type, const char *name, const char *help, const ModuleList &modules,
               const Value &value)
{
    text.family(type, name, help);
    for (const ModuleInfo &module : modules) {
        const QString number = value(module);
        if (!number.isEmpty()) {
            text.sample(moduleLabels(module), number);
        }
    }
}

void addUp(MetricsText &text, bool isUp)
{
    text.single(Type::Gauge, "up", "1 if the daemon answers, else 0.", QString::number(int(isUp)));
}

/// Across all boots, with or without a daemon. The part of a total that names no module has an empty one, and a sample
/// from the first boot on: an increase from no sample to 1 would not be seen.
void addReboots(MetricsText &text)
{
    const QJsonObject record = readNewestRecord();
    const QJsonObject totals = record[History::Key::totals].toObject();
    const QJsonObject byModule = record[History::Key::moduleTotals].toObject();
    text.family(Type::Counter, "reboots", "Ends of boots by cause and module, of the history.");
    for (const QLatin1String name : History::Cause::all) {
        if (record.isEmpty()) {
            break; // There is no history, or it cannot be read now: 0 would look like a reset.
        }
        const QString cause = MetricsText::label("cause", name) + QLatin1Char(',');
        int others = totals[name].toInt();
        const QJsonObject modules = byModule[name].toObject();
        for (auto module = modules.begin(); module != modules.end(); ++module) {
            others -= module.value().toInt();
            text.sample(cause + MetricsText::label("module", module.key()), module.value().toInt());
        }
        text.sample(cause + MetricsText::label("module", QString()), qMax(0, others));
    }
}

int highestStepReached(const StepList &steps, int reached)
{
    int highest = 0;
    for (const StepInfo &step : steps) {
        highest = step.value <= reached ? qMax(highest, step.value) : highest;
    }
    return highest;
}

void addStartUp(MetricsText &text, const BusClient &client, const ModuleList &modules, const StepList &steps)
{
    const auto gauge = [&](const char *name, const char *help, qint64 value) {
        text.single(Type::Gauge, name, help, QString::number(value));
    };
    const int reached = client.property(Inspect::currentStep);
    const bool hasFailed = client.property(Inspect::startFailed);
    gauge("current_step", "Value of the highest step that the start-up has reached.",
          highestStepReached(steps, reached));
    gauge("start_failed", "1 if the start-up failed or all modules were stopped.", hasFailed);
    gauge("init_in_progress", "1 until the start-up has shown the home page.",
          client.property(Inspect::initInProgress));
    gauge("held", "1 if the step file holds the start-up.", !hasFailed && isHeld(modules, steps, reached));
    text.family(Type::Gauge, "waiting", "1 for the module that is launched and not ready, and holds up the others.");
    if (const ModuleInfo *module = moduleWaitedFor(modules, steps)) {
        text.sample(moduleLabels(*module), 1);
    }
    const quint64 started = client.value(Inspect::startedAt).toULongLong();
    const auto since = [&](const char *name, const char *help, QLatin1String property) {
        const quint64 time = client.value(property).toULongLong();
        if (started > 0 && time > started) {
            text.single(Type::Gauge, name, help, MetricsText::seconds(time - started));
        }
    };
    since("boot_seconds", "Time from the last start or restart until all steps were done.", Inspect::completeAt);
    since("homepage_seconds", "Time from the last start or restart until the home page was shown.",
          Inspect::homepageAt);
    if (started > 0) {
        gauge("start_time_seconds", "Unix time of the last start or restart.",
              QDateTime::currentSecsSinceEpoch() - qint64((Units::now() - started) / 1000000));
    }
    text.family(Type::Info, "build", "Versions of the supervisor and of the terminal's image.");
    text.sample(MetricsText::label("version", client.value(Inspect::version).toString()) + QLatin1Char(',')
                    + MetricsText::label("firmware", BootIdentity::firmware()),
                1);
}

void addSteps(MetricsText &text, const StepList &steps)
{
    text.family(Type::Gauge, "step_start_seconds", "Duration of the last start of the step.");
    for (const StepInfo &step : steps) {
        if (step.doneAt >= step.startedAt && step.startedAt > 0) {
            text.sample(MetricsText::label("step", step.name) + QLatin1Char(',')
                            + MetricsText::label("value", QString::number(step.value)),
                        MetricsText::seconds(step.doneAt - step.startedAt));
        }
    }
}

void addStarts(MetricsText &text, const ModuleList &modules)
{
    text.family(Type::Gauge, "module_state", "1 for the current state of the module, else 0.");
    for (const ModuleInfo &module : modules) {
        const QString labels = moduleLabels(module) + QLatin1Char(',');
        for (const ModuleState state : allModuleStates) {
            text.sample(labels + MetricsText::label("state", stateText(state)), int(module.state == state));
        }
    }
    perModule(text, Type::Counter, "module_starts", "Number of launches of the module.", modules,
              [](const ModuleInfo &module) { return QString::number(module.starts); });
    perModule(text, Type::Gauge, "module_start_seconds", "Time from the launch until the module was ready.", modules,
              [](const ModuleInfo &module) {
                  return module.startDuration() ? MetricsText::seconds(module.startDuration()) : QString();
              });
}

void addExits(MetricsText &text, const ModuleList &modules)
{
    text.family(Type::Counter, "module_exits",
                "How often the module's process ended, with an exit code or by a signal.");
    for (const ModuleInfo &module : modules) {
        const QString labels = moduleLabels(module) + QLatin1Char(',');
        text.sample(labels + MetricsText::label("how", QStringLiteral("code")), module.exits - module.exitsBySignal);
        text.sample(labels + MetricsText::label("how", QStringLiteral("signal")), module.exitsBySignal);
    }
    const auto ofLastExit = [&](const char *name, const char *help, int (*value)(const ModuleInfo &)) {
        perModule(text, Type::Gauge, name, help, modules, [value](const ModuleInfo &module) {
            return module.exitedAt ? QString::number(value(module)) : QString();
        });
    };
    ofLastExit("module_exit_code", "Exit code of the last process that ended.",
               [](const ModuleInfo &module) { return module.exitCode; });
    ofLastExit("module_exited_by_signal", "1 if the exit code is the signal that ended the process, else 0.",
               [](const ModuleInfo &module) { return int(module.exitedBySignal); });
}

void addUsage(MetricsText &text, const ModuleList &modules)
{
    QHash<QString, ProcessUsage> usages;
    for (const ModuleInfo &module : modules) {
        if (const std::optional<ProcessUsage> usage = ProcessUsage::read(module.pid)) {
            usages.insert(module.name, *usage);
        }
    }
    const auto add = [&](Type type, const char *name, const char *help, QString (*value)(const ProcessUsage &)) {
        perModule(text, type, name, help, modules, [&usages, value](const ModuleInfo &module) {
            const auto usage = usages.constFind(module.name);
            return usage == usages.constEnd() ? QString() : value(*usage);
        });
    };
    add(Type::Counter, "module_cpu_seconds", "Processor time of the module's process.",
        [](const ProcessUsage &usage) { return MetricsText::seconds(usage.microseconds); });
    add(Type::Gauge, "module_resident_bytes", "Resident memory of the module's process.",
        [](const ProcessUsage &usage) { return QString::number(usage.residentKb * 1024); });
    add(Type::Gauge, "module_virtual_bytes", "Virtual memory of the module's process, which the daemon limits.",
        [](const ProcessUsage &usage) { return QString::number(usage.virtualKb * 1024); });
    const qint64 total = totalMemoryKb();
    perModule(text, Type::Gauge, "module_memory_limit_bytes", "Limit of the module's virtual memory, if it has one.",
              modules, [total](const ModuleInfo &module) {
                  const qint64 limit = module.maxMemory.size(total);
                  return limit > 0 ? QString::number(limit * 1024) : QString();
              });
}

void write(const QString &text, const QString &path)
{
    if (path.isEmpty()) {
        Console::write(text);
        return;
    }
    // A temporary file in the same folder, written to the disk and then renamed.
    QSaveFile file(path);
    const QByteArray bytes = text.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        throw Failure(ExitStatus::Failed, QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    }
}

} // namespace

ExitStatus Commands::metrics(const Arguments &arguments)
{
    const auto format = arguments.isSet(QStringLiteral("openmetrics")) ? MetricsText::Format::OpenMetrics
                                                                       : MetricsText::Format::TextFile;
    const QString path = arguments.value(QStringLiteral("output"));
    if (arguments.isSet(QStringLiteral("output")) && path.isEmpty()) {
        throw Failure(ExitStatus::Usage, QStringLiteral("--output needs the name of a file"));
    }
    MetricsText text(format);
    try {
        const BusClient client;
        const ModuleList modules = client.modules();
        const StepList steps = client.steps();
        addUp(text, true);
        addReboots(text);
        addStartUp(text, client, modules, steps);
        addSteps(text, steps);
        addStarts(text, modules);
        addExits(text, modules);
        addUsage(text, modules);
    } catch (const Failure &failure) {
        if (failure.status() != ExitStatus::NoDaemon) {
            throw; // The caller may not look: this says nothing about the daemon.
        }
        // Without this a collector would keep the figures of the last run.
        MetricsText down(format);
        addUp(down, false);
        addReboots(down);
        write(down.text(), path);
        throw;
    }
    write(text.text(), path);
    return ExitStatus::Done;
}
