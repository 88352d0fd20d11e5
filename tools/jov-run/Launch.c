#include "Launch.h"

#include "Program.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <regex.h>
#include <sched.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

/* Descriptors are moved out of the way of those that a script uses, of fd:N, and of closed standard streams. */
enum { firstOwnDescriptor = highestReadyDescriptor + 37 };

/* What the program inherits, and what only jov-run has until it executes it. */
struct Inherited
{
    int lifeline;
    int source;
    int output[2];
};

static int moved(int descriptor)
{
    const int result = descriptor < 0 ? -1 : fcntl(descriptor, F_DUPFD_CLOEXEC, firstOwnDescriptor);
    if (result < 0) {
        return descriptor;
    }
    close(descriptor);
    return result;
}

static bool openPipe(int *forReading, int *forWriting)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    *forReading = moved(ends[0]);
    *forWriting = moved(ends[1]);
    return true;
}

/* A socket that any process of the network namespace can send to, and its name for NOTIFY_SOCKET; -1 on failure. */
static int openNotifySocket(char *name, size_t size)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    socklen_t length = sizeof address;
    const int on = 1;
    const int socketNumber = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    /* Bound to no name, it gets an abstract one of five characters: there is no file to remove. */
    if (socketNumber < 0 || setsockopt(socketNumber, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0
        || bind(socketNumber, (struct sockaddr *)&address, sizeof address.sun_family) != 0
        || getsockname(socketNumber, (struct sockaddr *)&address, &length) != 0) {
        return -1;
    }
    snprintf(name, size, "@%.*s", (int)(length - offsetof(struct sockaddr_un, sun_path) - 1), address.sun_path + 1);
    return socketNumber;
}

