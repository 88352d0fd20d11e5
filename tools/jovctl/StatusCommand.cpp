#include "client/BusClient.h"
#include "client/Units.h"
#include "jovctl/Command.h"
#include "jovctl/ModuleTable.h"
#include "jovctl/OutputFile.h"
#include "jovctl/Overview.h"
#include "jovctl/Reason.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr int labelWidth = 14;
constexpr int outputLines = 5;

void line(const char *label, const QString &text)
{
    Console::writeLine(QStringLiteral("  %1%2").arg(QLatin1String(label), -labelWidth).arg(text));
}

QString limit(const MemoryCeiling &ceiling)
{
    if (!ceiling.isSet()) {
        return QStringLiteral("none");
    }
    return ceiling.isPercentage() ? QStringLiteral("%1 % of the terminal's memory").arg(ceiling.figure())
                                  : Units::memory(ceiling.figure());
}

QString withStates(const QStringList &names, const ModuleList &modules)
{
    QStringList parts;
    for (const QString &name : names) {
        const ModuleInfo *module = findModule(modules, name);
        parts << QStringLiteral("%1 (%2)").arg(
            Console::printable(name),
            Console::colouredState(module ? module->stateText : QStringLiteral("unknown module")));
    }
    return parts.isEmpty() ? QStringLiteral("none") : parts.join(QStringLiteral(", "));
}

void print(const ModuleInfo &module, const ModuleList &modules, const QString &why)
{
    Console::writeLine(Console::coloured(Console::printable(module.name), Console::Colour::Bold));
    line("State", Console::colouredState(module.stateText));
    if (!why.isEmpty()) {
        line("Why", Console::printable(why));
    }
    line("Step", Console::printable(module.step));
    line("Status", Console::printable(module.statusText()));
    line("Pid", module.pid ? QString::number(module.pid) : QStringLiteral("-"));
    line("Starts", QString::number(module.starts));
    line("Launched", Units::ago(module.launchedAt));
    line("Ready",
         module.startDuration() ? QStringLiteral("%1 after the launch").arg(Units::duration(module.startDuration()))
                                : QStringLiteral("not since the last launch"));
    if (module.exitedAt) {
        line("Last exit", QStringLiteral("%1, %2").arg(Units::ago(module.exitedAt), module.lastExit()));
    }
    line("Memory limit", limit(module.maxMemory));
    line("Depends on", withStates(module.dependencies, modules));
    line("Needed by", withStates(module.dependents, modules));
    const QStringList printed = outputSetting().lastLines(module.name, outputLines);
    for (const QString &text : printed) {
        line(&text == &printed.first() ? "Printed" : "", Console::printable(text));
    }
}

} // namespace

ExitStatus Commands::status(const Arguments &arguments)
{
    const BusClient client;
    const QStringList names = arguments.operands();
    if (names.isEmpty()) {
        return showOverview(client, arguments.wantsJson());
    }
    const ModuleList modules = client.modules();
    QJsonArray array;
    ExitStatus result = ExitStatus::Done;
    for (const QString &name : names) {
        const ModuleInfo *module = findModule(modules, name);
        if (!module) {
            continue; // The others are shown all the same.
        }
        const QString why = module->isRunning() ? QString() : reasonNotRunning(*module, modules, client);
        result = module->isRunning() ? result : ExitStatus::NotUp;
        if (arguments.wantsJson()) {
            QJsonObject object = moduleTable({*module}).json().first().toObject();
            object.insert(QStringLiteral("why"), why);
            array << object;
        } else {
            print(*module, modules, why);
        }
    }
    if (arguments.wantsJson()) {
        Console::writeJson(QJsonDocument(array));
    }
    checkNames(modules, names);
    return result;
}

ExitStatus Commands::isRunning(const Arguments &arguments)
{
    const ModuleList modules = BusClient().modules();
    const QStringList names = arguments.operands();
    checkNames(modules, names);
    ExitStatus result = ExitStatus::Done;
    for (const QString &name : names) {
        const ModuleInfo &module = *findModule(modules, name);
        result = module.isRunning() ? result : ExitStatus::NotUp;
        if (!arguments.isSet(QStringLiteral("q"))) {
            Console::writeLine(QStringLiteral("%1 %2").arg(Console::printable(name), module.stateText));
        }
    }
    return result;
}
