#include "client/Interrupt.h"

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

Interrupt::Interrupt()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo taken;
        while (read(m_descriptor, &taken, sizeof taken) == ssize_t(sizeof taken)) {
            Q_EMIT raised();
        }
    });
}

Interrupt::~Interrupt()
{
    m_notifier.reset();
    close(m_descriptor);
}
