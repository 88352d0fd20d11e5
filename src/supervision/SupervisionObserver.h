#ifndef SUPERVISION_OBSERVER_H
#define SUPERVISION_OBSERVER_H

#include "contract/ModuleState.h"

#include <QVariantMap>

/// Is called for what happens to modules and steps, as it happens. By itself it ignores everything.
class SupervisionObserver
{
public:
    virtual ~SupervisionObserver() = default;

    virtual void noteState(const QString & /*module*/, ModuleState /*oldState*/, ModuleState /*newState*/) { }
    virtual void noteLaunch(const QString & /*module*/) { }
    virtual void noteExit(const QString & /*module*/, int /*exitCode*/, bool /*bySignal*/) { }
    virtual void noteStepStarted(const QString & /*step*/) { }
    // What ends a boot, with the keys of History::Key.
    virtual void noteFailedStart(const QVariantMap & /*reason*/) { }
    /// A reboot is about to be requested or run. Returns when that is written down.
    virtual void noteReboot(const QVariantMap & /*reason*/) { }
    virtual void noteUntakenReboot() { }
    /// The daemon is about to end.
    virtual void noteEnding(const QVariantMap & /*reason*/) { }
    virtual void noteStepDone(const QString & /*step*/, int /*value*/) { }
};

#endif
