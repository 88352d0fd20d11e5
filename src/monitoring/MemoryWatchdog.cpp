#include "monitoring/MemoryWatchdog.h"

#include "catalogue/Catalogue.h"
#include "catalogue/Saturated.h"
#include "contract/Components.h"
#include "contract/HistoryNames.h"
#include "monitoring/ApplicationMemory.h"
#include "monitoring/RetryPolicy.h"
#include "supervision/BusAccess.h"

#include <jov/JovException.h>
#include <jov/Log.h>

#include <QScopedValueRollback>

#include <memory>
#include <utility>

namespace {

constexpr int retryPeriodPerMinute = 1000; // seconds for which a restart is remembered, for each minute of the delay

QString joined(const QStringList &names)
{
    return names.join(QStringLiteral(", "));
}

} // namespace

MemoryWatchdog::MemoryWatchdog(BusAccess &bus, RestartOrders &orders, Catalogue &catalogue, const ProcReader &reader,
                               WatchdogTiming timing)
    : m_bus(bus)
    , m_orders(orders)
    , m_catalogue(catalogue)
    , m_reader(reader)
    , m_timing(std::move(timing))
{
    // Any other kind rounds, and the longest interval then overflows.
    m_monitoringTimer.setTimerType(Qt::PreciseTimer);
    m_restartTimer.setSingleShot(true);
    m_restartTimer.setInterval(m_timing.restartDelay);
    connect(&m_monitoringTimer, &QTimer::timeout, this, &MemoryWatchdog::checkMemory);
    connect(&m_restartTimer, &QTimer::timeout, this, &MemoryWatchdog::restartOutOfMemoryModules);
}

void MemoryWatchdog::cancel()
{
    m_monitoringTimer.stop();
    m_monitoring = false;
    m_restartTimer.stop();
    m_outOfMemoryModules.clear();
    ++m_cancellations;
}

void MemoryWatchdog::stopMonitoring()
{
    Log::debug("stopMonitoring");
    m_monitoringTimer.stop();
    m_monitoring = false;
}

void MemoryWatchdog::startMonitoring()
{
    stopMonitoring();
    if (m_monitoringWatchDelay <= 0) {
        Log::debug("startMonitoring monitoring disabled (no delay)");
        return;
    }
    m_monitoring = true;
    m_monitoringTimer.start(saturated(m_monitoringWatchDelay * qint64(m_timing.minute.count())));
}

void MemoryWatchdog::checkMemory()
{
    Log::debug("checkMemory");
    m_monitoringTimer.stop();
    m_outOfMemoryModules.clear();
    const qint64 totalMemory = m_reader.totalMemory();
    for (const auto &entry : m_catalogue.applicationMap) {
        if (entry.second && entry.second->getMaxMemory().isSet() && !checkModule(*entry.second, totalMemory)) {
            return;
        }
    }
    Log::debug("checkMemory end");
    if (!m_outOfMemoryModules.isEmpty()) {
        Log::error("checkMemory: Modules (%1) use too much memory", joined(m_outOfMemoryModules));
        if (!m_restartTimer.isActive()) {
            m_restartTimer.start();
        }
    } else if (m_monitoring) {
        m_monitoringTimer.start();
    }
}

bool MemoryWatchdog::checkModule(ApplicationRecord &record, qint64 totalMemory)
{
    const QString name = record.getName();
    const MemoryCeiling ceiling = record.getMaxMemory();
    const qint64 used = virtualSize(record, m_reader);
    const auto detail = [&] {
        return QStringLiteral("VmSize=%1 MemTotal=%2 MaxMem=%3 percentage=%4")
            .arg(used)
            .arg(totalMemory)
            .arg(ceiling.figure())
            .arg(MemoryCeiling::percentage(used, totalMemory));
    };
    if (!ceiling.isExceeded(used, totalMemory)) {
        Log::debug("checkMemory module %1 OK (%2)", name, detail);
        return true;
    }
    Log::error("checkMemory module %1 Too much memory (%2)", name, detail);
    if (retriesExhausted(record)) {
        const int count = qMax(1, record.getRestartTimes().size());
        Log::emergency("checkMemory: %1 is over its limit (%2 kB of %3 kB, excess %4): asking for a reboot", name, used,
                       ceiling.size(totalMemory), count);
        m_orders.rebootComes({{History::Key::cause, QString(History::Cause::memory)},
                              {History::Key::module, name},
                              {History::Key::size, used},
                              {History::Key::ceiling, ceiling.size(totalMemory)},
                              {History::Key::count, count}});
        if (requestReboot()) {
            return false;
        }
        m_orders.rebootRefused();
    }
    m_outOfMemoryModules.append(name);
    return true;
}

bool MemoryWatchdog::retriesExhausted(ApplicationRecord &record) const
{
    const int period = saturated(qint64(m_monitoringWatchDelay) * retryPeriodPerMinute);
    return RetryPolicy::addRetry(record, m_monitoringWatchRetry, period, m_timing.now());
}

bool MemoryWatchdog::requestReboot() const
{
    const QVariantList arguments = {1, false, QString(Components::applicationManager),
                                    QStringLiteral("Too much faulty applications restart")};
    try {
        const JovReply reply = m_bus.syncRemoteCall(Components::platform, Components::rebootMethod, arguments);
        if (!reply.isError()) {
            m_orders.rebootAccepted();
            return true;
        }
        Log::error("ApplicationManager::checkMemory error while contacting Platform for reboot (reply not valid):");
    } catch (JovException *thrown) { // NOLINT(misc-throw-by-value-catch-by-reference): the platform throws pointers
        const std::unique_ptr<JovException> exception(thrown);
        Log::error("ApplicationManager::checkMemory error while contacting Platform for reboot: %1",
                   exception->message());
    } catch (...) {
        Log::error("ApplicationManager::checkMemory error while contacting Platform for reboot");
    }
    return false;
}

void MemoryWatchdog::restartOutOfMemoryModules()
{
    // Taken away first: what a check finds while this waits in stops and starts is for the next restart.
    const QStringList names = std::exchange(m_outOfMemoryModules, {});
    if (m_restarting) {
        // The start of that restart can wait for ever, and what is stopped now would stay down.
        Log::warning("checkMemory: Modules (%1) keep running: the last restart has not ended", joined(names));
        if (m_monitoring) {
            m_monitoringTimer.start();
        }
        return;
    }
    const QScopedValueRollback<bool> restarting(m_restarting, true);
    const quint64 cancellations = m_cancellations;
    Log::debug("Restarting modules %1", [&names] { return joined(names); });
    for (const QString &name : names) {
        if (m_cancellations == cancellations && m_catalogue.find(name)) {
            m_orders.stopModuleAlone(name);
        }
    }
    if (m_cancellations == cancellations) {
        m_orders.startAll();
    }
}
