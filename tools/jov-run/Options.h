#ifndef OPTIONS_H
#define OPTIONS_H

#include <stdbool.h>

/* What the program does when it is ready. */
enum ReadyKind {
    readyAtOnce,
    readyTcp,
    readyUnix,
    readyFile,
    readyDescriptor,
    readyNotify,
    readyOutput,
    readyDelay,
};

enum Command { commandRun, commandNotify, commandEmit, commandWait, commandHelp };

enum { exitFailed = 1, exitUsage = 2, exitNotExecuted = 126 };

/* The highest descriptor of --ready=fd:N; those of jov-run in the program are above it. */
enum { highestReadyDescriptor = 63 };

struct Options
{
    enum Command command;
    const char *module; /* NULL: not given */
    enum ReadyKind ready;
    int number; /* the port, the descriptor or the milliseconds */
    const char *text; /* the path or the expression */
    int stopSignal;
    const char *stopCommand; /* NULL: the signal */
    char **words; /* of the program, or of the event; ends with NULL */
};

/* False after a usage error, which is printed. */
bool readOptions(int argc, char **argv, struct Options *options);
void printHelp(void);

#endif
