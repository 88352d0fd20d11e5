#include "ListeningSockets.h"

#include "ProcessTree.h"

#include <dirent.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

enum { tcpListen = 0x0a, acceptsConnections = 0x10000, datagrams = 2 };

/* A line of /proc/net/unix is not longer than its numbers and a path. */
enum { longestLine = 64 + PATH_MAX };

static bool hasDescriptorOf(const char *pid, unsigned long inode)
{
    char path[300];
    char wanted[48];
    char target[48];
    snprintf(wanted, sizeof wanted, "socket:[%lu]", inode);
    snprintf(path, sizeof path, "/proc/%s/fd", pid);
    DIR *folder = opendir(path);
    if (!folder) {
        return false;
    }
    bool isFound = false;
    for (const struct dirent *entry = NULL; !isFound && (entry = readdir(folder));) {
        const ssize_t length = readlinkat(dirfd(folder), entry->d_name, target, sizeof target - 1);
        if (length > 0) {
            target[length] = '\0';
            isFound = strcmp(target, wanted) == 0;
        }
    }
    closedir(folder);
    return isFound;
}

static bool isSocketOf(pid_t program, unsigned long inode)
{
    DIR *folder = opendir("/proc");
    bool isFound = false;
    for (const struct dirent *entry = NULL; folder && !isFound && (entry = readdir(folder));) {
        const pid_t pid = (pid_t)atoi(entry->d_name);
        isFound = pid > 0 && isBelow(pid, program) && hasDescriptorOf(entry->d_name, inode);
    }
    if (folder) {
        closedir(folder);
    }
    return isFound;
}

/* In the text "SLOT: ADDRESS:PORT ADDRESS:PORT STATE ..." of /proc/net/tcp, and of tcp6. */
static bool isTcpListener(pid_t program, const char *line, const void *port)
{
    unsigned found = 0;
    unsigned state = 0;
    unsigned long inode = 0;
    return sscanf(line, "%*d: %*[0-9A-F]:%x %*[0-9A-F]:%*x %x %*x:%*x %*x:%*x %*x %*u %*u %lu", &found, &state, &inode)
        == 3
        && state == tcpListen && found == *(const unsigned *)port && isSocketOf(program, inode);
}

/* The program may have bound the socket by another path, from its own directory or through a link. */
static bool isSameFile(pid_t program, const char *path, const char *bound)
{
    char fromProgram[longestLine];
    snprintf(fromProgram, sizeof fromProgram, "/proc/%d/%s/%s", (int)program, bound[0] == '/' ? "root" : "cwd", bound);
    struct stat wanted;
    struct stat found;
    return strcmp(path, bound) == 0
        || (stat(path, &wanted) == 0 && stat(fromProgram, &found) == 0 && wanted.st_dev == found.st_dev
            && wanted.st_ino == found.st_ino);
}

static bool isUnixListener(pid_t program, const char *line, const void *path)
{
    unsigned long flags = 0;
    unsigned type = 0;
    unsigned long inode = 0;
    int begin = 0;
    return sscanf(line, "%*[^:]: %*x %*x %lx %x %*x %lu %n", &flags, &type, &inode, &begin) == 3 && begin > 0
        && line[begin] != '\0' && ((flags & acceptsConnections) != 0 || type == datagrams)
        && isSameFile(program, path, line + begin) && isSocketOf(program, inode);
}

static bool anyLine(pid_t program, const char *table, bool (*matches)(pid_t, const char *, const void *),
                    const void *wanted)
{
    char line[longestLine];
    snprintf(line, sizeof line, "/proc/%d/net/%s", (int)program, table);
    FILE *file = fopen(line, "re");
    bool isFound = false;
    while (file && !isFound && fgets(line, sizeof line, file)) {
        line[strcspn(line, "\n")] = '\0';
        isFound = matches(program, line, wanted);
    }
    if (file) {
        fclose(file);
    }
    return isFound;
}

bool listensOnTcp(pid_t program, unsigned port)
{
    return anyLine(program, "tcp", isTcpListener, &port) || anyLine(program, "tcp6", isTcpListener, &port);
}

bool listensOnUnix(pid_t program, const char *path)
{
    return anyLine(program, "unix", isUnixListener, path);
}
