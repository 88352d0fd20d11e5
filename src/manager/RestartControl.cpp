#include "manager/RestartControl.h"

#include "contract/Steps.h"
#include "supervision/SupervisionState.h"

#include <jov/Log.h>

RestartControl::RestartControl(SupervisionState &state, RestartSteps &steps)
    : m_state(state)
    , m_steps(steps)
{
    // Queued: the frame of the wait that ends, and the walk around it, return first.
    connect(&state.waits(), &WaitLoop::idle, this, [this] {
        if (m_pending != Kind::None) {
            QMetaObject::invokeMethod(this, &RestartControl::proceed, Qt::QueuedConnection);
        }
    });
}

void RestartControl::reset()
{
    m_locked = false;
    m_heldBack = false;
}

void RestartControl::request(Kind kind)
{
    if (m_state.isEnding()) {
        return;
    }
    m_pending = qMax(m_pending, kind);
    m_state.setRestartPending(true);
    m_state.setRestarting(true);
    if (m_requesting) {
        // Its stop is on the stack already, and what follows it will do for this request too.
        return;
    }
    m_requesting = true;
    m_steps.stopEverything();
    m_requesting = false;
    proceed();
}

void RestartControl::proceed()
{
    if (m_pending == Kind::None || m_requesting || m_state.waits().depth() > 0) {
        return;
    }
    const Kind kind = m_pending;
    m_pending = Kind::None;
    m_state.setRestartPending(false);
    if (!m_state.isEnding()) {
        startAgain(kind);
    }
}

void RestartControl::startAgain(Kind kind)
{
    if (kind == Kind::Rebuild) {
        m_steps.clearAllLists();
    }
    m_steps.beginStart();
    if (kind == Kind::Rebuild && !m_steps.buildAll()) {
        m_steps.endDaemon();
        return;
    }
    m_steps.startEverything();
    if (m_pending == Kind::None) {
        m_state.setRestarting(false);
        m_steps.resumeProgression();
    }
}

void RestartControl::requestUnlessLocked(int currentStep)
{
    Log::debug("Applicative restart Lock : %1 Step :%2", m_locked, currentStep);
    if (m_locked) {
        m_heldBack = true;
    } else if (currentStep >= Steps::firstOwn) {
        Log::debug("Applicative restart");
        // Queued: the caller has its reply before anything is stopped.
        QMetaObject::invokeMethod(this, &RestartControl::_restartAll, Qt::QueuedConnection);
    }
}

void RestartControl::_restartAll()
{
    Log::debug("Call of _restartAll() by restartApp()");
    request(Kind::StartAgain);
}

void RestartControl::unlock(int currentStep)
{
    m_locked = false;
    if (m_heldBack) {
        m_heldBack = false;
        Log::debug("ApplicationManager: call for suspending restartApp");
        requestUnlessLocked(currentStep);
    }
}
