#ifndef FILE_STATE_H
#define FILE_STATE_H

#include <stdbool.h>
#include <stdint.h>

/* What changes in a file when somebody writes it or replaces it. */
struct FileState
{
    int64_t device, inode, size, seconds, nanoseconds;
};

/* False, and all 0, if there is none. */
bool readFileState(const char *path, struct FileState *state);

#endif
