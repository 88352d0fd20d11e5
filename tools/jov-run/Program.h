#ifndef PROGRAM_H
#define PROGRAM_H

#include "FileState.h"

/*
 * What the helper has of the program. jov-run writes it to the helper's standard input: the two can be built with
 * different C libraries, so there is no type of theirs in it.
 */
struct Program
{
    int32_t pid;
    int32_t handle; /* a descriptor of the process, which no other process can get */
    int32_t lifeline; /* the program gets its stop signal when the last process that has this open ends */
    int32_t source; /* of its readiness; -1 for the kinds without */
    int32_t output[2]; /* of its standard output and standard error; -1 for all kinds but output: */
    struct FileState before; /* the file of file: before the program; what an earlier run has left announces nothing */
};

#endif
