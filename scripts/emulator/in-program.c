/* Loaded into programs that run under qemu's user emulation: what the emulator cannot do, done otherwise. */
#define _GNU_SOURCE
#include "adopt.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdarg.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

enum { fileOfProcess = 3 }; /* P_PIDFD */

/* What it starts may not be emulated, and an emulated program is given this library again. */
__attribute__((constructor)) static void forget(void)
{
    unsetenv("LD_PRELOAD");
}

static int failure = -1; /* of exec, in a child: who started it reads that */

/* Its clone(2) knows no CLONE_PIDFD while its waitid(2) says that the kernel does; Qt believes the second and can then
 * start no process. Told that there is none, Qt forks as it always did. */
long syscall(long number, ...)
{
    static long (*real)(long, ...);
    long a[6];
    va_list list;
    va_start(list, number);
    for (int i = 0; i < 6; ++i) {
        a[i] = va_arg(list, long);
    }
    va_end(list);
    if (number == SYS_waitid && a[0] == fileOfProcess) {
        errno = ENOSYS;
        return -1;
    }
    if (!real) {
        real = (long (*)(long, ...))dlsym(RTLD_NEXT, "syscall");
    }
    if (number == SYS_close_range && failure > a[0]) {
        real(number, a[0], (long)failure - 1, a[2]);
        a[0] = failure + 1;
    }
    return real(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

/* Its vfork(2) is a fork(2), from which the child cannot tell its parent why there is no program. */
int clone(int (*function)(void *), void *stack, int flags, void *argument, ...)
{
    static int (*real)(int (*)(void *), void *, int, void *, ...);
    int ends[2];
    int error = 0;
    if (!real) {
        real = (int (*)(int (*)(void *), void *, int, void *, ...))dlsym(RTLD_NEXT, "clone");
    }
    if ((flags & (CLONE_VFORK | SIGCHLD)) != (CLONE_VFORK | SIGCHLD) || pipe2(ends, O_CLOEXEC) != 0) {
        return real(function, stack, flags, argument);
    }
    const pid_t pid = fork();
    if (pid == 0) {
        close(ends[0]);
        failure = ends[1];
        _exit(function(argument));
    }
    close(ends[1]);
    if (pid > 0 && read(ends[0], &error, sizeof error) > 0) {
        waitpid(pid, NULL, 0);
    }
    close(ends[0]);
    errno = error == 0 ? errno : error;
    return error == 0 ? pid : -1;
}

int execve(const char *path, char *const arguments[], char *const environment[])
{
    const int result = (int)syscall(SYS_execve, path, arguments, environment);
    if (failure >= 0) {
        (void)!write(failure, &errno, sizeof errno);
    }
    return result;
}

/* See adopt.h. */
int prctl(int option, ...)
{
    long a[4];
    va_list list;
    va_start(list, option);
    for (int i = 0; i < 4; ++i) {
        a[i] = va_arg(list, long);
    }
    va_end(list);
    if (option == PR_SET_CHILD_SUBREAPER) {
        return (int)syscall(SYS_prctl, passedOn, adopt, 0, 0, 0);
    }
    return (int)syscall(SYS_prctl, option, a[0], a[1], a[2], a[3]);
}

/* Its name where time_t has been widened. */
int __prctl_time64(int option, ...) __attribute__((alias("prctl"), copy(prctl)));
