#include "app/Guard.h"

#include "system/ProcStat.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <system_error>
#include <thread>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

pid_t outerProcess = 0;
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

} // namespace

bool Guard::begin(const std::string &root)
{
    removedRoot = root;
    outerProcess = getpid();
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
    const sigset_t child = signalSet({SIGCHLD});
    sigprocmask(SIG_UNBLOCK, &child, nullptr);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (inner == 0 && getppid() != outerProcess) {
        std::raise(SIGTERM); // it died before we asked
    }
    return inner == 0;
}

void Guard::end()
{
    if (getppid() != outerProcess) {
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
