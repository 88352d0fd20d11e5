#include "system/SignalBridge.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// What the handler does with a signal.
struct Route
{
    int writeEnd;
    SignalBridge::Filter filter;
    struct sigaction previous;
};

std::array<Route, NSIG> routes; // by the signal's number

/// What goes through the pipe, undivided.
struct Raised
{
    int signal;
    int sender;
};

// Async-signal-safe calls alone.
void handle(int signal, siginfo_t *info, void *context)
{
    const int error = errno;
    const Route &route = routes[std::size_t(signal)];
    if (!route.filter || route.filter(signal)) {
        const Raised raised{signal, info->si_pid};
        // It fails only if the pipe is full, of signals that the loop has not read yet.
        const ssize_t written = write(route.writeEnd, &raised, sizeof raised);
        static_cast<void>(written);
    }
    if ((route.previous.sa_flags & SA_SIGINFO) != 0) {
        route.previous.sa_sigaction(signal, info, context);
    } else if (route.previous.sa_handler != SIG_DFL && route.previous.sa_handler != SIG_IGN) {
        route.previous.sa_handler(signal);
    }
    errno = error;
}

} // namespace

SignalBridge::SignalBridge(const std::vector<int> &signalNumbers, Filter filter)
{
    // Its ends are never closed: the handler may write until the end of the process.
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("no pipe for signals: %s", std::strerror(errno));
    }
    m_readEnd = ends[0];
    auto *notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &SignalBridge::deliver);

    struct sigaction action = {};
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO | SA_NOCLDSTOP | (filter ? 0 : SA_RESTART);
    sigemptyset(&action.sa_mask);
    for (const int signal : signalNumbers) {
        sigaddset(&action.sa_mask, signal);
    }
    for (const int signal : signalNumbers) {
        Route &route = routes[std::size_t(signal)];
        struct sigaction previous = {};
        sigaction(signal, nullptr, &previous);
        if (previous.sa_sigaction != handle) {
            route.previous = previous;
        }
        route.filter = filter;
        route.writeEnd = ends[1];
        sigaction(signal, &action, nullptr);
    }
    sigprocmask(SIG_UNBLOCK, &action.sa_mask, nullptr);
}

void SignalBridge::deliver()
{
    std::map<int, QVector<int>> pending;
    std::array<Raised, 64> signalsRead; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    ssize_t size = 0;
    do {
        size = read(m_readEnd, signalsRead.data(), sizeof signalsRead);
        for (ssize_t i = 0; i < size / ssize_t(sizeof(Raised)); ++i) {
            pending[signalsRead[std::size_t(i)].signal].append(signalsRead[std::size_t(i)].sender);
        }
    } while (size == ssize_t(sizeof signalsRead));
    for (const auto &[signal, senders] : pending) {
        Q_EMIT raised(signal, senders);
    }
}
