#ifndef NOTIFY_SOCKET_H
#define NOTIFY_SOCKET_H

#include "system/Descriptor.h"

#include <QByteArray>

#include <chrono>

#include <sys/types.h>

/// The socket of a service manager that watches this process: systemd, with `WatchdogSec=` in the unit.
class NotifySocket
{
public:
    /**
     * Takes the variables NOTIFY_SOCKET, WATCHDOG_USEC and WATCHDOG_PID out of the environment: the modules must not
     * feed our watchdog. WATCHDOG_PID, if set, must be our pid, or that of the `parent` that forked us.
     */
    explicit NotifySocket(pid_t parent);

    [[nodiscard]] bool isOpen() const { return m_socket.isOpen(); }
    /// Within which it must be fed.
    [[nodiscard]] std::chrono::milliseconds timeOut() const { return m_timeOut; }
    void feed() const;

private:
    QByteArray m_name;
    std::chrono::milliseconds m_timeOut{};
    Descriptor m_socket;
};

#endif
