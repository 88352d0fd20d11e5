#include "daemon/RunManager.h"

#include "bus/BusConnection.h"
#include "bus/BusOutbox.h"
#include "daemon/Heartbeat.h"
#include "daemon/Options.h"
#include "daemon/ParentProcess.h"
#include "daemon/PidFile.h"
#include "daemon/SignalHandOver.h"
#include "daemon/StandardStreams.h"
#include "manager/ApplicationManager.h"
#include "module/ChildReaper.h"

#include <jov/JovApplication.h>
#include <jov/JovRoot.h>

#include <cstdio>

namespace {

constexpr int lastWait = 200; // milliseconds, for processes that were killed at the end

QString watchdogDevice(const ApplicationManager &manager)
{
    const QString path = manager.getParameters().value(QStringLiteral("watchdog_device"));
    return path.isEmpty() ? path : JovRoot::rooted(path.startsWith(QLatin1Char('/')) ? path : QLatin1Char('/') + path);
}

} // namespace

int runManager(int argc, char **argv, pid_t parent, OwnStreams ownStreams, const ManagerTiming &timing)
{
    JovApplication application(argc, argv);
    BusOutbox::collect();
    // Here a missing descriptor still ends the process; at the first launch it would be too late.
    ChildReaper &reaper = ChildReaper::instance();
    int result = 0;
    {
        ApplicationManager manager(timing);
        manager.setOwnStreams(ownStreams);
        manager.setParent(parent);
        SignalHandOver signalHandOver(parent == 0);
        BusConnection::setInterruption(&SupervisionState::isTerminationTaken);
        QObject::connect(&signalHandOver, &SignalHandOver::hangup, &manager, &ApplicationManager::restart);
        QObject::connect(&signalHandOver, &SignalHandOver::terminate, &manager, &ApplicationManager::stopManager);
        Heartbeat heartbeat(parent);
        heartbeat.watch(watchdogDevice(manager));
        QObject::connect(&manager, &ApplicationManager::parametersRead, &manager,
                         [&] { heartbeat.watch(watchdogDevice(manager)); });
        result = application.exec();
        heartbeat.end(manager.isRebootRequested());
    }
    reaper.waitForGivenUp(lastWait);
    return result;
}

int runDaemon(int argc, char **argv, const ManagerTiming &timing)
{
    holdStandardStreams();
    const Options options = Options::parse(argc, argv);
    if (options.help) {
        std::fputs(helpText(), stdout);
        return 0;
    }
    if (options.version) {
        std::puts("ApplicationManager " JOV_VERSION);
        return 0;
    }
    if (!options.daemonMode) {
        return runManager(argc, argv, 0, options.ownStreams(), timing);
    }
    return daemonise([&](pid_t parent) {
        if (!options.debugMode) {
            closeStandardStreams();
        }
        PidFile pidFile;
        if (!options.pidFile.empty() && !pidFile.write(options.pidFile)) {
            return 1;
        }
        return runManager(argc, argv, parent, options.ownStreams(), timing);
    });
}
