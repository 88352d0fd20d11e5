#include "support/Processes.h"

#include <csignal>
#include <cstdio>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Part of every test program: orphans come to it, and it fails when a process is left at its end. Those are killed.
class LeftBehind
{
public:
    LeftBehind() { prctl(PR_SET_CHILD_SUBREAPER, 1); }
    ~LeftBehind()
    {
        bool any = false;
        // The children of a killed process come to us in turn.
        for (QList<pid_t> left; !(left = Processes::children(getpid())).isEmpty();) {
            const pid_t pid = left.first();
            // On a busy machine one that was killed takes a moment to end.
            pid_t ended = 0;
            for (int i = 0; i < 200 && (ended = waitpid(pid, nullptr, WNOHANG)) == 0; ++i) {
                usleep(10000);
            }
            if (ended == 0) {
                any = true;
                std::fprintf(stderr, "left behind: %s\n", Processes::commandLine(pid).constData());
                kill(pid, SIGKILL);
                waitpid(pid, nullptr, 0);
            }
        }
        if (any) {
            std::fflush(nullptr);
            _exit(1);
        }
    }
};

const LeftBehind leftBehind;

} // namespace
