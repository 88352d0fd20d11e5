#ifndef SUPERVISION_OBSERVER_H
#define SUPERVISION_OBSERVER_H

#include "contract/ModuleState.h"

class QString;

/// Is called for what happens to modules and steps, as it happens. By itself it ignores everything.
class SupervisionObserver
{
public:
    virtual ~SupervisionObserver() = default;

    virtual void noteState(const QString & /*module*/, ModuleState /*oldState*/, ModuleState /*newState*/) { }
    virtual void noteLaunch(const QString & /*module*/) { }
    virtual void noteExit(const QString & /*module*/, int /*exitCode*/) { }
    virtual void noteStepStarted(const QString & /*step*/) { }
    virtual void noteStepDone(const QString & /*step*/, int /*value*/) { }
};

#endif
