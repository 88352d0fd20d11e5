#ifndef COMPONENTS_H
#define COMPONENTS_H

#include "contract/Latin1.h"

/// The components that the supervisor knows by name, and what it asks of them.
namespace Components {

inline constexpr QLatin1String applicationManager = latin1("ApplicationManager");
inline constexpr QLatin1String platform = latin1("Platform");
inline constexpr QLatin1String settingsManager = latin1("SettingsManager");
/// The two modules that own the screen.
inline constexpr QLatin1String webClient = latin1("JovWebClient");
inline constexpr QLatin1String gate = latin1("JovGate");

/// Of "Platform": an int (1), a bool (true), the name of the caller and the reason.
inline constexpr QLatin1String rebootMethod = latin1("reboot");
/// Of "SettingsManager": the setting's id; the reply is its value as a text.
inline constexpr QLatin1String getSettingValueMethod = latin1("getSettingValue");
/// Of "ApplicationManager": the setting that has changed.
inline constexpr QLatin1String settingChangedMethod = latin1("monitoringSettingsChanged");

/// The settings of the memory watchdog: minutes between two checks, and restarts until the terminal reboots.
inline constexpr QLatin1String watchDelaySetting = latin1("MonitoringWatchDelay");
inline constexpr QLatin1String watchRetrySetting = latin1("MonitoringWatchRetry");

} // namespace Components

#endif
