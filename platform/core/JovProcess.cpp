#include "system/Spawn.h"

#include <jov/JovProcess.h>
#include <jov/JovRoot.h>

#include <QByteArray>
#include <QFile>
#include <QProcess>

#include <cerrno>
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

namespace {

/// The wait status. A command that somebody stops is told to go on: the caller would stand still with it.
int waitForEnd(pid_t pid)
{
    int status = -1;
    for (;;) {
        const pid_t changed = waitpid(pid, &status, WUNTRACED);
        if (changed == pid && WIFSTOPPED(status)) {
            kill(pid, SIGCONT);
        } else if (changed == pid || errno != EINTR) {
            return status;
        }
    }
}

/// The caller's environment; under another root, commands are looked for there first.
std::vector<QByteArray> environment()
{
    std::vector<QByteArray> entries;
    const bool isRooted = !JovRoot::prefix().isEmpty();
    for (char **entry = environ; *entry; ++entry) {
        if (!isRooted || qstrncmp(*entry, "PATH=", 5) != 0) {
            entries.emplace_back(*entry);
        }
    }
    if (isRooted) {
        const QByteArray bin = QFile::encodeName(JovRoot::rooted(QStringLiteral("/usr/bin")));
        const QByteArray path = qgetenv("PATH");
        entries.push_back("PATH=" + bin + ':' + (path.isEmpty() ? QByteArray("/usr/bin:/bin") : path));
    }
    return entries;
}

} // namespace

QString getExitCodeInString(int exitCode)
{
    switch (exitCode) {
    case 0:
        return QStringLiteral("EXITED_OK");
    case 127:
        return QStringLiteral("BAD_LIBRARIES");
    case SIGILL:
        return QStringLiteral("SIGILL");
    case SIGABRT:
        return QStringLiteral("SIGABRT");
    case SIGBUS:
        return QStringLiteral("SIGBUS");
    case SIGFPE:
        return QStringLiteral("SIGFPE");
    case SIGKILL:
        return QStringLiteral("SIGKILL");
    case SIGSEGV:
        return QStringLiteral("SIGSEGV");
    case SIGTERM:
        return QStringLiteral("SIGTERM");
    default:
        return QStringLiteral("EXITED_%1").arg(exitCode);
    }
}

QString getProcessErrorInString(int processError)
{
    switch (processError) {
    case QProcess::FailedToStart:
        return QStringLiteral("FailedToStart");
    case QProcess::Crashed:
        return QStringLiteral("Crashed");
    case QProcess::Timedout:
        return QStringLiteral("Timedout");
    case QProcess::ReadError:
        return QStringLiteral("ReadError");
    case QProcess::WriteError:
        return QStringLiteral("WriteError");
    default:
        return QStringLiteral("UnknownError");
    }
}

int qor_system(const QByteArray &commandLine)
{
    Spawn spawn;
    // A tool whose output is closed would print into the first file that it opens.
    spawn.fillClosedStreams();
    spawn.replaceEnvironment(environment());
    pid_t pid = 0;
    return spawn.run(pid, "/bin/sh", {"sh", "-c", commandLine}) == 0 ? waitForEnd(pid) : -1;
}
