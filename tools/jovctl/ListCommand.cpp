#include "client/BusClient.h"
#include "jovctl/Command.h"
#include "jovctl/ModuleTable.h"

namespace {

ExitStatus list(const Arguments &arguments)
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

} // namespace

CommandList listCommands()
{
    return {{QStringLiteral("list"),
             list,
             QStringLiteral("List all modules with their states"),
             QString(),
             {QStringLiteral("jovctl list"),
              QStringLiteral("jovctl list --json | jq -r '.[] | select(.state != \"RUNNING\") | .name'")},
             {jsonOption(), {QStringLiteral("names"), QStringLiteral("Print only the names, one in a line")}}}};
}
