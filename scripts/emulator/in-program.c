/* Loaded into programs that run under qemu's user emulation: what the emulator cannot do, done otherwise. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "adopt.h"

enum { fileOfProcess = 3 }; /* P_PIDFD */

/* What it starts may not be emulated, and an emulated program is given this library again. */
__attribute__((constructor)) static void forget(void)
{
    unsetenv("LD_PRELOAD");
}

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
    return real(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

/* Its vfork(2) is a fork(2), from which the C library's child cannot tell its parent why there is no program. */
int posix_spawn(pid_t *pid, const char *path, const posix_spawn_file_actions_t *actions,
                const posix_spawnattr_t *attributes, char *const arguments[], char *const environment[])
{
    static int (*real)(pid_t *, const char *, const posix_spawn_file_actions_t *, const posix_spawnattr_t *,
                       char *const[], char *const[]);
    if (access(path, X_OK) != 0) {
        return errno;
    }
    if (!real) {
        real = dlsym(RTLD_NEXT, "posix_spawn");
    }
    return real(pid, path, actions, attributes, arguments, environment);
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
