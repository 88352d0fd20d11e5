#include <jov/JovProcess.h>
#include <jov/JovRoot.h>

#include <QByteArray>
#include <QFile>
#include <QProcess>

#include <cerrno>
#include <csignal>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool isOpen(int descriptor)
{
    const int flags = fcntl(descriptor, F_GETFL);
    return flags >= 0 && !(flags & O_PATH);
}

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
class Environment
{
public:
    Environment()
    {
        for (char **entry = environ; *entry; ++entry) {
            m_entries.emplace_back(*entry);
        }
        if (!JovRoot::prefix().isEmpty()) {
            const QByteArray bin = QFile::encodeName(JovRoot::rooted(QStringLiteral("/usr/bin")));
            const QByteArray path = qgetenv("PATH");
            std::vector<QByteArray> others;
            for (const QByteArray &entry : m_entries) {
                if (!entry.startsWith("PATH=")) {
                    others.push_back(entry);
                }
            }
            others.push_back("PATH=" + bin + ':' + (path.isEmpty() ? QByteArray("/usr/bin:/bin") : path));
            m_entries.swap(others);
        }
        for (QByteArray &entry : m_entries) {
            m_pointers.push_back(entry.data());
        }
        m_pointers.push_back(nullptr);
    }

    [[nodiscard]] char **data() { return m_pointers.data(); }

private:
    std::vector<QByteArray> m_entries;
    std::vector<char *> m_pointers;
};

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
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (!isOpen(descriptor)) {
            // A tool whose output is closed would print into the first file that it opens.
            posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
        }
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    QByteArray command = commandLine;
    char shell[] = "sh";
    char option[] = "-c";
    char *arguments[] = {shell, option, command.data(), nullptr};
    Environment environment;
    pid_t pid = 0;
    const bool spawned = posix_spawn(&pid, "/bin/sh", &actions, &attributes, arguments, environment.data()) == 0;
    const int status = spawned ? waitForEnd(pid) : -1;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return status;
}
