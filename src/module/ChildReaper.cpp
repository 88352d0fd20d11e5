#include "module/ChildReaper.h"

#include "module/ChildProcess.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

int writeEnd = -1;
struct sigaction previousAction = {};

// Async-signal-safe calls alone.
void handle(int signal, siginfo_t *info, void *context)
{
    const int error = errno;
    const char child = 'C';
    // A full pipe has told already what there is to tell.
    const ssize_t written = write(writeEnd, &child, 1);
    static_cast<void>(written);
    if (previousAction.sa_flags & SA_SIGINFO) {
        previousAction.sa_sigaction(signal, info, context);
    } else if (previousAction.sa_handler != SIG_DFL && previousAction.sa_handler != SIG_IGN) {
        previousAction.sa_handler(signal);
    }
    errno = error;
}

} // namespace

ChildReaper &ChildReaper::instance()
{
    // Never destroyed: the handler may run until the very end.
    static ChildReaper &reaper = *new ChildReaper;
    return reaper;
}

ChildReaper::ChildReaper()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("no pipe for the ends of children: %s", std::strerror(errno));
    }
    m_readEnd = ends[0];
    writeEnd = ends[1];
    auto *notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &ChildReaper::childEnded);

    struct sigaction action = {};
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_NOCLDSTOP;
    sigemptyset(&action.sa_mask);
    sigaction(SIGCHLD, &action, &previousAction);

    // A boot script may have been started with it blocked.
    sigset_t unblocked;
    sigemptyset(&unblocked);
    sigaddset(&unblocked, SIGCHLD);
    sigprocmask(SIG_UNBLOCK, &unblocked, nullptr);
}

void ChildReaper::childEnded()
{
    char drained[64];
    while (read(m_readEnd, drained, sizeof drained) > 0) { }
    // What an end leads to may turn the event loop, come here again, and destroy children.
    const QSet<ChildProcess *> children = m_children;
    for (ChildProcess *child : children) {
        if (m_children.contains(child)) {
            child->reap();
        }
    }
}
