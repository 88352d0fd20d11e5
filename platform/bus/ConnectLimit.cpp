#include "bus/ConnectLimit.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr long nanosecondsToConnect = 200'000'000;

void interrupt(int) { }

} // namespace

ConnectLimit::ConnectLimit()
{
    struct sigaction action = {};
    action.sa_handler = interrupt;
    sigaction(SIGALRM, &action, &m_oldAction);
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_UNBLOCK, &alarm, &m_oldMask);

    // To this thread: another one's system call would be interrupted for nothing.
    struct sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = SIGALRM;
    event._sigev_un._tid = pid_t(syscall(SYS_gettid));
    m_hasTimer = timer_create(CLOCK_MONOTONIC, &event, &m_timer) == 0;
    if (m_hasTimer) {
        const timespec limit = {0, nanosecondsToConnect};
        const itimerspec interval = {limit, limit};
        timer_settime(m_timer, 0, &interval, nullptr);
    }
}

ConnectLimit::~ConnectLimit()
{
    if (m_hasTimer) {
        timer_delete(m_timer);
    }
    // One that is pending comes before this returns, while its handler is still ours.
    pthread_sigmask(SIG_SETMASK, &m_oldMask, nullptr);
    sigaction(SIGALRM, &m_oldAction, nullptr);
}
