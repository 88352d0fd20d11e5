#ifndef INSPECTION_NAMES_H
#define INSPECTION_NAMES_H

#include "contract/Latin1.h"

/**
 * The inspection interface of the supervisor: `ListModules`, `ListSteps` and `GetTimeline` answer `aa{sv}` with the
 * keys below. Times are microseconds of CLOCK_MONOTONIC, 0 for never.
 */
namespace Inspect {

inline constexpr QLatin1String interface = latin1("com.velmora.Jovara.Inspection");

// Properties: the value of the step reached (int), the stop flag (bool), before "end_of_init" (bool), 0 to 7 (int).
inline constexpr QLatin1String currentStep = latin1("CurrentStep");
inline constexpr QLatin1String startFailed = latin1("StartFailed");
inline constexpr QLatin1String initInProgress = latin1("InitInProgress");
inline constexpr QLatin1String rebootRequested = latin1("RebootRequested"); ///< bool, and no start since
inline constexpr QLatin1String version = latin1("Version"); ///< of the daemon, a text
// Properties, times of the last start or restart: when it began, showed the home page, and was complete.
inline constexpr QLatin1String startedAt = latin1("StartedAt");
inline constexpr QLatin1String homepageAt = latin1("HomepageAt");
inline constexpr QLatin1String completeAt = latin1("CompleteAt");
inline constexpr QLatin1String logLevel = latin1("LogLevel");

inline constexpr QLatin1String listModules = latin1("ListModules");
inline constexpr QLatin1String listSteps = latin1("ListSteps");
inline constexpr QLatin1String getTimeline = latin1("GetTimeline");

// Signals: name, old state, new state; value, name.
inline constexpr QLatin1String moduleStateChanged = latin1("ModuleStateChanged");
inline constexpr QLatin1String stepDoneSignal = latin1("StepDone");

namespace Key {

// Of modules, steps and timeline entries.
inline constexpr QLatin1String name = latin1("Name");

// Of modules.
inline constexpr QLatin1String step = latin1("Step");
inline constexpr QLatin1String state = latin1("State");
inline constexpr QLatin1String status = latin1("Status");
inline constexpr QLatin1String pid = latin1("Pid"); ///< uint; 0: no process
inline constexpr QLatin1String starts = latin1("Starts"); ///< uint
inline constexpr QLatin1String maxMemory = latin1("MaxMemory"); ///< int, see MemoryCeiling
inline constexpr QLatin1String exits = latin1("Exits"); ///< uint: how often its process ended
inline constexpr QLatin1String exitsBySignal = latin1("ExitsBySignal"); ///< uint: of these
inline constexpr QLatin1String exitCode = latin1("ExitCode"); ///< int, of the last run that ended
inline constexpr QLatin1String exitedBySignal = latin1("ExitedBySignal"); ///< bool: that code is a signal
inline constexpr QLatin1String dependencies = latin1("Dependencies");
inline constexpr QLatin1String dependents = latin1("Dependents");
inline constexpr QLatin1String launchedAt = latin1("LaunchedAt");
inline constexpr QLatin1String readyAt = latin1("ReadyAt");
inline constexpr QLatin1String exitedAt = latin1("ExitedAt");

// Of steps.
inline constexpr QLatin1String value = latin1("Value"); ///< int
inline constexpr QLatin1String showHomepage = latin1("ShowHomepage"); ///< bool
inline constexpr QLatin1String modules = latin1("Modules");
inline constexpr QLatin1String startedAt = latin1("StartedAt");
inline constexpr QLatin1String doneAt = latin1("DoneAt");

// Of timeline entries.
inline constexpr QLatin1String time = latin1("Time");
inline constexpr QLatin1String event = latin1("Event"); ///< one of Happened, or the text of a module's new state

} // namespace Key

/// What an entry of the timeline tells, beside the states of modules.
namespace Happened {

inline constexpr QLatin1String start = latin1("start");
inline constexpr QLatin1String restart = latin1("restart");
inline constexpr QLatin1String endOfInit = latin1("end_of_init");
inline constexpr QLatin1String stopAll = latin1("stop_all");
inline constexpr QLatin1String launched = latin1("launched");
inline constexpr QLatin1String exited = latin1("exited");
inline constexpr QLatin1String stepStarted = latin1("step_started");
inline constexpr QLatin1String stepDone = latin1("step_done");

} // namespace Happened

} // namespace Inspect

#endif
