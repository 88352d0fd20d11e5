#include "client/BusClient.h"
#include "client/Console.h"
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

/// One family with a sample for each module for which `value` is not empty.
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
    static constexpr const char *all[] = {"STOPPED", "STARTING", "WEB_CLIENT_STARTED", "RUNNING", "STOPPING"};
    QString text = head("module_state", "gauge", "1 for the state that the module is in.");
    for (const ModuleInfo &module : modules) {
        for (const char *state : all) {
            text += QStringLiteral("jovara_module_state{%1,state=\"%2\"} %3\n")
                        .arg(labels(module), QLatin1String(state))
                        .arg(module.state == QLatin1String(state) ? 1 : 0);
        }
    }
    return text;
}

QString steps(const StepList &list)
{
    QString text = head("step_start_seconds", "gauge", "How long the last start of the step took.");
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

QString daemonMetrics(const QVariantMap &properties)
{
    const auto number = [&](const char *key) { return QString::number(properties.value(QLatin1String(key)).toInt()); };
    return single("up", "1 when the daemon answers.", QStringLiteral("1"))
        + single("current_step", "The last step that the start-up has reached.", number("CurrentStep"))
        + single("start_failed", "1 when the start-up failed or everything was stopped.", number("StartFailed"))
        + single("init_in_progress", "1 until the start-up has shown the home page.", number("InitInProgress"));
}

QString moduleMetrics(const ModuleList &modules)
{
    return states(modules)
        + family("module_starts", "counter", "How often the module was launched.", modules,
                 [](const ModuleInfo &module) { return QString::number(module.starts); })
        + family("module_start_seconds", "gauge", "From the launch until the module was ready.", modules,
                 [](const ModuleInfo &module) {
                     return module.startDuration() ? seconds(module.startDuration()) : QString();
                 })
        + family(
               "module_exit_code", "gauge", "The exit code of the last run that ended.", modules,
               [](const ModuleInfo &module) { return module.exitedAt ? QString::number(module.exitCode) : QString(); })
        + family("module_cpu_seconds", "counter", "Processor time of the module's process.", modules,
                 ofProcess([](const ProcessUsage &usage) { return usage.microseconds; }, true))
        + family("module_resident_bytes", "gauge", "Resident memory of the module's process.", modules,
                 ofProcess([](const ProcessUsage &usage) { return quint64(usage.residentKb) * 1024; }))
        + family("module_virtual_bytes", "gauge", "Virtual memory of the module's process.", modules,
                 ofProcess([](const ProcessUsage &usage) { return quint64(usage.virtualKb) * 1024; }));
}

ExitStatus metrics(const Arguments &)
{
    QString text;
    try {
        const BusClient client;
        const ModuleList modules = client.modules();
        text = daemonMetrics(client.properties()) + steps(client.steps()) + moduleMetrics(modules);
    } catch (const Failure &) {
        // A collector that reads the output must see that the daemon is gone, not the figures of last time.
        Console::write(single("up", "1 when the daemon answers.", QStringLiteral("0")) + QStringLiteral("# EOF\n"));
        throw;
    }
    Console::write(text + QStringLiteral("# EOF\n"));
    return ExitStatus::Done;
}

} // namespace

CommandList metricsCommands()
{
    Command command;
    command.name = QStringLiteral("metrics");
    command.summary = QStringLiteral("Print figures for a monitoring system (OpenMetrics)");
    command.description =
        QStringLiteral("For a node exporter's textfile collector. Without a daemon it prints jovara_up 0\n"
                       "and ends with status 3.");
    command.examples = QStringList{QStringLiteral("jovctl metrics"),
                                   QStringLiteral("jovctl metrics > jovara.prom.new; mv jovara.prom.new jovara.prom")};
    command.run = metrics;
    return {command};
}
