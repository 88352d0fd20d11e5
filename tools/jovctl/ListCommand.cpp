#include "client/BusClient.h"
#include "jovctl/Command.h"
#include "jovctl/ModuleTable.h"

ExitStatus Commands::list(const Arguments &arguments)
{
    const ModuleList modules = BusClient().modules();
    if (arguments.isSet(QStringLiteral("names"))) {
        for (const ModuleInfo &module : modules) {
            Console::writeLine(Console::printable(module.name));
        }
    } else {
        moduleTable(modules).print(arguments.wantsJson());
    }
    return ExitStatus::Done;
}
