#ifndef MODULE_H
#define MODULE_H

#include "module/Application.h"
#include "module/ChildProcess.h"
#include "module/LogProgram.h"
#include "module/ModuleContext.h"

#include <QElapsedTimer>

#include <initializer_list>
#include <memory>

class JovEvent;

/**
 * One supervised native process. The step owns the Module, the Module owns the process, the catalogue owns the record
 * that holds the state, the status and the process id.
 *
 *     from                 event                                        to
 *     (new)                                                             STOPPED
 *     STOPPED              start()                                      STARTING
 *     STARTING             launch refused or failed                     STARTING, start() is false
 *     STARTING             "end_of_init_NAME"                           RUNNING
 *     STARTING             "end_of_init_JovWebClient"                   WEB_CLIENT_STARTED
 *     WEB_CLIENT_STARTED   "presentationReady"                          RUNNING
 *     WEB_CLIENT_STARTED   45 s without it                              stop()
 *     RUNNING, WEB_C...    stop(): "stop_module_NAME" is sent           STOPPING
 *     STOPPING             the process ends, however                    STOPPED
 *     STOPPING             30 s (2 s while everything stops)            STOPPED, killed
 *     any other            stop()                                       STOPPED, killed
 *     any                  the process ends                             STOPPED; a crash runs the crash policy
 *
 * An announcement that a module repeats, since the bus was away, is ignored unless the module waits for it; so is one
 * that comes when a start is certain to follow, as a process that was killed before has sent it.
 *
 * start() and stop() return when the module has settled; until then the event loop runs (WaitLoop). Callers must expect
 * any module's state to have changed, this one's included. A wait is bound to one run of the process;
 * what a later run does neither ends nor misleads it.
 *
 * Whose kill it was decides what an exit means. A kill of a module that is still starting, or that is stopped a second
 * time while it is stopping, is the supervisor's own and is treated as a normal exit; the kill after a stop's
 * time-out is a crash like any other.
 */
class Module : public Application, private ChildProcess::Listener
{
    Q_OBJECT

public:
    Module(ApplicationRecord *record, const ModuleContext &context);
    /// A process that still runs is killed, not asked.
    ~Module() override;

    /// Starts the process and waits, without a limit, until it has announced the end of its initialisation: true then.
    bool start();
    /// Whether begin() can launch it now: it is stopped, its previous process is reaped, and nothing refuses starts.
    [[nodiscard]] bool canBegin() const;
    /// The first half of start(), without a wait: launches the process. False when it could not be launched.
    bool begin();
    /// The second half: waits for the announcement, or the end, of the process that begin() has launched.
    bool await();
    /// begin() before the walk has arrived here. The walk, or a stop that comes first, takes the result.
    bool beginAhead();
    /// The result of beginAhead() is not taken yet.
    [[nodiscard]] bool isBegunAhead() const { return m_ahead != Ahead::No; }
    /// Takes the result for a stop.
    void settleAhead();
    /// Asks the process to end, kills it when it does not. False when it had to be killed.
    bool stop();
    /// The first half of stop() of a module that has started, without a wait: asks the process to end. Returns the
    /// limit in milliseconds.
    int beginStop();
    /// What is left of it.
    [[nodiscard]] int stopTimeLeft() const;
    /// The second half: waits for the end, and kills the process when the limit has passed.
    bool awaitStop(int limit);
    /// The limit has passed and nobody waits: kills the process if that stop is still in progress.
    void expireStop();

    void setState(ModuleState state) override;

public Q_SLOTS:
    /// The announcement as it came from the bus.
    void endOfInitReceived(const JovEvent &event);
    void slot_endOfInit();
    void slot_finished(int exitCode, QProcess::ExitStatus exitStatus);
    void slot_error(QProcess::ProcessError error);
    void slot_crashed();

Q_SIGNALS:
    void sig_crashed();
    /// Its state has changed, or its process was reaped.
    void changed();

protected:
    /// A process is about to be launched.
    virtual void launching() { }
    /// It has announced the end of its initialisation.
    virtual void announced();

    const ModuleContext m_context;

private:
    enum class Ahead { No, Launched, NotLaunched };

    void processFailed(QProcess::ProcessError error) override { slot_error(error); }
    void processFinished(int code, QProcess::ExitStatus status) override { slot_finished(code, status); }
    [[nodiscard]] bool isPreviousReaped() const;
    bool waitForPreviousProcess();
    bool launch();
    bool startResult() const;
    bool waitState(std::initializer_list<ModuleState> states, int timeout);
    [[nodiscard]] bool isLate() const;
    void killAsOurOwnDoing();
    void killAfterLimit();
    [[nodiscard]] int stopLimit() const;

    ChildProcess m_process{*this};
    std::unique_ptr<LogProgram> m_logProgram; ///< since the first launch that needed one
    QElapsedTimer m_startTimer; ///< since the last launch, or since the last stop began
    qint64 m_stopTime = 0; ///< what the last stop took, in milliseconds
    quint64 m_run = 0; ///< counts launches
    Ahead m_ahead = Ahead::No; ///< what beginAhead() has done, until somebody takes the result
    bool m_startPending = false; ///< a start waits for the previous process to be reaped
    quint64 m_stoppedRun = 0; ///< the run that the last stop is of
    bool m_stopExpired = false; ///< that stop ran out of time before anybody waited for it
    bool m_killedOnStop = false; ///< killed after a stop's time-out, and not ended yet
    bool m_stopTimedOut = false; ///< the crash that is answered is that kill
    bool m_killedWithEverything = false; ///< that stop was one of everything
    bool m_ownKill = false; ///< killed otherwise by stop(), and not ended yet
};

#endif
