#include "initstep/StopWalk.h"

#include "module/Module.h"

qint64 StopWalk::stop(Module &node)
{
    qint64 count = 0;
    if (!m_visited.contains(&node)) {
        m_visited.insert(&node);
        const Application::Map sons = node.getSons();
        for (Application *son : sons) {
            count += stop(static_cast<Module &>(*son));
        }
    }
    if (stopNode(node)) {
        ++count;
    }
    // One that was launched ahead and had ended is for the next walk to start.
    node.settleAhead();
    return count;
}

bool StopWalk::stopNode(Module &node)
{
    if (m_ahead.take(node)) {
        return node.awaitStop(node.stopTimeLeft());
    }
    return node.isModule() && node.getState() != ModuleState::Stopped && node.stop();
}
