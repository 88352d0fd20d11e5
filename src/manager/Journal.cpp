#include "manager/Journal.h"

#include "contract/InspectionNames.h"

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

void Journal::noteState(const QString &name, ModuleState oldState, ModuleState newState)
{
    ModuleHistory &history = m_modules[name];
    const ModuleState before = oldState == ModuleState::None ? history.state : oldState;
    history.state = newState;
    if (before == ModuleState::None || before == newState) {
        return;
    }
    const quint64 time = add(stateText(newState), name);
    if (newState == ModuleState::Running) {
        history.readyAt = time;
    }
    Q_EMIT moduleStateChanged(name, before, newState);
}

void Journal::noteLaunch(const QString &name)
{
    ModuleHistory &history = m_modules[name];
    history.launchedAt = add(Inspect::Happened::launched, name);
    ++history.starts;
}

void Journal::noteExit(const QString &name, int exitCode, bool bySignal)
{
    ModuleHistory &history = m_modules[name];
    history.exitedAt = add(Inspect::Happened::exited, name);
    history.exitCode = exitCode;
    history.exitedBySignal = bySignal;
    ++history.exits;
    history.exitsBySignal += bySignal ? 1 : 0;
}

void Journal::noteStepStarted(const QString &name)
{
    m_steps[name].startedAt = add(Inspect::Happened::stepStarted, name);
}

void Journal::noteStepDone(const QString &name, int value)
{
    m_steps[name].doneAt = add(Inspect::Happened::stepDone, name);
    Q_EMIT stepDone(name, value);
}

void Journal::noteStart(bool again)
{
    m_timeline.beginStartUp();
    m_startedAt = add(again ? Inspect::Happened::restart : Inspect::Happened::start);
    m_endOfInitAt = 0;
    m_completeAt = 0;
}

void Journal::noteEndOfInit()
{
    m_endOfInitAt = add(Inspect::Happened::endOfInit);
    m_timeline.endStartUp();
}

void Journal::noteComplete()
{
    m_completeAt = m_completeAt == 0 ? now() : m_completeAt;
}

void Journal::noteStopAll()
{
    m_timeline.endStartUp();
    add(Inspect::Happened::stopAll);
}
