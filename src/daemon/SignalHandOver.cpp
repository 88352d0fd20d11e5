#include "daemon/SignalHandOver.h"

#include "supervision/SupervisionState.h"

#include <QSocketNotifier>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

// Not only one handler at a time: the bus has a thread of its own, and a mask holds in one thread alone.
std::atomic<bool> signalTaken{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the flag is set in a signal handler");
int writeEnd = -1;

void writeText(const char *text, std::size_t size)
{
    const ssize_t written = write(STDOUT_FILENO, text, size);
    static_cast<void>(written);
}

template <std::size_t Size>
void writeLine(const char (&text)[Size])
{
    writeText(text, Size - 1);
}

void writeIgnored(int signal)
{
    char line[64];
    char digits[12];
    std::size_t count = 0;
    for (int rest = signal; rest > 0; rest /= 10) {
        digits[count++] = char('0' + rest % 10);
    }
    constexpr char before[] = "Sig ";
    constexpr char after[] = " intercepted while stopping\n";
    std::size_t size = sizeof before - 1;
    std::memcpy(line, before, size);
    while (count > 0) {
        line[size++] = digits[--count];
    }
    std::memcpy(line + size, after, sizeof after - 1);
    writeText(line, size + sizeof after - 1);
}

// Async-signal-safe calls alone.
void handle(int signal)
{
    const int error = errno;
    if (signalTaken.exchange(true)) {
        writeIgnored(signal);
    } else {
        char order = 'H';
        if (signal == SIGHUP) {
            writeLine("Signal Hangup intercepted\n");
        } else {
            writeLine("Signal Terminate intercepted\n");
            SupervisionState::noteTermination();
            order = 'T';
        }
        const ssize_t written = write(writeEnd, &order, 1);
        static_cast<void>(written);
    }
    errno = error;
}

} // namespace

SignalHandOver::SignalHandOver(bool foreground)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("no pipe for the signals: %s", std::strerror(errno));
    }
    m_readEnd = ends[0];
    writeEnd = ends[1];
    auto *notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &SignalHandOver::taken);

    // In one thread, the line of the first comes before those of the others.
    struct sigaction action = {};
    action.sa_handler = handle;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGHUP);
    sigaddset(&action.sa_mask, SIGTERM);
    sigaddset(&action.sa_mask, SIGINT);
    sigaction(SIGHUP, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    if (foreground) {
        sigaction(SIGINT, &action, nullptr);
    }
    // A boot script may have been started with them blocked.
    sigprocmask(SIG_UNBLOCK, &action.sa_mask, nullptr);
}

void SignalHandOver::taken()
{
    char order = 0;
    while (read(m_readEnd, &order, 1) == 1) {
        if (order == 'H') {
            Q_EMIT hangup();
        } else {
            Q_EMIT terminate();
        }
    }
}
