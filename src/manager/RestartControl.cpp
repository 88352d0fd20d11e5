#include "manager/RestartControl.h"

#include "manager/ApplicationManager.h"
#include "supervision/WaitLoop.h"

#include <jov/Log.h>

namespace {

/// Before this step a restart by the modules is dropped: the start-up itself is still under way.
constexpr int firstRestartableStep = 5;

} // namespace

RestartControl::RestartControl(ApplicationManager &manager)
    : m_manager(manager)
{
    // Queued: the frame of the wait that ends, and the walk around it, return first.
    connect(&manager.waits(), &WaitLoop::idle, this, &RestartControl::proceed, Qt::QueuedConnection);
}

void RestartControl::reset()
{
    m_locked = false;
    m_heldBack = false;
}

void RestartControl::request(Kind kind)
{
    if (m_manager.isExiting()) {
        return;
    }
    m_pending = qMax(m_pending, kind);
    if (m_requesting) {
        // Its stop is on the stack already, and what follows it will do for this request too.
        return;
    }
    m_requesting = true;
    m_manager.stopAll();
    m_requesting = false;
    proceed();
}

void RestartControl::proceed()
{
    if (m_pending == Kind::None || m_requesting || m_manager.waits().depth() > 0) {
        return;
    }
    const Kind kind = m_pending;
    m_pending = Kind::None;
    if (!m_manager.isExiting()) {
        startAgain(kind);
    }
}

void RestartControl::startAgain(Kind kind)
{
    if (kind == Kind::Rebuild) {
        m_manager.clearAllLists();
    }
    m_manager.beginStart();
    if (kind == Kind::Rebuild && !m_manager.buildAll()) {
        m_manager.stopManager();
        return;
    }
    m_manager.startAll();
    if (!isPending()) {
        m_manager.resumeProgression();
    }
}

void RestartControl::requestUnlessLocked(int currentStep)
{
    Log::debug("Applicative restart Lock : %1 Step :%2", m_locked, currentStep);
    if (m_locked) {
        m_heldBack = true;
    } else if (currentStep >= firstRestartableStep) {
        Log::debug("Applicative restart");
        QMetaObject::invokeMethod(&m_manager, "_restartAll", Qt::QueuedConnection);
    }
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
