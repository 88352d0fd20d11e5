#include "daemon/SignalHandOver.h"

#include "logger/WriteNow.h"
#include "supervision/SupervisionState.h"

#include <atomic>
#include <charconv>
#include <csignal>
#include <cstring>

#include <unistd.h>

namespace {

// A library may have a thread of its own, and a mask holds in one thread alone.
std::atomic<bool> signalTaken{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the flag is set in a signal handler");

void writeText(const char *text, std::size_t size)
{
    const std::size_t written = writeToStream(STDOUT_FILENO, text, size);
    static_cast<void>(written);
}

template <std::size_t Size>
void writeLine(const char (&text)[Size])
{
    writeText(text, Size - 1);
}

void writeIgnored(int signal)
{
    constexpr char after[] = " intercepted while stopping\n";
    char line[64] = "Sig ";
    char *const end = std::to_chars(line + 4, line + sizeof line - sizeof after, signal).ptr;
    std::memcpy(end, after, sizeof after - 1);
    writeText(line, std::size_t(end - line) + sizeof after - 1);
}

// Runs in the signal handler.
bool takeFirst(int signal)
{
    if (signalTaken.exchange(true)) {
        writeIgnored(signal);
        return false;
    }
    if (signal == SIGHUP) {
        writeLine("Signal Hangup intercepted\n");
    } else {
        writeLine("Signal Terminate intercepted\n");
        SupervisionState::noteTermination();
    }
    return true;
}

} // namespace

SignalHandOver::SignalHandOver(bool foreground)
    : m_bridge(foreground ? std::vector<int>{SIGHUP, SIGTERM, SIGINT} : std::vector<int>{SIGHUP, SIGTERM}, takeFirst)
{
    connect(&m_bridge, &SignalBridge::raised, this, [this](int signal) {
        if (signal == SIGHUP) {
            Q_EMIT hangup();
        } else {
            Q_EMIT terminate();
        }
    });
}
