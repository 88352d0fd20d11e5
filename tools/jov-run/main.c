#include "Launch.h"

int main(int argc, char **argv)
{
    static struct Options options;
    if (!readOptions(argc, argv, &options)) {
        return exitUsage;
    }
    switch (options.command) {
    case commandRun:
        return launch(&options, argv);
    case commandHelp:
        printHelp();
        return 0;
    default:
        return executeHelper(argv);
    }
}
