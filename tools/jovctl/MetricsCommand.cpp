#include "client/BusClient.h"
#include "client/Console.h"
#include "contract/InspectionNames.h"
#include "jovctl/Command.h"
#include "jovctl/ProcessUsage.h"

#include <functional>

namespace {

using Value = std::function<QString(const ModuleInfo &)>;

QString escaped(QString text)
{
    return text.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
        .replace(QLatin1Char('"'), QStringLiteral("\\\""))
        .replace(QLatin1Char('\n'), QStringLiteral("\\n"));
}

QString labels(const ModuleInfo &module)
{
    return QStringLiteral("module=\"%1\",step=\"%2\"").arg(escaped(module.name), escaped(module.step));
}

QString seconds(quint64 microseconds)
{
    return QString::number(double(microseconds) / 1000000, 'f', 6);
}

QString head(const char *name, const char *type, const char *help)
{
    return QStringLiteral("# TYPE jovara_%1 %2\n# HELP jovara_%1 %3\n")
        .arg(QLatin1String(name), QLatin1String(type), QLatin1String(help));
}

QString single(const char *name, const char *help, const QString &value)
{
    return head(name, "gauge", help) + QStringLiteral("jovara_%1 %2\n").arg(QLatin1String(name), value);
}

/// One family, with a sample for each module whose value is not empty.
QString family(const char *name, const char *type, const char *help, const ModuleList &modules, const Value &value)
{
    QString text = head(name, type, help);
    const QLatin1String suffix(qstrcmp(type, "counter") == 0 ? "_total" : "");
    for (const ModuleInfo &module : modules) {
        const QString number = value(module);
        if (!number.isEmpty()) {
            text += QStringLiteral("jovara_%1%2{%3} %4\n").arg(QLatin1String(name), suffix, labels(module), number);
        }
    }
    return text;
}

Value ofProcess(quint64 (*figure)(const ProcessUsage &), bool isTime = false)
{
    return [=](const ModuleInfo &module) {
        const std::optional<ProcessUsage> usage = ProcessUsage::read(module.pid);
        if (!usage) {
            return QString();
        }
        return isTime ? seconds(figure(*usage)) : QString::number(figure(*usage));
    };
}

QString states(const ModuleList &modules)
{
    QString text = head("module_state", "gauge", "1 for the current state of the module, else 0.");
    for (const ModuleInfo &module : modules) {
        for (const ModuleState state : allModuleStates) {
            text += QStringLiteral("jovara_module_state{%1,state=\"%2\"} %3\n")
                        .arg(labels(module), stateText(state))
                        .arg(module.state == state ? 1 : 0);
        }
    }
    return text;
}

QString steps(const StepList &list)
{
    QString text = head("step_start_seconds", "gauge", "Duration of the last start of the step.");
    for (const StepInfo &step : list) {
        if (step.doneAt >= step.startedAt && step.startedAt > 0) {
            text += QStringLiteral("jovara_step_start_seconds{step=\"%1\",value=\"%2\"} %3\n")
                        .arg(escaped(step.name))
                        .arg(step.value)
                        .arg(seconds(step.doneAt - step.startedAt));
        }
    }
    return text;
}

QString daemonMetrics(const BusClient &client)
{
    const auto number = [&](QLatin1String key) { return QString::number(client.property(key)); };
    return single("up", "1 if the daemon answers, else 0.", QStringLiteral("1"))
        + single("current_step", "Value of the step that the start-up has reached.", number(Inspect::currentStep))
        + single("start_failed", "1 if the start-up failed or all modules were stopped.", number(Inspect::startFailed))
        + single("init_in_progress", "1 until the start-up has shown the home page.", number(Inspect::initInProgress));
}

QString moduleMetrics(const ModuleList &modules)
{
    return states(modules)
        + family("module_starts", "counter", "Number of launches of the module.", modules,
                 [](const ModuleInfo &module) { return QString::number(module.starts); })
        + family("module_start_seconds", "gauge", "Time from the launch until the module was ready.", modules,
                 [](const ModuleInfo &module) {
                     return module.startDuration() ? seconds(module.startDuration()) : QString();
                 })
        + family(
               "module_exit_code", "gauge", "Exit code of the last process that ended.", modules,
               [](const ModuleInfo &module) { return module.exitedAt ? QString::number(module.exitCode) : QString(); })
        + family("module_exited_by_signal", "gauge", "1 if the exit code is the signal that ended the process, else 0.",
                 modules,
                 [](const ModuleInfo &module) {
                     return module.exitedAt ? QString::number(int(module.exitedBySignal)) : QString();
                 })
        + family("module_cpu_seconds", "counter", "Processor time of the module's process.", modules,
                 ofProcess([](const ProcessUsage &usage) { return usage.microseconds; }, true))
        + family("module_resident_bytes", "gauge", "Resident memory of the module's process.", modules,
                 ofProcess([](const ProcessUsage &usage) { return quint64(usage.residentKb) * 1024; }))
        + family("module_virtual_bytes", "gauge", "Virtual memory of the module's process.", modules,
                 ofProcess([](const ProcessUsage &usage) { return quint64(usage.virtualKb) * 1024; }));
}

} // namespace

ExitStatus Commands::metrics(const Arguments &)
{
    QString text;
    try {
        const BusClient client;
        const ModuleList modules = client.modules();
        text = daemonMetrics(client) + steps(client.steps()) + moduleMetrics(modules);
    } catch (const Failure &) {
        // Without this a collector would keep the figures of the last run.
        Console::write(single("up", "1 if the daemon answers, else 0.", QStringLiteral("0"))
                       + QStringLiteral("# EOF\n"));
        throw;
    }
    Console::write(text + QStringLiteral("# EOF\n"));
    return ExitStatus::Done;
}
