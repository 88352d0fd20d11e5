#include "supervision/SupervisionState.h"

#include <atomic>

namespace {

std::atomic<bool> terminationTaken{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the flag is set in a signal handler");

} // namespace

void SupervisionState::noteTermination() noexcept
{
    terminationTaken.store(true);
}

bool SupervisionState::isTerminationTaken() noexcept
{
    return terminationTaken.load();
}

bool SupervisionState::startFailed() const
{
    return m_startFailed || terminationTaken.load();
}

void SupervisionState::beginStart()
{
    m_startFailed = false;
    m_rebootRequested = false;
    m_initInProgress = true;
}

void SupervisionState::rebootRequested()
{
    noteRebootRequest();
    m_startFailed = true;
    m_initInProgress = false;
}

void SupervisionState::beginStop()
{
    m_startFailed = true;
    ++m_stopGeneration;
    ++m_stops;
}

bool SupervisionState::usesOwnStreams() const
{
    return m_ownStreams == OwnStreams::Always
        || (m_ownStreams == OwnStreams::ByDefault && m_parameters.moduleOutput.kind == OutputSetting::Kind::None);
}

bool SupervisionState::isEnding() const
{
    return m_ending || terminationTaken.load();
}
