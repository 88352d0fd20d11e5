#include "Options.h"

#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char help[] = "Usage: jov-run [OPTION...] --moduleName=NAME -- PROGRAM [ARGUMENT...]\n"
                           "       jov-run [--moduleName=NAME] --notify [KEY=VALUE...]\n"
                           "       jov-run [--moduleName=NAME] --emit EVENT [KEY=VALUE...]\n"
                           "       jov-run --wait EVENT\n"
                           "\n"
                           "Makes PROGRAM the module NAME: executes it in this process, announces its\n"
                           "readiness, and sends it a signal when the supervisor asks the module to stop.\n"
                           "\n"
                           "  --ready=at-once        ready when PROGRAM is executed (default)\n"
                           "  --ready=tcp:PORT       ... it, or a descendant, listens on the TCP port\n"
                           "  --ready=unix:PATH      ... it, or a descendant, listens on the socket\n"
                           "  --ready=file:PATH      ... the file is created or changed\n"
                           "  --ready=fd:N           ... it writes a line feed to descriptor N (1 to 63)\n"
                           "  --ready=notify         ... it sends READY=1 to $NOTIFY_SOCKET\n"
                           "  --ready=output:REGEX   ... it prints a line that matches REGEX (grep -E)\n"
                           "  --ready=delay:MS       ... it has run for MS milliseconds\n"
                           "  --stop-signal=SIGNAL   the signal that ends PROGRAM (default: TERM)\n"
                           "  --stop-command=COMMAND a shell command that ends the process $JOV_MODULE_PID\n"
                           "\n"
                           "For scripts:\n"
                           "  --notify   report READY=1, or the KEY=VALUE given, to jov-run --ready=notify;\n"
                           "             without it, announce the readiness of the module on the bus\n"
                           "  --emit     send an event\n"
                           "  --wait     wait for an event and print its arguments\n"
                           "\n"
                           "PROGRAM finds the name of its module in $JOV_MODULE_NAME.\n"
                           "\n"
                           "Exit status: that of PROGRAM; 126 PROGRAM cannot be executed, 2 wrong usage. Of\n"
                           "the commands for scripts: 0 done, 1 the bus cannot be reached, 2 wrong usage.\n";

struct Kind
{
    const char *name;
    enum ReadyKind kind;
    int lowest, highest; /* of the number after the name; both 0: a text, or nothing */
};

static const struct Kind kinds[] = {
    {"at-once", readyAtOnce, 0, 0},     {"notify", readyNotify, 0, 0},
    {"tcp:", readyTcp, 1, 65535},       {"fd:", readyDescriptor, 1, highestReadyDescriptor},
    {"delay:", readyDelay, 0, INT_MAX}, {"unix:", readyUnix, 0, 0},
    {"file:", readyFile, 0, 0},         {"output:", readyOutput, 0, 0},
};

void printHelp(void)
{
    fputs(help, stdout);
}

static bool refuse(const char *argument, const char *reason)
{
    fprintf(stderr, "jov-run: %s: %s. Try: jov-run --help\n", argument, reason);
    return false;
}

static bool readNumber(const char *text, int lowest, int highest, int *number)
{
    if (text[0] == '\0' || strspn(text, "0123456789") != strlen(text) || strlen(text) > 10) {
        return false;
    }
    const long long value = atoll(text);
    *number = (int)value;
    return value >= lowest && value <= highest;
}

static bool readReady(const char *argument, const char *value, struct Options *options)
{
    for (size_t i = 0; i < sizeof kinds / sizeof *kinds; ++i) {
        const struct Kind *kind = &kinds[i];
        const size_t length = strlen(kind->name);
        const bool hasMore = kind->name[length - 1] == ':';
        if (strncmp(value, kind->name, length) != 0 || (value[length] != '\0') != hasMore) {
            continue;
        }
        options->ready = kind->kind;
        options->text = value + length;
        if (kind->highest != 0 && !readNumber(options->text, kind->lowest, kind->highest, &options->number)) {
            return refuse(argument, "the number is not one, or out of range");
        }
        return true;
    }
    return refuse(argument, "unknown readiness, or its value is missing");
}

