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
    explicit Heartbeat(pid_t parent, WatchdogDevice::Control control = &WatchdogDevice::realControl);
    ~Heartbeat();
    Q_DISABLE_COPY(Heartbeat)

    /// Feeds this device from now on, and lets go of another. A path with the root prefix; empty: none.
    void watch(const QString &device);
    /// Between two beats; 0 when nobody is fed.
    [[nodiscard]] std::chrono::milliseconds interval() const
    {
        return m_timer.isActive() ? m_timer.intervalAsDuration() : std::chrono::milliseconds(0);
    }
    /// An orderly end. Without it the device resets the terminal, also when a reboot that was requested does not come.
    void end(bool rebootRequested);

private:
    void disarm();
    void start();
    void beat();

    const WatchdogDevice::Control m_control;
    NotifySocket m_socket;
    QString m_path;
    std::unique_ptr<WatchdogDevice> m_device; ///< armed, or none
    QTimer m_timer;
};

#endif