static bool openSource(const struct Options *options, struct Program *program, struct Inherited *inherited)
{
    char name[64];
    switch (options->ready) {
    case readyDescriptor:
        return openPipe(&program->source, &inherited->source) && fcntl(program->source, F_SETFL, O_NONBLOCK) == 0;
    case readyNotify:
        program->source = moved(openNotifySocket(name, sizeof name));
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

/* The folder of programs that only other programs execute is found from this one's: both can be moved together. */
static const char *helperPath(void)
{
    static char path[PATH_MAX + sizeof "/" JOV_RUN_HELPER];
    const ssize_t size = readlink("/proc/self/exe", path, PATH_MAX);
    if (size <= 0) {
        return "/proc/self/exe";
    }
    char *slash = memrchr(path, '/', (size_t)size);
    strcpy(slash ? slash + 1 : path, JOV_RUN_HELPER);
    return path;
}

static int refuseWithout(const char *helper)
{
    dprintf(STDERR_FILENO, "jov-run: cannot execute its helper %s: %s\n", helper, strerror(errno));
    return exitNotExecuted;
}

int executeHelper(char **arguments)
{
    const char *path = helperPath();
    execv(path, arguments);
    return refuseWithout(path);
}

struct Helper
{
    struct Program program;
    int executed; /* ends when the program is executed; a byte: it cannot be */
    int executedByProgram; /* its other end */
    const char *path;
    char **arguments;
};

static bool isExecuted(const struct Helper *helper)
{
    char failed = 0;
    ssize_t size = -1;
    close(helper->executedByProgram);
    do {
        size = read(helper->executed, &failed, 1);
    } while (size < 0 && errno == EINTR);
    return size == 0;
}

/* By the kernel's own calls: musl has them, and refuses. */
static void setPolicy(int policy)
{
    const int priority = 0;
    syscall(SYS_sched_setscheduler, 0, policy, &priority);
}

/* The end of the wait must not displace the program, which is about to start, from its processor: batch processes
   displace nobody. */
static bool isExecutedUndisturbed(const struct Helper *helper)
{
    const bool isUsual = syscall(SYS_sched_getscheduler, 0) == SCHED_OTHER;
    if (isUsual) {
        setPolicy(SCHED_BATCH);
    }
    const bool result = isExecuted(helper);
    if (isUsual) {
        setPolicy(SCHED_OTHER);
    }
    return result;
}

/* The helper reads from a pipe what it has of the program. */
static void handToHelper(const struct Helper *helper)
{
    const struct Program *program = &helper->program;
    const int kept[] = {program->handle, program->lifeline, program->source, program->output[0], program->output[1]};
    int forReading = -1;
    int forWriting = -1;
    setsid();
    for (size_t i = 0; i < sizeof kept / sizeof *kept; ++i) {
        fcntl(kept[i], F_SETFD, 0);
    }
    if (openPipe(&forReading, &forWriting) && write(forWriting, program, sizeof *program) == sizeof *program
        && dup2(forReading, STDIN_FILENO) == STDIN_FILENO) {
        execv(helper->path, helper->arguments);
    }
    refuseWithout(helper->path);
}

/* It returns, as the address sanitizer takes an _exit() on this stack for a fault. */
static int runHelper(void *argument)
{
    const struct Helper *helper = argument;
    if (isExecutedUndisturbed(helper)) {
        handToHelper(helper);
    }
    return 0;
}

static int cloneHelper(void *argument)
{
    static _Alignas(16) char stack[64 * 1024];
    return clone(runHelper, stack + sizeof stack, CLONE_VM | SIGCHLD, argument) < 0 ? errno : 0;
}

static int forkHelper(void *argument)
{
    const pid_t pid = fork();
    return pid == 0 ? runHelper(argument) : (pid < 0 ? errno : 0);
}

/* The C library of the helper decides what an expression is. That of jov-run can take more for one: references back,
   and repetitions of what is no character. */
static bool isSurelyExpression(const char *text)
{
    regex_t expression;
    for (const char *c = text; *c != '\0'; ++c) {
        if (*c == '\\' || ((*c == '^' || *c == '$') && c[1] != '\0' && strchr("*+?{", c[1]))) {
            return false;
        }
    }
    if (regcomp(&expression, text, REG_EXTENDED | REG_NOSUB) != 0) {
        return false;
    }
    regfree(&expression);
    return true;
}

/* Without a program to follow, the helper only says whether it understands the options. */
static int askHelper(void *argument)
{
    const struct Helper *helper = argument;
    const int null = open("/dev/null", O_RDONLY);
    if (null >= 0 && dup2(null, STDIN_FILENO) == STDIN_FILENO) {
        execv(helper->path, helper->arguments);
    }
    return refuseWithout(helper->path);
}

/* Executes `function` in a process between, or else `ifRefused`, and returns its exit status; -1: there is no process.

   The helper and the process between use this one's memory: a copy would only cost time. The process between sends no
   SIGCHLD when it ends: blocked, that would be left to the program. An emulator of single programs can do neither. */
static int runBetween(int (*function)(void *), int (*ifRefused)(void *), struct Helper *helper)
{
    static _Alignas(16) char stack[64 * 1024];
    int status = 0;
    pid_t between = clone(function, stack + sizeof stack, CLONE_VM | CLONE_VFORK, helper);
    if (between < 0 && (between = fork()) == 0) {
        _exit(ifRefused(helper));
    }
    if (between < 0) {
        return -1;
    }
    while (waitpid(between, &status, __WALL) < 0 && errno == EINTR) { }
    return WIFEXITED(status) ? WEXITSTATUS(status) : exitNotExecuted;
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

int launch(const struct Options *options, char **arguments)
{
    static struct Helper helper;
    static int unused;
    struct Inherited inherited = {.source = -1, .output = {-1, -1}};
    struct Program *program = &helper.program;
    *program = (struct Program){.pid = getpid(), .source = -1, .output = {-1, -1}};
    helper.path = helperPath();
    helper.arguments = arguments;
    if (access(helper.path, X_OK) != 0) {
        return refuseWithout(helper.path);
    }
    if (options->ready == readyOutput && !isSurelyExpression(options->text)) {
        const int status = runBetween(askHelper, askHelper, &helper);
        if (status != 0) {
            return status > 0 ? status : refuseToStart(options);
        }
    }
    if (options->ready == readyFile) {
        readFileState(options->text, &program->before);
    }
    program->handle = moved((int)syscall(SYS_pidfd_open, getpid(), 0));
    if (program->handle < 0 || !openPipe(&helper.executed, &helper.executedByProgram)
        || !armLifeline(options, program, &inherited) || !openSource(options, program, &inherited)
        || setenv("JOV_MODULE_NAME", options->module, 1) != 0) {
        return refuseToStart(options);
    }
    syscall(SYS_set_tid_address, &unused); /* execve() clears the word: the one of libc is the helper's */
    const int failure = runBetween(cloneHelper, forkHelper, &helper);
    if (failure != 0) {
        errno = failure > 0 ? failure : errno;
        return refuseToStart(options);
    }
    const int errorStream = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, firstOwnDescriptor);
    if (handOver(options, &inherited)) {
        execvp(options->words[0], options->words);
    }
    dprintf(errorStream, "jov-run: %s: cannot execute %s: %s\n", options->module, options->words[0], strerror(errno));
    /* The helper ends before this process does: that is no reason for a signal. */
    close(inherited.lifeline);
    (void)!write(helper.executedByProgram, "x", 1);
    return exitNotExecuted;
}
