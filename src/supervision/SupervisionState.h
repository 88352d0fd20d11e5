#ifndef SUPERVISION_STATE_H
#define SUPERVISION_STATE_H

#include "supervision/Parameters.h"
#include "supervision/Timing.h"
#include "supervision/WaitLoop.h"

#include <QtGlobal>

/// Whether modules write to the daemon's standard streams: not in the background, by default in the foreground, and
/// always with `--debug`, also against `module_output`.
enum class OwnStreams { No, ByDefault, Always };

/**
 * The facts that all parts of the supervisor share: how far the start-up is, whether everything is to stop, how long
 * things may take, and where they wait. The manager owns it, and it outlives every part.
 *
 * The stop flag (startFailed()) is set by everything that ends or interrupts a start: a stop of everything, the end of
 * the daemon, a request for a reboot, failed mandatory settings, and a `SIGTERM` from the moment its handler ran. Only
 * beginStart() clears it.
 */
class SupervisionState
{
public:
    explicit SupervisionState(const ModuleLimits &limits = ModuleLimits())
        : m_limits(limits)
    { }

    /// A `SIGTERM` was taken. Async-signal-safe; nothing takes it back.
    static void noteTermination() noexcept;
    [[nodiscard]] static bool isTerminationTaken() noexcept;

    /// The stop flag.
    [[nodiscard]] bool startFailed() const;
    void failStart() { m_startFailed = true; }
    /// A start-up or a restart has not reached "end_of_init" yet.
    [[nodiscard]] bool initInProgress() const { return m_initInProgress; }
    void endInit() { m_initInProgress = false; }
    /// A new start: nothing has failed yet.
    void beginStart();
    void rebootRequested();
    /// A reboot of the terminal was requested, and no start since.
    [[nodiscard]] bool isRebootRequested() const { return m_rebootRequested; }
    /// The same without an end of the start: the modules go on until then.
    void noteRebootRequest() { m_rebootRequested = true; }

    /// Around a stop of everything. Stops can nest.
    void beginStop();
    void endStop() { --m_stops; }
    /// Grows with every stop of everything: a start that began under a smaller number is to give up.
    [[nodiscard]] quint64 stopGeneration() const { return m_stopGeneration; }

    /// A restart was requested and has not begun to start again yet.
    [[nodiscard]] bool restartPending() const { return m_restartPending; }
    void setRestartPending(bool pending) { m_restartPending = pending; }

    /// From the request for a restart until everything has been started again.
    [[nodiscard]] bool restarting() const { return m_restarting; }
    void setRestarting(bool restarting) { m_restarting = restarting; }

    void setEnding() { m_ending = true; }
    /// The daemon ends.
    [[nodiscard]] bool isEnding() const;
    /// Nothing may be started any more, or not before what is in progress has ended.
    [[nodiscard]] bool startsRefused() const { return isEnding() || m_restartPending || m_stops > 0; }

    /// Modules write to the daemon's own standard streams.
    [[nodiscard]] bool usesOwnStreams() const;
    void setOwnStreams(OwnStreams ownStreams) { m_ownStreams = ownStreams; }

    [[nodiscard]] const Parameters &parameters() const { return m_parameters; }
    void setParameters(const Parameters &parameters) { m_parameters = parameters; }

    [[nodiscard]] const ModuleLimits &limits() const { return m_limits; }
    /// Where starts, stops and checks wait.
    [[nodiscard]] WaitLoop &waits() { return m_waits; }

private:
    const ModuleLimits m_limits;
    Parameters m_parameters;
    WaitLoop m_waits;
    quint64 m_stopGeneration = 0;
    int m_stops = 0; ///< stops of everything that are on the stack
    bool m_startFailed = false;
    bool m_rebootRequested = false;
    bool m_initInProgress = false;
    bool m_restartPending = false;
    bool m_restarting = false;
    bool m_ending = false;
    OwnStreams m_ownStreams = OwnStreams::No;
};

#endif
