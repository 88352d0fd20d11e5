/* Loaded into the emulator itself, so that a process looks to others, and to the kernel, as it would without one. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <signal.h>
#include <stdarg.h>
#include <string.h>
#include <sys/prctl.h>

#include "adopt.h"

enum { ownWords = 7 }; /* what emulate.c puts behind the first word, up to the program */

/* The command line is that of the program alone. The kernel shows what stands in the memory where it put the words, so
 * the emulator gets copies of them, and theirs is overwritten. */
__attribute__((constructor)) static void hideOwnWords(int argc, char **argv)
{
    char *shown = argv[0];
    char *const end = argv[argc - 1] + strlen(argv[argc - 1]) + 1;
    for (int i = 0; i < argc; ++i) {
        argv[i] = strdup(argv[i]);
    }
    for (int i = 0; i < argc; ++i) {
        if (i == 0 || i > ownWords) {
            shown = stpcpy(shown, argv[i]) + 1;
        }
    }
    memset(shown, 0, (size_t)(end - shown));
}

/* The emulator begins by taking every signal that ends a process, and ends the process itself then. Left to the kernel
 * until the program takes it, SIGTERM is caught exactly when the program catches it. */
int sigaction(int number, const struct sigaction *action, struct sigaction *old)
{
    static int (*real)(int, const struct sigaction *, struct sigaction *);
    static int isBegun;
    if (!real) {
        real = (int (*)(int, const struct sigaction *, struct sigaction *))dlsym(RTLD_NEXT, "sigaction");
    }
    if (number == SIGTERM && action && !isBegun) {
        isBegun = 1;
        return 0;
    }
    return real(number, action, old);
}

/* See adopt.h. */
int prctl(int option, ...)
{
    static int (*real)(int, ...);
    unsigned long a[4];
    va_list list;
    va_start(list, option);
    for (int i = 0; i < 4; ++i) {
        a[i] = va_arg(list, unsigned long);
    }
    va_end(list);
    if (!real) {
        real = (int (*)(int, ...))dlsym(RTLD_NEXT, "prctl");
    }
    if (option == passedOn && a[0] == adopt) {
        return real(PR_SET_CHILD_SUBREAPER, 1UL, 0UL, 0UL, 0UL);
    }
    return real(option, a[0], a[1], a[2], a[3]);
}
