#ifndef LOG_PROGRAM_H
#define LOG_PROGRAM_H

#include "module/ChildProcess.h"
#include "system/Descriptor.h"

#include <QElapsedTimer>
#include <QTimer>

/**
 * The log program of one module: a shell command that reads what the module prints from a pipe.
 *
 * Both ends of the pipe are held here, so that a module never writes to a pipe without a reader while the daemon lives,
 * and what it has written waits for the next log program when one has ended. A log program is started shortly after the
 * launch of the module, so that it does not take the processor from the start-up, and again after a pause when it has
 * ended; if the daemon ends before, PostponedLogPrograms starts it. It is never killed: it reads the end of the file
 * when this object and the module are gone.
 */
class LogProgram final : private ChildProcess::Listener
{
public:
    LogProgram(const QString &module, const QString &command);
    ~LogProgram();
    LogProgram(const LogProgram &) = delete;
    LogProgram &operator=(const LogProgram &) = delete;

    static constexpr mode_t mask = 027; ///< its umask: what modules print is not for everybody

    [[nodiscard]] QString command() const { return m_command; }
    /// Has it started if it does not run. A description of the end to write to, for one launch: modules that shared one
    /// would share O_NONBLOCK. -1, with errno, on an error.
    int open();

private:
    void processFailed(QProcess::ProcessError error) override;
    void processFinished(int exitCode, QProcess::ExitStatus exitStatus) override;
    void start();
    void startLater(const QString &reason);
    bool postpone();

    const QString m_module;
    const QString m_command;
    Descriptor m_readEnd;
    Descriptor m_writeEnd;
    Descriptor m_firstEnd; ///< for the first launch: /proc takes longer than all else here
    ChildProcess m_process{*this};
    QElapsedTimer m_sinceStart;
    QTimer m_pause; ///< before a start
    int m_lastPause = 0; ///< after an end
};

#endif
