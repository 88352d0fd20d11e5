#include "Follower.h"
#include "ScriptCommands.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <unistd.h>

/* Keeps the standard error and what there is of the program, from 3 on. */
static void keepOnly(struct Program *program, bool keepsOutput)
{
    int32_t *const kept[] = {&program->handle, &program->lifeline, &program->source, &program->output[0],
                             &program->output[1]};
    const int count = sizeof kept / sizeof *kept;
    for (int i = 0; i < count; ++i) {
        const int moved = *kept[i] < 0 ? -1 : fcntl(*kept[i], F_DUPFD_CLOEXEC, 16);
        *kept[i] = moved;
    }
    int next = STDERR_FILENO + 1;
    for (int i = 0; i < count; ++i) {
        if (*kept[i] >= 0) {
            *kept[i] = dup3(*kept[i], next++, O_CLOEXEC);
        }
    }
    closefrom(next);
    int null = -1;
    do { /* a standard stream that is closed would become the connection to the bus */
        null = open("/dev/null", O_RDWR | O_CLOEXEC);
    } while (null >= 0 && null <= STDERR_FILENO);
    dup2(null, STDIN_FILENO);
    if (!keepsOutput) {
        dup2(null, STDOUT_FILENO);
    }
    close(null);
}

/* The program is on the standard input; there is none if jov-run only asks whether the options are right. */
static int followProgram(const struct Options *options)
{
    struct Program program;
    static regex_t line;
    const bool hasLine = options->ready == readyOutput;
    if (hasLine && regcomp(&line, options->text, REG_EXTENDED | REG_NOSUB) != 0) {
        fprintf(stderr, "jov-run: --ready=output:%s: not an extended regular expression. Try: jov-run --help\n",
                options->text);
        return exitUsage;
    }
    if (read(STDIN_FILENO, &program, sizeof program) == sizeof program) {
        prctl(PR_SET_NAME, "jov-run");
        keepOnly(&program, hasLine);
        follow(&program, options, hasLine ? &line : NULL);
    }
    return 0;
}

/* Follows a program that jov-run has executed, or executes one of the commands for scripts. */
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
        return followProgram(&options);
    }
}
