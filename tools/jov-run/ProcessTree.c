#include "ProcessTree.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

pid_t parentOf(pid_t pid)
{
    char path[32];
    char text[512];
    snprintf(path, sizeof path, "/proc/%d/stat", (int)pid);
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t size = file < 0 ? -1 : read(file, text, sizeof text - 1);
    if (file >= 0) {
        close(file);
    }
    if (size <= 0) {
        return 0;
    }
    text[size] = '\0';
    int parent = 0;
    /* The name before it can contain blanks and parentheses. */
    const char *end = strrchr(text, ')');
    return end && sscanf(end, ") %*c %d", &parent) == 1 ? parent : 0;
}

bool isBelow(pid_t pid, pid_t ancestor)
{
    while (pid > 0 && pid != ancestor) {
        pid = parentOf(pid);
    }
    return pid == ancestor;
}
