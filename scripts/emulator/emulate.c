/* Stands in the place of an ARM program, so that programs can start each other by their paths, and becomes the emulator
 * of the one that it replaces: PROGRAM, or a copy of it, runs PROGRAM.ARCHITECTURE. The compiler gives SYSROOT,
 * ARCHITECTURE and EMULATORS, a folder with the two libraries and two links for each program: to itself, and to the
 * emulator, because the kernel takes a process's name from the file that it is told to run. */
#define _GNU_SOURCE
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    char own[4096], program[2 * sizeof own], emulator[2 * sizeof own];
    const ssize_t length = readlink("/proc/self/exe", own, sizeof own - 1);
    char **words = calloc((size_t)argc + 8, sizeof *words);
    if (length < 0 || !words) {
        return 127;
    }
    own[length] = 0;
    snprintf(emulator, sizeof emulator, "%s%s", EMULATORS, strrchr(own, '/'));
    snprintf(program, sizeof program, "%s.%s", emulator, ARCHITECTURE);
    /* A static program would not load the library, but leave it to others, which cannot load it. */
    char marker[sizeof program + sizeof ".static"];
    snprintf(marker, sizeof marker, "%s.static", program);
    const int isStatic = access(marker, F_OK) == 0;
    char *const beginning[] = {argv[0],
                               "-L",
                               SYSROOT,
                               isStatic ? "-U" : "-E",
                               isStatic ? "LD_PRELOAD" : "LD_PRELOAD=" EMULATORS "/in-program.so",
                               "-0",
                               argv[0],
                               program};
    memcpy(words, beginning, sizeof beginning);
    memcpy(words + 8, argv + 1, (size_t)argc * sizeof *words);
    setenv("LD_PRELOAD", EMULATORS "/in-emulator.so", 1);
    execv(emulator, words);
    perror(emulator);
    return 127;
}
