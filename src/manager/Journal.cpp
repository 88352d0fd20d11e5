#include "manager/Journal.h"

#include "initstep/ModuleState.h"

#include <ctime>

namespace {

quint64 now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return quint64(time.tv_sec) * 1000000 + quint64(time.tv_nsec) / 1000;
}

} // namespace

quint64 Journal::add(const QString &event, const QString &name)
{
    const quint64 time = now();
    m_timeline.add({time, event, name});
    return time;
}

void Journal::noteState(const QString &name, const QString &oldState, const QString &newState)
{
    ModuleHistory &history = m_modules[name];
    const QString before = oldState.isEmpty() ? history.state : oldState;
    history.state = newState;
    if (before.isEmpty() || before == newState) {
        return;
    }
    const quint64 time = add(newState, name);
    if (newState == ModuleState::Running) {
        history.readyAt = time;
    }
    Q_EMIT moduleStateChanged(name, before, newState);
}

void Journal::noteLaunch(const QString &name)
{
    ModuleHistory &history = m_modules[name];
    history.launchedAt = add(QStringLiteral("launched"), name);
    ++history.starts;
}

void Journal::noteExit(const QString &name, int exitCode)
{
    ModuleHistory &history = m_modules[name];
    history.exitedAt = add(QStringLiteral("exited"), name);
    history.exitCode = exitCode;
}

void Journal::noteStepStarted(const QString &name)
{
    m_steps[name].startedAt = add(QStringLiteral("step_started"), name);
}

void Journal::noteStepDone(const QString &name, int value)
{
    m_steps[name].doneAt = add(QStringLiteral("step_done"), name);
    Q_EMIT stepDone(name, value);
}

void Journal::noteStart(bool again)
{
    m_timeline.beginStartUp();
    add(again ? QStringLiteral("restart") : QStringLiteral("start"));
}

void Journal::noteEndOfInit()
{
    add(QStringLiteral("end_of_init"));
    m_timeline.endStartUp();
}

void Journal::noteStopAll()
{
    m_timeline.endStartUp();
    add(QStringLiteral("stop_all"));
}
