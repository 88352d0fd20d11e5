#ifndef CHILD_PROCESS_H
#define CHILD_PROCESS_H

#include "module/ProcessGroup.h"

#include <QProcess>

#include <optional>

#include <sys/types.h>

/**
 * One child process at a time: start, kill, and a call when it has ended.
 *
 * It speaks QProcess's language (exit status, errors, the signal number as the exit code of a crash) and is made for a
 * supervisor: the child is spawned without a copy of the daemon's memory, which is most of what a start costs, and
 * nothing of its output is ever read. It takes no descriptor: all children read from one pipe that never says anything.
 *
 * The child begins with a clean slate: a process group of its own (the terminal's interrupt key is for the daemon
 * alone, and must not look like a crash of every module), no blocked signals, default handlers, and no descriptors but
 * its streams.
 *
 * The end is noticed through the event loop; until then the object is running, also if the child is dead already. A
 * kill reaches the child's whole process group. What an ended child has left in its group is killed before the next
 * start and with the object. A running child is killed with the object and handed to the reaper, under its name.
 */
class ChildProcess
{
public:
    /// Whoever wants to know. A plain interface: an object with signals would cost half a kilobyte a module.
    class Listener
    {
    public:
        virtual void processFailed(QProcess::ProcessError error) = 0;
        virtual void processFinished(int exitCode, QProcess::ExitStatus exitStatus) = 0;

    protected:
        ~Listener() = default;
    };

    struct Command
    {
        QString name; ///< under which the reaper holds it, if it cannot be reaped
        QString program;
        QStringList arguments;
        QString workingDirectory;
        std::optional<mode_t> mask; ///< its umask instead of our own
        bool quiet = true; ///< its output goes to /dev/null, else to our own streams
        int output = -1; ///< where it goes instead, if this is open
        int input = -1; ///< what its standard input is instead of the silent pipe, if this is open
    };

    explicit ChildProcess(Listener &listener)
        : m_listener(listener)
    { }
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    /// Returns when the program runs, or with processFailed(FailedToStart) and false. Not while a child is running.
    bool start(const Command &command);
    void kill();
    /// The child is not killed with the object; the reaper reaps it.
    void letGo();
    [[nodiscard]] bool isRunning() const { return m_pid > 0; }
    [[nodiscard]] qint64 processId() const { return m_pid; }
    [[nodiscard]] QString errorString() const { return m_errorString; }

private:
    friend class ChildReaper;

    /// The child has ended.
    void reap();

    Listener &m_listener;
    pid_t m_pid = 0;
    QString m_name;
    ProcessGroup m_left; ///< of the last run
    QString m_errorString;
};

#endif
