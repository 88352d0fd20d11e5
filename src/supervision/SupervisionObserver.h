#ifndef SUPERVISION_OBSERVER_H
#define SUPERVISION_OBSERVER_H

class QString;

/// Is told what happens to modules and steps, as it happens. By itself it lets everything pass.
class SupervisionObserver
{
public:
    virtual ~SupervisionObserver() = default;

    virtual void noteState(const QString & /*module*/, const QString & /*oldState*/, const QString & /*newState*/) { }
    virtual void noteLaunch(const QString & /*module*/) { }
    virtual void noteExit(const QString & /*module*/, int /*exitCode*/) { }
    virtual void noteStepStarted(const QString & /*step*/) { }
    virtual void noteStepDone(const QString & /*step*/, int /*value*/) { }
};

#endif
