#include "FileState.h"

#include <string.h>
#include <sys/stat.h>

bool readFileState(const char *path, struct FileState *state)
{
    struct stat status;
    memset(state, 0, sizeof *state);
    if (stat(path, &status) != 0) {
        return false;
    }
    *state = (struct FileState){(int64_t)status.st_dev, (int64_t)status.st_ino, status.st_size, status.st_ctim.tv_sec,
                                status.st_ctim.tv_nsec};
    return true;
}
