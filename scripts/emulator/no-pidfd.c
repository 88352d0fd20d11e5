/* Loaded into programs that run under qemu's user emulation. Its clone(2) knows no CLONE_PIDFD while its waitid(2) says that the
 * kernel does; Qt believes the second and can then start no process. Told that there is none, Qt forks as it always did. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdarg.h>
#include <stdlib.h>
#include <sys/syscall.h>

enum { fileOfProcess = 3 }; /* P_PIDFD */

/* What it starts may not be emulated, and an emulated program is given this library anew. */
__attribute__((constructor)) static void forget(void)
{
    unsetenv("LD_PRELOAD");
}

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
