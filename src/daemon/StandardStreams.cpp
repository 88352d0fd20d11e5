#include "daemon/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

void holdStandardStreams()
{
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_PATH | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
}

void closeStandardStreams()
{
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    // Takes the lowest free number, which is 0.
    open("/dev/null", O_RDONLY | O_CLOEXEC);
    holdStandardStreams();
}
