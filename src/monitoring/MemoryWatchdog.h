#ifndef MEMORY_WATCHDOG_H
#define MEMORY_WATCHDOG_H

#include "monitoring/ProcReader.h"

#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <functional>

class ApplicationRecord;
class Catalogue;
class Supervisor;

/**
 * Restarts modules that use more memory than their record allows, and asks for a reboot when that happens too often.
 *
 * Off until startMonitoring() runs with a delay. A check that finds everything within its limits sets the timer again.
 * One that finds offenders leaves it stopped and restarts them a little later; the timer is then set by the next
 * startMonitoring(), at the end of initialisation. After an accepted request to reboot nothing follows.
 *
 * Stops and starts run event loops of their own, for a long time, so any of the slots may be entered again meanwhile.
 */
class MemoryWatchdog : public QObject
{
    Q_OBJECT

public:
    /// How long things take; tests and the simulator hand in shorter ones.
    struct Timing
    {
        std::chrono::milliseconds minute = std::chrono::minutes(1);
        std::chrono::milliseconds restartDelay = std::chrono::seconds(5);
        std::function<QDateTime()> now = &QDateTime::currentDateTime;
    };

    /// Both references outlive the watchdog.
    MemoryWatchdog(Supervisor &supervisor, Catalogue &catalogue, const ProcReader &reader);
    MemoryWatchdog(Supervisor &supervisor, Catalogue &catalogue, const ProcReader &reader, Timing timing);

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
    void startStoppedModules(quint64 cancellations);

    Supervisor &m_supervisor;
    Catalogue &m_catalogue;
    ProcReader m_reader;
    Timing m_timing;
    QTimer m_monitoringTimer;
    QTimer m_restartTimer;
    QStringList m_outOfMemoryModules;
    int m_monitoringWatchDelay = 0;
    int m_monitoringWatchRetry = 0;
    bool m_monitoring = false;
    bool m_starting = false;
    bool m_startAgain = false;
    quint64 m_cancellations = 0;
};

#endif
