#include "client/TimeLimit.h"

#include "client/Failure.h"

#include <csignal>
#include <ctime>

#include <unistd.h>

namespace {

constexpr char text[] = "jovctl: the time of --timeout is over\n";
constexpr time_t grace = 1; // s

volatile std::sig_atomic_t hasInterrupted = 0;

void end(int)
{
    struct sigaction interrupt = {};
    sigaction(SIGINT, nullptr, &interrupt);
    if (interrupt.sa_handler != SIG_DFL && interrupt.sa_handler != SIG_IGN && !hasInterrupted) {
        hasInterrupted = 1;
        std::raise(SIGINT);
        return;
    }
    static_cast<void>(!write(STDERR_FILENO, text, sizeof text - 1));
    _exit(int(ExitStatus::Failed));
}

} // namespace

void limitTime(double seconds)
{
    // Not SIGALRM, which BusDeadline uses.
    sigevent event = {};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGRTMIN;
    timer_t timer = nullptr;
    std::signal(SIGRTMIN, end);
    timer_create(CLOCK_MONOTONIC, &event, &timer);
    const auto whole = time_t(seconds);
    const itimerspec limit = {{grace, 0}, {whole, long((seconds - double(whole)) * 1e9)}};
    timer_settime(timer, 0, &limit, nullptr);
}
