#include "Launch.h"
#include "ScriptCommands.h"

int main(int argc, char **argv)
{
    static struct Options options;
    if (!readOptions(argc, argv, &options)) {
        return exitUsage;
    }
    switch (options.command) {
    case commandNotify:
        return notify(&options);
    case commandEmit:
        return emit(&options);
    case commandWait:
        return waitForEvent(&options);
    case commandHelp:
        printHelp();
        return 0;
    default:
        return launch(&options);
    }
}
