#include "module/ChildReaper.h"

#include "module/ChildProcess.h"

#include <csignal>

ChildReaper &ChildReaper::instance()
{
    // Never destroyed: children may be, until the very end.
    static ChildReaper &reaper = *new ChildReaper;
    return reaper;
}

ChildReaper::ChildReaper()
    : m_bridge({SIGCHLD})
{
    connect(&m_bridge, &SignalBridge::raised, this, &ChildReaper::childEnded);
}

void ChildReaper::childEnded()
{
    // What an end leads to may turn the event loop, come here again, and destroy children.
    const QSet<ChildProcess *> children = m_children;
    for (ChildProcess *child : children) {
        if (m_children.contains(child)) {
            child->reap();
        }
    }
}
