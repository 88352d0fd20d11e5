#ifndef TERMINAL_PROCESS_H
#define TERMINAL_PROCESS_H

#include "contract/ExitText.h"

#include <QProcess>

#include <csignal>

#include <sys/prctl.h>
#include <unistd.h>

/// The bus or the supervisor: a child in a session of its own, out of reach of Ctrl-C. The kernel sends it SIGTERM when
/// the simulator dies.
class TerminalProcess : public QProcess
{
public:
    /// "with status 0", "by SIGKILL": how it ended.
    [[nodiscard]] QString end() const
    {
        return exitStatus() == CrashExit ? QStringLiteral("by %1").arg(signalName(exitCode()))
                                         : QStringLiteral("with status %1").arg(exitCode());
    }

protected:
    void setupChildProcess() override
    {
        setsid();
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        if (getppid() != m_simulator) {
            _exit(1); // the simulator died before we asked
        }
    }

private:
    const pid_t m_simulator = getpid();
};

#endif
