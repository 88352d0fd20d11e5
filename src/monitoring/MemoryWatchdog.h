#ifndef MEMORY_WATCHDOG_H
#define MEMORY_WATCHDOG_H

#include "monitoring/ProcReader.h"
#include "supervision/Timing.h"

#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

class ApplicationRecord;
class BusAccess;
class Catalogue;

/// What the watchdog orders of the supervisor.
class RestartOrders
{
public:
    virtual ~RestartOrders() = default;

    /// Its dependents keep running. False when no step holds it.
    virtual bool stopModuleAlone(const QString &name) = 0;
    /// Starts what does not run. The watchdog ignores the count.
    virtual int startAll() = 0;
    /// Before "Platform" is asked for a reboot, with the keys of History::Key.
    virtual void rebootComes(const QVariantMap &reason) = 0;
    /// "Platform" reboots the terminal.
    virtual void rebootAccepted() = 0;
    virtual void rebootRefused() = 0;
};

/**
 * Restarts modules that use more memory than their record allows, and asks for a reboot when that happens too often.
 *
 * Off until startMonitoring() runs with a delay. A check that finds everything within its limits sets the timer again.
 * One that finds offenders leaves it stopped and restarts them a little later; the timer is then set by the next
 * startMonitoring(), at the end of initialisation. After an accepted request to reboot nothing follows.
 *
 * Stops and starts wait in nested event loops, so any of the slots can be entered again during them.
 */
class MemoryWatchdog : public QObject
{
    Q_OBJECT

public:
    /// All references outlive the watchdog.
    MemoryWatchdog(BusAccess &bus, RestartOrders &orders, Catalogue &catalogue, const ProcReader &reader,
                   WatchdogTiming timing = WatchdogTiming());

    /// Minutes between two checks; 0 or less: no checks.
    [[nodiscard]] int monitoringWatchDelay() const { return m_monitoringWatchDelay; }
    void setMonitoringWatchDelay(int minutes) { m_monitoringWatchDelay = minutes; }

    /// The restarts that lead to a reboot; see RetryPolicy.
    [[nodiscard]] int monitoringWatchRetry() const { return m_monitoringWatchRetry; }
    void setMonitoringWatchRetry(int retries) { m_monitoringWatchRetry = retries; }

    /// Whether a check is to come, and in how many milliseconds; -1 when not.
    [[nodiscard]] int remainingTime() const { return m_monitoringTimer.remainingTime(); }

    /// What the last check found, until it is restarted.
    [[nodiscard]] QStringList outOfMemoryModules() const { return m_outOfMemoryModules; }

    /// For a supervisor that ends: no check and no restart comes any more.
    void cancel();

public Q_SLOTS:
    void startMonitoring();
    void stopMonitoring();
    void checkMemory();
    void restartOutOfMemoryModules();

private:
    /// False when the terminal goes down.
    [[nodiscard]] bool checkModule(ApplicationRecord &record, qint64 totalMemory);
    [[nodiscard]] bool retriesExhausted(ApplicationRecord &record) const;
    [[nodiscard]] bool requestReboot() const;

    BusAccess &m_bus;
    RestartOrders &m_orders;
    Catalogue &m_catalogue;
    ProcReader m_reader;
    WatchdogTiming m_timing;
    QTimer m_monitoringTimer;
    QTimer m_restartTimer;
    QStringList m_outOfMemoryModules;
    int m_monitoringWatchDelay = 0;
    int m_monitoringWatchRetry = 0;
    bool m_monitoring = false;
    bool m_restarting = false; ///< modules are being stopped, or started again
    quint64 m_cancellations = 0;
};

#endif
