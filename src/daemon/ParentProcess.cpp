#include "daemon/ParentProcess.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void writeText(int descriptor, const char *text)
{
    const ssize_t written = write(descriptor, text, std::strlen(text));
    static_cast<void>(written);
}

void reportTaken(int signal)
{
    if (signal == SIGUSR1) {
        writeText(STDOUT_FILENO, "Signal SIGUSR1 intercepted : Presentation ready \n");
        _exit(0);
    }
    writeText(STDERR_FILENO, "Signal SIGUSR2 intercepted : time out\n");
    _exit(1);
}

[[noreturn]] void waitForReport(pid_t child, const sigset_t &callersMask)
{
    struct sigaction action = {};
    action.sa_handler = reportTaken;
    sigaction(SIGUSR1, &action, nullptr);
    sigaction(SIGUSR2, &action, nullptr);
    // A mask that had the reports blocked would never let them through.
    sigset_t mask = callersMask;
    sigdelset(&mask, SIGUSR1);
    sigdelset(&mask, SIGUSR2);
    sigprocmask(SIG_SETMASK, &mask, nullptr);

    int status = 0;
    // Not any child: a shell that was replaced by this program can have left some.
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    std::fprintf(stderr, "Child process is dead (%d), %d\n", int(child), status);
    std::exit(2);
}

} // namespace

int daemonise(const std::function<int(pid_t parent)> &child)
{
    sigset_t reports;
    sigset_t callersMask;
    sigemptyset(&reports);
    sigaddset(&reports, SIGUSR1);
    sigaddset(&reports, SIGUSR2);
    sigprocmask(SIG_BLOCK, &reports, &callersMask);
    // Where the caller ignores it, wait() would learn nothing of the child.
    signal(SIGCHLD, SIG_DFL);

    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid < 0) {
        return 1;
    }
    if (pid > 0) {
        waitForReport(pid, callersMask);
    }
    // They would end a process without a handler; no module inherits this.
    for (const int ignored : {SIGUSR1, SIGUSR2, SIGQUIT, SIGALRM, SIGIO}) {
        signal(ignored, SIG_IGN);
    }
    sigprocmask(SIG_SETMASK, &callersMask, nullptr);
    umask(0);
    if (setsid() < 0) {
        return 1;
    }
    return child(parent);
}
