#ifndef TIMING_H
#define TIMING_H

#include <QDateTime>

#include <chrono>
#include <functional>

/// How long things may take with a module, in milliseconds.
struct ModuleLimits
{
    int stop = 30000; ///< from the request to end to the kill
    int stopWithEverything = 2000; ///< the same while the whole manager is stopping
    int presentation = 45000; ///< from the web client's end of initialisation to its presentation
    int waitReport = 30000; ///< until the log says which module a start waits for; then twice that, and so on
    int archive = 10000; ///< of the logs after a crash, and the reboot command, until it is killed
    int launchAhead = 5000; ///< how long a launch ahead of the walk counts against the limit of such launches
};

/// The clocks of the memory watchdog.
struct WatchdogTiming
{
    std::chrono::milliseconds minute = std::chrono::minutes(1); ///< the unit of the delay between two checks
    std::chrono::milliseconds restartDelay = std::chrono::seconds(5); ///< from a check to the restart of what it found
    std::function<QDateTime()> now = &QDateTime::currentDateTime;
};

/// The clocks of a request for a reboot that nobody takes.
struct RebootTiming
{
    std::chrono::milliseconds retry = std::chrono::seconds(1); ///< after an attempt that could not be delivered
    std::chrono::milliseconds minute = std::chrono::minutes(1); ///< the unit of the pauses between its lines
    std::chrono::milliseconds second = std::chrono::seconds(1); ///< the unit of `reboot_fallback`
};

/// All durations of the supervisor; tests and the simulator hand in shorter ones.
struct ManagerTiming
{
    ModuleLimits module;
    WatchdogTiming watchdog;
    RebootTiming reboot;
};

#endif
