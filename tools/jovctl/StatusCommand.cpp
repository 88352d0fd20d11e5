#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Units.h"
#include "jovctl/Command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

constexpr int labelWidth = 14;

void line(const char *label, const QString &text)
{
    Console::writeLine(QStringLiteral("  %1%2").arg(QLatin1String(label), -labelWidth).arg(text));
}

const StepInfo *findStep(const StepList &steps, const QString &name)
{
    const auto found =
        std::find_if(steps.begin(), steps.end(), [&](const StepInfo &step) { return step.name == name; });
    return found == steps.end() ? nullptr : &*found;
}

QString ago(quint64 time)
{
    const quint64 now = Units::now();
    return time == 0 ? QStringLiteral("never") : Units::duration(now > time ? now - time : 0) + QStringLiteral(" ago");
}

QString ceiling(int maxMemory)
{
    if (maxMemory <= 0) {
        return QStringLiteral("none");
    }
    return maxMemory < 100 ? QStringLiteral("%1 % of the terminal's memory").arg(maxMemory) : Units::memory(maxMemory);
}

QString withStates(const QStringList &names, const ModuleList &modules)
{
    QStringList parts;
    for (const QString &name : names) {
        const ModuleInfo *module = findModule(modules, name);
        const QString state = module ? module->state : QStringLiteral("no such module");
        parts << QStringLiteral("%1 (%2)").arg(Console::printable(name),
                                               Console::coloured(state, Console::colourOfState(state)));
    }
    return parts.isEmpty() ? QStringLiteral("none") : parts.join(QStringLiteral(", "));
}

QString unsettled(const ModuleInfo &module)
{
    if (module.state == QLatin1String("STOPPING")) {
        return QStringLiteral("it was asked to end and has not yet");
    }
    if (module.state == QLatin1String("WEB_CLIENT_STARTED")) {
        return QStringLiteral("it has not announced its presentation yet");
    }
    return module.isLaunched() ? QStringLiteral("it has not announced the end of its initialisation yet")
                               : QStringLiteral("it was not launched; the daemon's log says why");
}

/// Why the module does not run, in one line; empty when it does.
QString reason(const ModuleInfo &module, const ModuleList &modules, const StepList &steps, const QVariantMap &manager)
{
    if (module.isRunning()) {
        return QString();
    }
    const StepInfo *step = findStep(steps, module.step);
    if (!step) {
        return QStringLiteral("there is no step \"%1\" in initStep.xml, so it is never started").arg(module.step);
    }
    for (const QString &name : module.dependencies) {
        const ModuleInfo *other = findModule(modules, name);
        if (!other || !other->isRunning()) {
            return QStringLiteral("it depends on %1, which does not run").arg(name);
        }
    }
    if (!module.isStopped()) {
        return unsettled(module);
    }
    if (module.exitedAt > module.launchedAt) {
        return QStringLiteral("its process ended %1 (%2, exit code %3)")
            .arg(ago(module.exitedAt), module.status)
            .arg(module.exitCode);
    }
    if (manager.value(QStringLiteral("StartFailed")).toBool()) {
        return QStringLiteral("the start-up failed or was stopped before its turn");
    }
    const int reached = manager.value(QStringLiteral("CurrentStep")).toInt();
    return step->value > reached
        ? QStringLiteral("the start-up is at step %1, its step has the value %2").arg(reached).arg(step->value)
        : QStringLiteral("it was stopped, or could not be launched");
}

void print(const ModuleInfo &module, const ModuleList &modules, const QString &why)
{
    Console::writeLine(Console::coloured(Console::printable(module.name), Console::Colour::Bold));
    line("State",
         Console::coloured(module.isStopped() && module.state.isEmpty() ? QStringLiteral("-") : module.state,
                           Console::colourOfState(module.state)));
    if (!why.isEmpty()) {
        line("Why", Console::printable(why));
    }
    line("Step", Console::printable(module.step));
    line("Status", Console::printable(module.status));
    line("Pid", module.pid ? QString::number(module.pid) : QStringLiteral("-"));
    line("Starts", QString::number(module.starts));
    line("Launched", ago(module.launchedAt));
    line("Ready",
         module.startDuration() ? QStringLiteral("%1 later").arg(Units::duration(module.startDuration()))
                                : QStringLiteral("not in this run"));
    if (module.exitedAt) {
        line("Last exit", QStringLiteral("%1, code %2").arg(ago(module.exitedAt)).arg(module.exitCode));
    }
    line("Memory limit", ceiling(module.maxMemory));
    line("Depends on", withStates(module.dependencies, modules));
    line("Needed by", withStates(module.dependents, modules));
}

QJsonObject object(const ModuleInfo &module, const QString &why)
{
    return {{QStringLiteral("name"), module.name},
            {QStringLiteral("state"), module.state},
            {QStringLiteral("why"), why},
            {QStringLiteral("step"), module.step},
            {QStringLiteral("status"), module.status},
            {QStringLiteral("pid"), qint64(module.pid)},
            {QStringLiteral("starts"), qint64(module.starts)},
            {QStringLiteral("launchedAt"), qint64(module.launchedAt)},
            {QStringLiteral("readyAt"), qint64(module.readyAt)},
            {QStringLiteral("exitedAt"), qint64(module.exitedAt)},
            {QStringLiteral("exitCode"), module.exitCode},
            {QStringLiteral("maxMemory"), module.maxMemory},
            {QStringLiteral("dependencies"), QJsonArray::fromStringList(module.dependencies)},
            {QStringLiteral("dependents"), QJsonArray::fromStringList(module.dependents)}};
}

ExitStatus status(const Arguments &arguments)
{
    const BusClient client;
    const ModuleList modules = client.modules();
    const StepList steps = client.steps();
    const QVariantMap manager = client.properties();
    checkNames(modules, arguments.operands());
    QJsonArray array;
    const QStringList names = arguments.operands();
    for (const QString &name : names) {
        const ModuleInfo &module = *findModule(modules, name);
        const QString why = reason(module, modules, steps, manager);
        if (arguments.wantsJson()) {
            array << object(module, why);
        } else {
            print(module, modules, why);
        }
    }
    if (arguments.wantsJson()) {
        Console::write(QString::fromUtf8(QJsonDocument(array).toJson()));
    }
    return ExitStatus::Done;
}

} // namespace

CommandList statusCommands()
{
    Command command;
    command.name = QStringLiteral("status");
    command.synopsis = QStringLiteral("NAME...");
    command.summary = QStringLiteral("Show all about a module, and why it does not run");
    command.examples =
        QStringList{QStringLiteral("jovctl status JovGate"), QStringLiteral("jovctl status --json JovGate Platform")};
    command.options = QList<QCommandLineOption>{jsonOption()};
    command.fewest = 1;
    command.most = -1;
    command.run = status;
    return {command};
}
