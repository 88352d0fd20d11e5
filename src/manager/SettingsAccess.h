#ifndef SETTINGS_ACCESS_H
#define SETTINGS_ACCESS_H

#include <QString>

class BusAccess;
class MemoryWatchdog;
class Setting;

/**
 * The settings of the terminal, as the settings manager hands them out, and the two that steer the memory watchdog:
 * "MonitoringWatchDelay" (minutes between two checks, 0 for none) and "MonitoringWatchRetry" (how often a module may be
 * restarted for its memory before the terminal reboots).
 */
class SettingsAccess
{
public:
    SettingsAccess(BusAccess &bus, MemoryWatchdog &watchdog)
        : m_bus(bus)
        , m_watchdog(watchdog)
    { }

    /// Blocks until the settings manager answers. Setting::UNDEFINEDVALUE when it does not, or has no value.
    [[nodiscard]] QString getSettingValue(const QString &id) const;
    /// Reads both settings; what is undefined or not a number becomes 0.
    void getMonitoringSettings();
    /// Takes a changed setting over and begins a new watch period, also when it is none of the two.
    void monitoringSettingsChanged(const Setting &setting);

private:
    BusAccess &m_bus;
    MemoryWatchdog &m_watchdog;
};

#endif
