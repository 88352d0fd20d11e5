#include "sample-module/Load.h"

#include "system/Spawn.h"

#include <QCoreApplication>
#include <QFile>

#include <csignal>
#include <cstdio>
#include <cstring>

namespace {

constexpr int leaksPerSecond = 10;
constexpr int chatterInterval = 20; // ms: fifty lines a second on either stream

} // namespace

Load::Load(const Behaviour &behaviour)
    : m_behaviour(behaviour)
{
    connect(&m_leak, &QTimer::timeout, this, &Load::leak);
    connect(&m_chatter, &QTimer::timeout, this, [this] {
        std::fprintf(stdout, "%s says something\n", qPrintable(m_behaviour.moduleName));
        std::fflush(stdout);
        std::fprintf(stderr, "%s complains\n", qPrintable(m_behaviour.moduleName));
    });
}

void Load::begin()
{
    if (m_behaviour.allocateKb > 0) {
        take(m_behaviour.allocateKb);
    }
    if (m_behaviour.leakKbPerSecond > 0) {
        m_leak.start(1000 / leaksPerSecond);
    }
    if (m_behaviour.chatter) {
        // The reader may be gone; that must not end the module.
        std::signal(SIGPIPE, SIG_IGN);
        m_chatter.start(chatterInterval);
    }
    if (m_behaviour.child) {
        pid_t pid = 0;
        Spawn().run(pid, "/bin/sleep", {QFile::encodeName(QCoreApplication::applicationFilePath()), "1000000"});
    }
    if (m_behaviour.busy) {
        // A timer without interval keeps the loop busy, and it still handles events.
        m_busy.start(0);
    }
}

// The sum over a second is exact, also where it is not a multiple of leaksPerSecond.
void Load::leak()
{
    const qint64 perSecond = m_behaviour.leakKbPerSecond;
    const qint64 before = perSecond * m_leaks / leaksPerSecond;
    ++m_leaks;
    take(int(perSecond * m_leaks / leaksPerSecond - before));
}

void Load::take(int kilobytes)
{
    auto block = std::make_unique<Kilobyte[]>(static_cast<std::size_t>(kilobytes));
    std::memset(block.get(), 1,
                static_cast<std::size_t>(kilobytes) * sizeof(Kilobyte)); // the kernel allocates written pages only
    m_taken.push_back(std::move(block));
}
