#include "Launch.h"

#include "Follower.h"
#include "NotifySocket.h"

#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

/* Descriptors are moved out of the way of those that a script uses, and of fd:N. */
enum { firstOwnDescriptor = highestReadyDescriptor + 37 };

/* What the program inherits, and what only jov-run has until it executes it. */
struct Inherited
{
    int lifeline;
    int executed;
    int source;
    int output[2];
};

static bool openPipe(int *forReading, int *forWriting)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    int *const targets[2] = {forReading, forWriting};
    for (int i = 0; i < 2; ++i) {
        const int moved = fcntl(ends[i], F_DUPFD_CLOEXEC, firstOwnDescriptor);
        *targets[i] = moved < 0 ? ends[i] : moved;
        if (moved >= 0) {
            close(ends[i]);
        }
    }
    return true;
}

static bool openSource(const struct Options *options, struct Program *program, struct Inherited *inherited)
{
    char name[64];
    switch (options->ready) {
    case readyDescriptor:
        return openPipe(&program->source, &inherited->source) && fcntl(program->source, F_SETFL, O_NONBLOCK) == 0;
    case readyNotify:
        program->source = openNotifySocket(name, sizeof name);
        return program->source >= 0 && setenv("NOTIFY_SOCKET", name, 1) == 0;
    case readyOutput:
        return openPipe(&program->output[0], &inherited->output[0])
            && openPipe(&program->output[1], &inherited->output[1]);
    default:
        return true;
    }
}

/* The end of the pipe is announced by a signal: the kernel sends it also when the helper is killed. */
static bool armLifeline(const struct Options *options, struct Program *program, struct Inherited *inherited)
{
    return openPipe(&inherited->lifeline, &program->lifeline) && fcntl(inherited->lifeline, F_SETOWN, getpid()) == 0
        && fcntl(inherited->lifeline, F_SETSIG, options->stopSignal) == 0
        && fcntl(inherited->lifeline, F_SETFL, O_ASYNC) == 0 && fcntl(inherited->lifeline, F_SETFD, 0) == 0;
}

/* Leaves the helper its standard error and what it has of the program, from 3 on. */
static void keepOnly(struct Program *program, bool keepsOutput)
{
    int *const kept[] = {&program->handle, &program->lifeline, &program->source, &program->output[0],
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
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, STDIN_FILENO);
    if (!keepsOutput) {
        dup2(null, STDOUT_FILENO);
    }
    close(null);
}

struct Helper
{
    struct Program program;
    const struct Readiness *readiness;
    int executedByProgram; /* the other end of program.executed */
};

static bool isExecuted(const struct Helper *helper)
{
    char failed = 0;
    ssize_t size = -1;
    close(helper->executedByProgram);
    do {
        size = read(helper->program.executed, &failed, 1);
    } while (size < 0 && errno == EINTR);
    return size == 0;
}

/* The end of the wait must not displace the program, which is about to start, from its processor: batch processes
   displace nobody. */
static bool isExecutedUndisturbed(const struct Helper *helper)
{
    const struct sched_param usual = {0};
    const bool isUsual = sched_getscheduler(0) == SCHED_OTHER;
    if (isUsual) {
        sched_setscheduler(0, SCHED_BATCH, &usual);
    }
    const bool result = isExecuted(helper);
    if (isUsual) {
        sched_setscheduler(0, SCHED_OTHER, &usual);
    }
    return result;
}

/* Runs until the program ends. It returns, as the address sanitizer takes an _exit() on this stack for a fault. */
static int runHelper(void *argument)
{
    struct Helper *helper = argument;
    if (isExecutedUndisturbed(helper)) {
        setsid();
        keepOnly(&helper->program, helper->readiness->options->ready == readyOutput);
        follow(&helper->program, helper->readiness);
    }
    return 0;
}

static int cloneHelper(void *argument)
{
    static _Alignas(16) char stack[512 * 1024];
    return clone(runHelper, stack + sizeof stack, CLONE_VM | SIGCHLD, argument) < 0 ? errno : 0;
}

static int forkHelper(struct Helper *helper)
{
    const pid_t pid = fork();
    return pid == 0 ? runHelper(helper) : (pid < 0 ? errno : 0);
}

/* The helper and the process between use this one's memory, which is the helper's alone once the program is executed:
   a copy would only cost time. The process between sends no SIGCHLD when it ends: blocked, that would be left to the
   program. An emulator of single programs can do neither. */
static bool startHelper(struct Helper *helper)
{
    static _Alignas(16) char stack[16 * 1024];
    static int unused;
    int status = 0;
    syscall(SYS_set_tid_address, &unused); /* execve() clears the word: the one of libc is the helper's */
    pid_t between = clone(cloneHelper, stack + sizeof stack, CLONE_VM | CLONE_VFORK, helper);
    if (between < 0 && (between = fork()) == 0) {
        _exit(forkHelper(helper));
    }
    if (between < 0) {
        return false;
    }
    while (waitpid(between, &status, __WALL) < 0 && errno == EINTR) { }
    errno = WEXITSTATUS(status);
    return status == 0;
}

static bool handOver(const struct Options *options, const struct Inherited *inherited)
{
    return (inherited->source < 0 || dup2(inherited->source, options->number) >= 0)
        && (inherited->output[0] < 0
            || (dup2(inherited->output[0], STDOUT_FILENO) >= 0 && dup2(inherited->output[1], STDERR_FILENO) >= 0));
}

static int refuseToStart(const struct Options *options)
{
    fprintf(stderr, "jov-run: %s: cannot start its helper: %s\n", options->module, strerror(errno));
    return exitNotExecuted;
}

int launch(const struct Options *options)
{
    static struct Helper helper;
    struct Inherited inherited = {.source = -1, .output = {-1, -1}};
    struct Readiness readiness;
    struct Program *program = &helper.program;
    *program = (struct Program){.pid = getpid(), .source = -1, .output = {-1, -1}};
    helper.readiness = &readiness;
    beginReadiness(&readiness, options);
    program->handle = (int)syscall(SYS_pidfd_open, getpid(), 0);
    if (program->handle < 0 || !openPipe(&program->executed, &inherited.executed)
        || !armLifeline(options, program, &inherited) || !openSource(options, program, &inherited)
        || setenv("JOV_MODULE_NAME", options->module, 1) != 0) {
        return refuseToStart(options);
    }
    helper.executedByProgram = inherited.executed;
    if (!startHelper(&helper)) {
        return refuseToStart(options);
    }
    const int errorStream = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, firstOwnDescriptor);
    if (handOver(options, &inherited)) {
        execvp(options->words[0], options->words);
    }
    dprintf(errorStream, "jov-run: %s: cannot execute %s: %s\n", options->module, options->words[0], strerror(errno));
    /* The helper ends before this process does: that is no reason for a signal. */
    close(inherited.lifeline);
    (void)!write(inherited.executed, "x", 1);
    return exitNotExecuted;
}
