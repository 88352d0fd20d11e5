#include "manager/ParentReport.h"

#include <jov/Log.h>

#include <csignal>

#include <unistd.h>

void ParentReport::send(bool startFailed)
{
    if (m_parent <= 1 || getppid() != m_parent) {
        return;
    }
    // The figure is the same for both signals: tools look for this line.
    Log::debug("Kill father (%1) with %2", int(m_parent), 12);
    kill(m_parent, startFailed ? SIGUSR2 : SIGUSR1);
    m_parent = 0;
}
