#include "bus/BusOutbox.h"
#include "system/LifeSign.h"
#include "system/Spawn.h"

#include <jov/JovProcess.h>
#include <jov/JovRoot.h>

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <cerrno>
#include <csignal>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int slice = 50; // ms between two looks at a command
constexpr int reapLimit = 1000; // ms; a killed process that waits for a device does not end

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

/// True with the wait status when it has ended before `goOn` returned false.
bool waitWhile(const std::function<bool()> &goOn, pid_t pid, int &status)
{
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (!goOn()) {
            return false;
        }
        LifeSign::give();
        // A signal ends it, that of a child as well where the caller handles it.
        poll(nullptr, 0, slice);
    }
    return true;
}

/// waitForEnd() of a process that leads a group, and a kill of the group when `goOn` returns false.
int waitOrKill(pid_t pid, const std::function<bool()> &goOn)
{
    int status = -1;
    if (!waitWhile(goOn, pid, status)) {
        kill(-pid, SIGKILL);
        QElapsedTimer elapsed;
        elapsed.start();
        waitWhile([&elapsed] { return elapsed.elapsed() < reapLimit; }, pid, status);
    }
    return status;
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

int qor_system(const QByteArray &commandLine, const std::function<bool()> &goOn)
{
    return qor_execute("/bin/sh", {"sh", "-c", commandLine}, goOn);
}

int qor_execute(const QByteArray &program, const std::vector<QByteArray> &arguments, const std::function<bool()> &goOn)
{
    LifeSign::give();
    BusOutbox::flushAll();
    Spawn spawn;
    // A tool whose output is closed would print into the first file that it opens.
    spawn.fillClosedStreams();
    spawn.replaceEnvironment(environment());
    if (goOn) {
        spawn.separateGroup();
    }
    pid_t pid = 0;
    if (spawn.run(pid, program, arguments) != 0) {
        return -1;
    }
    return goOn ? waitOrKill(pid, goOn) : waitForEnd(pid);
}
