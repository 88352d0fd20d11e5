#include "client/BusClient.h"
#include "jovctl/Command.h"
#include "jovctl/ModuleTable.h"

#include <QJsonDocument>

ExitStatus Commands::list(const Arguments &arguments)
{
    const ModuleList modules = BusClient().modules();
    const bool namesOnly = arguments.isSet(QStringLiteral("names"));
    if (namesOnly && arguments.wantsJson()) {
        Console::writeJson(QJsonDocument(QJsonArray::fromStringList(moduleNames(modules))));
    } else if (namesOnly) {
        for (const ModuleInfo &module : modules) {
            Console::writeLine(Console::printable(module.name));
        }
    } else {
        moduleTable(modules).print(arguments.wantsJson());
    }
    return ExitStatus::Done;
}