/* Without sigabbrev_np(), which not each C library has. */
static const char *const signalNames[] = {
    [SIGHUP] = "HUP",   [SIGINT] = "INT",   [SIGQUIT] = "QUIT", [SIGILL] = "ILL",     [SIGTRAP] = "TRAP",
    [SIGABRT] = "ABRT", [SIGBUS] = "BUS",   [SIGFPE] = "FPE",   [SIGKILL] = "KILL",   [SIGUSR1] = "USR1",
    [SIGSEGV] = "SEGV", [SIGUSR2] = "USR2", [SIGPIPE] = "PIPE", [SIGALRM] = "ALRM",   [SIGTERM] = "TERM",
    [SIGCHLD] = "CHLD", [SIGCONT] = "CONT", [SIGSTOP] = "STOP", [SIGTSTP] = "TSTP",   [SIGTTIN] = "TTIN",
    [SIGTTOU] = "TTOU", [SIGURG] = "URG",   [SIGXCPU] = "XCPU", [SIGXFSZ] = "XFSZ",   [SIGVTALRM] = "VTALRM",
    [SIGPROF] = "PROF", [SIGPOLL] = "POLL", [SIGPWR] = "PWR",   [SIGWINCH] = "WINCH", [SIGSYS] = "SYS",
};

static bool readSignal(const char *argument, const char *value, struct Options *options)
{
    const char *name = strncmp(value, "SIG", 3) == 0 ? value + 3 : value;
    for (int number = 1; number < (int)(sizeof signalNames / sizeof *signalNames); ++number) {
        if (signalNames[number] && strcmp(signalNames[number], name) == 0) {
            options->stopSignal = number;
            return true;
        }
    }
    return readNumber(value, 1, NSIG - 1, &options->stopSignal) || refuse(argument, "unknown signal");
}

/* The value of --NAME=VALUE, or NULL. */
static const char *valueOf(const char *argument, const char *option)
{
    const size_t length = strlen(option);
    return strncmp(argument, option, length) == 0 ? argument + length : NULL;
}

static bool readOption(const char *argument, struct Options *options)
{
    const char *value = NULL;
    if ((value = valueOf(argument, "--moduleName="))) {
        options->module = value;
        return *value != '\0' || refuse(argument, "the name is empty");
    }
    if ((value = valueOf(argument, "--ready="))) {
        return readReady(argument, value, options);
    }
    if ((value = valueOf(argument, "--stop-signal="))) {
        return readSignal(argument, value, options);
    }
    if ((value = valueOf(argument, "--stop-command="))) {
        options->stopCommand = value;
        return *value != '\0' || refuse(argument, "the command is empty");
    }
    return refuse(argument, "unknown option; the program's own arguments follow it, after --");
}

static bool arePairs(char **words)
{
    for (; *words; ++words) {
        const char *sign = strchr(*words, '=');
        if (!sign || sign == *words) {
            return refuse(*words, "not KEY=VALUE");
        }
    }
    return true;
}

static bool checkWords(const struct Options *options)
{
    char **words = options->words;
    switch (options->command) {
    case commandNotify:
        return arePairs(words);
    case commandEmit:
        return (words[0] && words[0][0] != '\0') ? arePairs(words + 1) : refuse("--emit", "the event is missing");
    case commandWait:
        return (words[0] && words[0][0] != '\0' && !words[1]) || refuse("--wait", "needs one event");
    case commandRun:
        if (!words || !words[0]) {
            return refuse("--", "the program is missing");
        }
        return options->module
            || refuse("--moduleName=NAME",
                      "missing. The supervisor gives it to the module as its first argument: "
                      "pass it on with \"$1\"");
    default:
        return true;
    }
}

static enum Command commandOf(const char *argument)
{
    static const char *const names[] = {"--", "--notify", "--emit", "--wait", "--help"};
    for (int i = 0; i <= commandHelp; ++i) {
        if (strcmp(argument, names[i]) == 0) {
            return (enum Command)i;
        }
    }
    return (enum Command) - 1;
}

bool readOptions(int argc, char **argv, struct Options *options)
{
    memset(options, 0, sizeof *options);
    options->stopSignal = SIGTERM;
    static char *none[] = {NULL};
    options->words = none;
    for (int i = 1; i < argc; ++i) {
        const enum Command command = commandOf(argv[i]);
        if (command != (enum Command) - 1) {
            options->command = command;
            options->words = argv + i + 1;
            break;
        }
        if (!readOption(argv[i], options)) {
            return false;
        }
    }
    return checkWords(options);
}
