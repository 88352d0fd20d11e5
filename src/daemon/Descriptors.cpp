#include "Descriptors.h"

#include <fcntl.h>
#include <unistd.h>

void closeStandardStreams()
{
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    // Each takes the lowest free number: 0, 1, 2.
    open("/dev/null", O_RDONLY | O_CLOEXEC);
    open("/dev/null", O_PATH | O_CLOEXEC);
    open("/dev/null", O_PATH | O_CLOEXEC);
}
