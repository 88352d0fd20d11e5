#include "initstep/StartWalk.h"

#include "initstep/InitStep.h"
#include "supervision/SupervisionState.h"

#include <jov/Log.h>

namespace {

// Beyond any count that the bus could carry; keeps sums of sums from overflowing.
constexpr qint64 countCeiling = qint64(1) << 40;

// More visits than any real step has.
constexpr int visitsToTheLetter = 5000;

} // namespace

qint64 StartWalk::start(Module &node)
{
    if (m_state.startFailed()) {
        Log::debug("[initStep.recursivestart] interrupted because stopping");
        return 0;
    }
    const auto known = m_visits.constFind(&node);
    if (++m_count > visitsToTheLetter && known != m_visits.cend() && known->started == m_started) {
        return known->count;
    }
    const quint64 startedBefore = m_started;
    const qint64 count = visit(node);
    if (m_started == startedBefore) {
        m_visits.insert(&node, {m_started, count});
    }
    return count;
}

qint64 StartWalk::visit(Module &node)
{
    const bool runs = node.getState() == ModuleState::Running && !node.isBegunAhead();
    if (runs || !node.isModule()) {
        return startSons(node);
    }
    if (!m_step.canStart(node, true)) {
        return 0;
    }
    // What came of it shows in the module's state.
    if (node.isBegunAhead()) {
        node.await();
    } else {
        node.start();
    }
    if (node.getState() == ModuleState::Running) {
        ++m_started;
    }
    return 1 + startSons(node);
}

qint64 StartWalk::startSons(Module &node)
{
    qint64 count = 0;
    const Application::Map sons = node.getSons();
    for (Application *son : sons) {
        if (m_state.startFailed()) {
            Log::debug("[initStep.recursivestart son] interrupted because stopping");
            return count;
        }
        count = qMin(count + start(static_cast<Module &>(*son)) + 1, countCeiling);
    }
    return count;
}
