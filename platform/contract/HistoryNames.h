#ifndef HISTORY_NAMES_H
#define HISTORY_NAMES_H

#include "contract/Latin1.h"

/**
 * The records of the history: one JSON object a line. A reader ignores keys that it does not know, and lines that are
 * no JSON. Times since the begin of a start-up are in microseconds.
 */
namespace History {

inline constexpr int version = 1;
/// Below the root prefix, if platform.ini does not name another one.
inline constexpr QLatin1String defaultFile = latin1("/data/ApplicationManager/history");
inline constexpr QLatin1String oldSuffix = latin1(".old");

/// What a record tells.
namespace Kind {

inline constexpr QLatin1String start = latin1("start"); ///< of the daemon
inline constexpr QLatin1String started = latin1("started"); ///< the start-up has ended, or has failed with a cause
inline constexpr QLatin1String reboot = latin1("reboot"); ///< is about to be requested or run
inline constexpr QLatin1String untaken = latin1("untaken"); ///< nobody took the request for the reboot
inline constexpr QLatin1String end = latin1("end"); ///< of the daemon, in order

} // namespace Kind

/// Why a boot has ended.
namespace Cause {

inline constexpr QLatin1String crash = latin1("crash");
inline constexpr QLatin1String stopTimeout = latin1("stop_timeout"); ///< a module was killed, as it did not stop
inline constexpr QLatin1String memory = latin1("memory");
inline constexpr QLatin1String presentation = latin1("presentation"); ///< the web client did not show it in time
inline constexpr QLatin1String settings = latin1("settings"); ///< the check of the mandatory settings failed
inline constexpr QLatin1String files = latin1("files"); ///< the daemon could not use its files
inline constexpr QLatin1String order = latin1("order"); ///< by bus or signal
// Of a boot that has no record of its end.
inline constexpr QLatin1String power = latin1("power"); ///< lost, or somebody else rebooted the terminal
inline constexpr QLatin1String killed = latin1("killed"); ///< the supervisor was

inline constexpr QLatin1String all[] = {crash, stopTimeout, memory, presentation, settings,
                                        files, order,       power,  killed};

} // namespace Cause

namespace Key {

// Of every record.
inline constexpr QLatin1String version = latin1("v");
inline constexpr QLatin1String kind = latin1("kind");
inline constexpr QLatin1String time = latin1("time"); ///< ISO 8601, UTC
inline constexpr QLatin1String clockOk = latin1("clock_ok"); ///< false: the clock was not set yet
inline constexpr QLatin1String bootId = latin1("boot_id"); ///< of the kernel
inline constexpr QLatin1String uptime = latin1("uptime"); ///< of the kernel, in seconds
inline constexpr QLatin1String totals = latin1("totals"); ///< boots by the cause of their end
inline constexpr QLatin1String moduleTotals = latin1("module_totals"); ///< by cause, and there by module
inline constexpr QLatin1String step = latin1("step"); ///< the last one reached
inline constexpr QLatin1String program = latin1("version"); ///< of the daemon

// Of a start.
inline constexpr QLatin1String previous = latin1("previous"); ///< the cause of the end of the boot before
inline constexpr QLatin1String kernel = latin1("kernel");
inline constexpr QLatin1String system = latin1("system"); ///< of /etc/os-release

// Of an end, a request for a reboot and a failed start-up.
inline constexpr QLatin1String cause = latin1("cause");
inline constexpr QLatin1String module = latin1("module");
inline constexpr QLatin1String signal = latin1("signal"); ///< its number
inline constexpr QLatin1String core = latin1("core"); ///< the path of the core file
inline constexpr QLatin1String size = latin1("size"); ///< kB
inline constexpr QLatin1String ceiling = latin1("ceiling"); ///< kB
inline constexpr QLatin1String count = latin1("count"); ///< restarts
inline constexpr QLatin1String by = latin1("by"); ///< "SIGTERM" or "bus"; of failed settings the text that was shown
inline constexpr QLatin1String log = latin1("log"); ///< the last lines
inline constexpr QLatin1String output = latin1("output"); ///< the last lines that the module printed

// Of a start-up that has ended.
inline constexpr QLatin1String boot = latin1("boot");
inline constexpr QLatin1String total = latin1("total");
inline constexpr QLatin1String homepage = latin1("homepage"); ///< 0: no step shows it
inline constexpr QLatin1String steps = latin1("steps"); ///< [name, value, started, done] each
/// [name, index of the step, launched, ready] each, by step and name. If it was not ready: minus when it ended, or 0.
inline constexpr QLatin1String modules = latin1("modules");
/// [index of a module, those of its dependencies...] each; absent if they did not fit.
inline constexpr QLatin1String dependencies = latin1("dependencies");
inline constexpr QLatin1String omitted = latin1("omitted"); ///< how many modules did not fit

} // namespace Key

} // namespace History

#endif
