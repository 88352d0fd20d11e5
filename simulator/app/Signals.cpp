#include "Signals.h"

#include <QSocketNotifier>

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

Signals::Signals()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&set, signal);
    }
    sigprocmask(SIG_BLOCK, &set, nullptr);
    m_descriptor = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo taken;
        while (read(m_descriptor, &taken, sizeof taken) == static_cast<ssize_t>(sizeof taken)) {
            Q_EMIT interrupted();
        }
    });
}

Signals::~Signals()
{
    m_notifier.reset();
    close(m_descriptor);
}
