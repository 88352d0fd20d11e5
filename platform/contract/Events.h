#ifndef EVENTS_H
#define EVENTS_H

#include "contract/Latin1.h"

#include <QString>

/// The events between the supervisor, its modules and the platform, and the names of their arguments.
namespace Events {

/// A module is ready. It comes from the module.
[[nodiscard]] inline QString endOfInitOf(const QString &module)
{
    return QLatin1String("end_of_init_") + module;
}

/// A bool of an announcement: it was made before, and the bus has been away since. It moves a module only out of the
/// state in which it waits for it.
inline constexpr QLatin1String repeated = latin1("repeated");

/// The module is asked to end.
[[nodiscard]] inline QString stopOf(const QString &module)
{
    return QLatin1String("stop_module_") + module;
}

/// The presentation of the web client is on the screen.
inline constexpr QLatin1String presentationReady = latin1("presentationReady");

/// The step that shows the home page has been started.
inline constexpr QLatin1String endOfInit = latin1("end_of_init");
/// The boot sequence continues the start-up, up to the step of an int.
inline constexpr QLatin1String initStep = latin1("init_step");
inline constexpr QLatin1String stepNum = latin1("stepNum");
/// The start-up has reached the number of an int.
inline constexpr QLatin1String initStepInfra = latin1("init_step_infra");
inline constexpr QLatin1String numStep = latin1("num_step");

/// What the terminal shows while it starts: a text.
inline constexpr QLatin1String initMessage = latin1("init_message");
inline constexpr QLatin1String message = latin1("message");
inline constexpr QLatin1String showPopup = latin1("SHOW_POPUP_EVENT");
inline constexpr QLatin1String text = latin1("text");

/// The settings manager is asked for its check, and answers whether (a bool) it is about to reboot the terminal.
inline constexpr QLatin1String checkMandatorySettings = latin1("checkMandatorySettings");
inline constexpr QLatin1String mandatorySettingsChecked = latin1("checkMandatorySettingsSuccess");
inline constexpr QLatin1String reboot = latin1("reboot");

/// The platform holds back restarts that modules ask for, and lets them through again.
inline constexpr QLatin1String lockReboot = latin1("PLTF_LOCK_REBOOT");
inline constexpr QLatin1String unlockReboot = latin1("PLTF_UNLOCK_REBOOT");

} // namespace Events

#endif
