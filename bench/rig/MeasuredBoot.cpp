#include "rig/MeasuredBoot.h"

#include "contract/Events.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QTimer>

#include <cerrno>
#include <csignal>
#include <utility>

#include <sys/prctl.h>
#include <sys/wait.h>

namespace {

constexpr int longestBoot = 120000;
constexpr int longestEnd = 10000;

QString newConnectionName()
{
    static int count = 0;
    return QStringLiteral("boot-%1").arg(++count);
}

/// The modules end with their bus; one that does not is a fault of the benchmark.
void reapAll()
{
    QElapsedTimer waited;
    waited.start();
    for (;;) {
        const pid_t pid = waitpid(-1, nullptr, WNOHANG);
        if (pid < 0 && errno == ECHILD) {
            return;
        }
        if (pid == 0) {
            if (waited.elapsed() > longestEnd) {
                qFatal("modules are left behind");
            }
            QThread::msleep(1);
        }
    }
}

} // namespace

Programs Programs::beside(const QString &program, const QString &daemon)
{
    const QString directory = QFileInfo(program).absolutePath() + QLatin1Char('/');
    const QString installed = directory + QStringLiteral("../bin/");
    return {daemon.isEmpty() ? installed + QStringLiteral("ApplicationManager") : daemon,
            directory + QStringLiteral("bench-floor"),
            directory + QStringLiteral("bench-bare"),
            directory + QStringLiteral("bench-talking"),
            directory + QStringLiteral("tiny-module"),
            directory + QStringLiteral("bench-list-server"),
            installed + QStringLiteral("jovctl"),
            installed + QStringLiteral("jov-run")};
}

MeasuredBoot::MeasuredBoot(By by, const Programs &programs, const BenchTerminal &terminal, const QStringList &names,
                           Until until)
    : m_connectionName(newConnectionName())
    , m_starts(names.size() - 1)
    , m_awaited(until == Until::LastOfThem ? 2 : names.size())
{
    if (until == Until::LastOfThem) {
        subscribe({Events::endOfInitOf(names.first())});
        subscribe({Events::endOfInitOf(names.last())});
    } else {
        subscribe({});
    }
    m_clock.start();
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.setStandardOutputFile(QProcess::nullDevice());
    switch (by) {
    case By::Daemon:
        bootByDaemon(programs.daemon, terminal);
        break;
    case By::DaemonInForeground:
        bootInForeground({programs.daemon, QStringLiteral("--nodaemon")});
        break;
    case By::Floor:
        bootInForeground(QStringList{programs.floor, terminal.moduleDirectory()} + names);
        break;
    }
    waitUntil([this] { return m_awaited == 0; });
}

MeasuredBoot::~MeasuredBoot()
{
    if (m_pid > 0) {
        kill(pid_t(m_pid), SIGKILL);
    }
    m_process.kill();
    m_process.waitForFinished();
    QDBusConnection::disconnectFromBus(m_connectionName);
    m_bus.reset();
    reapAll();
}

void MeasuredBoot::subscribe(const QStringList &event)
{
    QDBusConnection connection = QDBusConnection::connectToBus(m_bus->address(), m_connectionName);
    if (!connection.connect(QString(), QString(), QStringLiteral("com.velmora.Jovara.JovEvent"),
                            QStringLiteral("event"), event, QStringLiteral("sa{sv}"), this,
                            SLOT(announced(QDBusMessage)))) {
        qFatal("no bus: %s", qPrintable(connection.lastError().message()));
    }
}

/// As on a terminal: in the background and quiet. The process that is started ends when the start-up has.
void MeasuredBoot::bootByDaemon(const QString &program, const BenchTerminal &terminal)
{
    const QString pidFile = terminal.path(QStringLiteral("/tmp/pid"));
    QFile::remove(pidFile);
    m_process.start(program, {QStringLiteral("--pidFile=") + pidFile});
    waitUntil([this] { return m_process.state() == QProcess::NotRunning; });
    QFile file(pidFile);
    if (file.open(QIODevice::ReadOnly)) {
        m_pid = file.readAll().trimmed().toLongLong();
    }
    if (m_process.exitCode() != 0 || m_pid <= 0) {
        qFatal("the daemon does not come up: status %d, see %s", m_process.exitCode(), qPrintable(terminal.logFile()));
    }
}

/// In a session of its own, as the daemon in the background is: the kernel shares the processors out among sessions.
void MeasuredBoot::bootInForeground(const QStringList &command)
{
    m_process.start(QStringLiteral("setsid"), command);
    m_process.waitForStarted();
    m_pid = m_process.processId();
}

/// The loop turns meanwhile, so that an announcement is stamped when it arrives.
void MeasuredBoot::waitUntil(const std::function<bool()> &reached)
{
    QTimer limit;
    limit.setSingleShot(true);
    limit.start(longestBoot);
    while (!reached()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (!limit.isActive()) {
            qFatal("a module does not come up");
        }
    }
}

void MeasuredBoot::announced(const QDBusMessage &message)
{
    if (message.arguments().value(0).toString().startsWith(Events::endOfInitOf(QString()))) {
        (m_firstAt < 0 ? m_firstAt : m_lastAt) = m_clock.nsecsElapsed();
        --m_awaited;
    }
}

double MeasuredBoot::stop()
{
    QElapsedTimer elapsed;
    elapsed.start();
    const pid_t pid = pid_t(std::exchange(m_pid, 0));
    kill(pid, SIGTERM);
    if (m_process.state() == QProcess::NotRunning) {
        waitpid(pid, nullptr, 0);
    } else {
        m_process.waitForFinished(longestBoot);
    }
    return double(elapsed.nsecsElapsed()) / 1e6;
}

double MeasuredBoot::perModule() const
{
    return double(m_lastAt - m_firstAt) / 1e6 / m_starts;
}

void MeasuredBoot::becomeSubreaper()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}
