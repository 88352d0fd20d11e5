#ifndef INSPECTION_NAMES_H
#define INSPECTION_NAMES_H

#include <QLatin1String>

/**
 * The inspection interface of the supervisor: `ListModules`, `ListSteps` and `GetTimeline` answer `aa{sv}` with the
 * keys below. Times are microseconds of CLOCK_MONOTONIC, 0 for never.
 */
namespace Inspect {

inline constexpr QLatin1String interface("com.velmora.Jovara.Inspection");

// Properties: the value of the step reached (int), the stop flag (bool), before "end_of_init" (bool), 0 to 7 (int).
inline constexpr QLatin1String currentStep("CurrentStep");
inline constexpr QLatin1String startFailed("StartFailed");
inline constexpr QLatin1String initInProgress("InitInProgress");
inline constexpr QLatin1String logLevel("LogLevel");

inline constexpr QLatin1String listModules("ListModules");
inline constexpr QLatin1String listSteps("ListSteps");
inline constexpr QLatin1String getTimeline("GetTimeline");

// Signals: name, old state, new state; value, name.
inline constexpr QLatin1String moduleStateChanged("ModuleStateChanged");
inline constexpr QLatin1String stepDoneSignal("StepDone");

namespace Key {

// Of modules, steps and timeline entries.
inline constexpr QLatin1String name("Name");

// Of modules.
inline constexpr QLatin1String step("Step");
inline constexpr QLatin1String state("State");
inline constexpr QLatin1String status("Status");
inline constexpr QLatin1String pid("Pid"); ///< uint; 0: no process
inline constexpr QLatin1String starts("Starts"); ///< uint
inline constexpr QLatin1String maxMemory("MaxMemory"); ///< int, see MemoryCeiling
inline constexpr QLatin1String exitCode("ExitCode"); ///< int, of the last run that ended
inline constexpr QLatin1String dependencies("Dependencies");
inline constexpr QLatin1String dependents("Dependents");
inline constexpr QLatin1String launchedAt("LaunchedAt");
inline constexpr QLatin1String readyAt("ReadyAt");
inline constexpr QLatin1String exitedAt("ExitedAt");

// Of steps.
inline constexpr QLatin1String value("Value"); ///< int
inline constexpr QLatin1String showHomepage("ShowHomepage"); ///< bool
inline constexpr QLatin1String modules("Modules");
inline constexpr QLatin1String startedAt("StartedAt");
inline constexpr QLatin1String doneAt("DoneAt");

// Of timeline entries.
inline constexpr QLatin1String time("Time");
inline constexpr QLatin1String event("Event"); ///< one of Happened, or the text of a module's new state

} // namespace Key

/// What an entry of the timeline tells, beside the states of modules.
namespace Happened {

inline constexpr QLatin1String start("start");
inline constexpr QLatin1String restart("restart");
inline constexpr QLatin1String endOfInit("end_of_init");
inline constexpr QLatin1String stopAll("stop_all");
inline constexpr QLatin1String launched("launched");
inline constexpr QLatin1String exited("exited");
inline constexpr QLatin1String stepStarted("step_started");
inline constexpr QLatin1String stepDone("step_done");

} // namespace Happened

} // namespace Inspect

#endif
