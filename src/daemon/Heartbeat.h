#ifndef HEARTBEAT_H
#define HEARTBEAT_H

#include "daemon/NotifySocket.h"
#include "daemon/WatchdogDevice.h"

#include <QTimer>

#include <memory>

/**
 * Feeds what watches the supervisor, from the event loop: a loop that hangs stops it. Calls that block the loop for a
 * limited time feed it by LifeSign. Without a watchdog it has no descriptor, and no timer runs.
 */
class Heartbeat
{
public:
    /// `device` is a path with the root prefix; empty: none.
    Heartbeat(pid_t parent, const QString &device, WatchdogDevice::Control control = &WatchdogDevice::realControl);
    ~Heartbeat();
    Q_DISABLE_COPY(Heartbeat)

    /// An orderly end. Without it the device resets the terminal.
    void disarm();

private:
    void beat();

    NotifySocket m_socket;
    std::unique_ptr<WatchdogDevice> m_device; ///< armed, or none
    QTimer m_timer;
};

#endif
