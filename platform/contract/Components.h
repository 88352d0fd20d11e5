#ifndef COMPONENTS_H
#define COMPONENTS_H

#include <QLatin1String>

/// The components that the supervisor knows by name, and what it asks of them.
namespace Components {

inline constexpr QLatin1String applicationManager("ApplicationManager");
inline constexpr QLatin1String platform("Platform");
inline constexpr QLatin1String settingsManager("SettingsManager");
/// The two modules that own the screen.
inline constexpr QLatin1String webClient("JovWebClient");
inline constexpr QLatin1String gate("JovGate");

/// Of "Platform": an int (1), a bool (true), the name of the caller and the reason.
inline constexpr QLatin1String rebootMethod("reboot");
/// Of "SettingsManager": the setting's id; the reply is its value as a text.
inline constexpr QLatin1String getSettingValueMethod("getSettingValue");
/// Of "ApplicationManager": the setting that has changed.
inline constexpr QLatin1String settingChangedMethod("monitoringSettingsChanged");

/// The settings of the memory watchdog: minutes between two checks, and restarts until the terminal reboots.
inline constexpr QLatin1String watchDelaySetting("MonitoringWatchDelay");
inline constexpr QLatin1String watchRetrySetting("MonitoringWatchRetry");

} // namespace Components

#endif
