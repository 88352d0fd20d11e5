#include "app/Guard.h"

#include "system/Descriptor.h"
#include "system/ProcStat.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <set>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

int outerIsAlive = -1; ///< the end of a pipe whose other end the outer process holds until its own
std::string removedRoot;
std::optional<termios> terminalModes; ///< of before: the inner process may be killed while it edits a line

/// The ended ones that nobody has waited for included.
std::vector<pid_t> children()
{
    std::vector<pid_t> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc", error), none; entry != none; entry.increment(error)) {
        const pid_t pid = std::atoi(entry->path().filename().c_str());
        const std::optional<ProcStat> stat = pid > 0 ? ProcStat::read(pid) : std::nullopt;
        if (stat && stat->parent == getpid()) {
            found.push_back(pid);
        }
    }
    return found;
}

void cleanUp()
{
    Guard::killChildren();
    if (terminalModes && tcgetpgrp(STDIN_FILENO) == getpgrp()) {
        tcsetattr(STDIN_FILENO, TCSADRAIN, &*terminalModes);
    }
    if (!removedRoot.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(removedRoot, ignored);
    }
}

sigset_t signalSet(std::initializer_list<int> numbers)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : numbers) {
        sigaddset(&set, number);
    }
    return set;
}

[[noreturn]] void waitFor(pid_t inner, const sigset_t &signals)
{
    int status = 0;
    for (pid_t ended = 0; ended != inner;) {
        siginfo_t info = {};
        const int number = sigwaitinfo(&signals, &info);
        if (number == SIGCHLD) {
            while (ended != inner && (ended = waitpid(-1, &status, WNOHANG)) > 0) { }
        } else if (number > 0 && info.si_code <= 0) {
            kill(inner, SIGTERM); // sent by a process; a signal of the terminal, as Ctrl-C, goes to both of us
        }
    }
    cleanUp();
    if (WIFSIGNALED(status)) {
        std::fprintf(stderr, "jov-simulator: killed by signal %d; all its processes have been killed\n",
                     WTERMSIG(status));
    }
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
}

bool isOuterGone()
{
    pollfd end{outerIsAlive, 0, 0};
    return poll(&end, 1, 0) > 0;
}

bool write(const char *file, const std::string &text)
{
    const Descriptor opened(open(file, O_WRONLY | O_CLOEXEC));
    return ::write(opened.number(), text.data(), text.size()) == ssize_t(text.size());
}

/// The next child is the first process of a PID namespace. Who is not root needs a namespace of users for that, in
/// which the numbers of user and group stay the same.
bool unsharePids()
{
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    return unshare(CLONE_NEWPID) == 0
        || (unshare(CLONE_NEWUSER | CLONE_NEWPID) == 0 && write("/proc/self/setgroups", "deny")
            && write("/proc/self/uid_map", user + ' ' + user + " 1")
            && write("/proc/self/gid_map", group + ' ' + group + " 1"));
}

/// In the inner process: /proc shows the new numbers to it and to all that it starts, and to nobody else.
bool mountProc()
{
    return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0;
}

std::string noNamespace()
{
    return std::string("the kernel allows no PID namespace: ") + std::strerror(errno) + "; start without --isolate";
}

} // namespace

std::string Guard::begin(const std::string &root, Processes processes)
{
    const bool isIsolated = processes == Processes::InNamespace;
    int alive[2];
    if (pipe2(alive, O_CLOEXEC) != 0) {
        return "cannot make a pipe";
    }
    if (isIsolated && !unsharePids()) {
        return noNamespace();
    }
    removedRoot = root;
    outerIsAlive = alive[0];
    termios modes = {};
    if (tcgetattr(STDIN_FILENO, &modes) == 0) {
        terminalModes = modes;
    }
    // Blocked before the fork: the inner process takes them through its Interrupt, the outer one waits for them.
    const sigset_t signals = signalSet({SIGINT, SIGTERM, SIGHUP, SIGCHLD});
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t inner = fork();
    if (inner > 0) {
        waitFor(inner, signals);
    }
    if (inner < 0) {
        return "cannot start a process";
    }
    close(alive[1]);
    const sigset_t child = signalSet({SIGCHLD});
    sigprocmask(SIG_UNBLOCK, &child, nullptr);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (isOuterGone()) {
        std::raise(SIGTERM); // it died before we asked
    }
    return isIsolated && !mountProc() ? noNamespace() : std::string();
}

void Guard::end()
{
    if (isOuterGone()) {
        cleanUp();
    }
}

int Guard::killChildren(const std::vector<pid_t> &spared)
{
    std::set<pid_t> killed;
    const auto limit = std::chrono::steady_clock::now() + 10s;
    for (bool isLeft = true; isLeft && std::chrono::steady_clock::now() < limit;) {
        isLeft = false;
        for (const pid_t pid : children()) {
            if (std::find(spared.begin(), spared.end(), pid) != spared.end()) {
                continue;
            }
            isLeft = true; // its own children will be ours
            if (waitpid(pid, nullptr, WNOHANG) == 0) {
                kill(pid, SIGKILL); // also ends a stopped process
                killed.insert(pid);
            }
        }
        if (isLeft) {
            std::this_thread::sleep_for(1ms);
        }
    }
    return static_cast<int>(killed.size());
}
