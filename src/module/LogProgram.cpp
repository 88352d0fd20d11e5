#include "module/LogProgram.h"

#include "contract/ExitText.h"

#include <jov/Log.h>

#include <algorithm>

#include <fcntl.h>

namespace {

constexpr int afterLaunch = 500; // milliseconds
constexpr int shortestPause = 1000;
constexpr int longestPause = 60000;
constexpr mode_t permissions = 027; // its umask: what modules print is not for everybody

QByteArray pathOf(const Descriptor &end)
{
    return "/proc/self/fd/" + QByteArray::number(end.number());
}

} // namespace

LogProgram::LogProgram(const QString &module, const QString &command)
    : m_module(module)
    , m_command(command)
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) == 0) {
        m_readEnd.reset(ends[0]);
        m_writeEnd.reset(ends[1]);
    }
    m_pause.setSingleShot(true);
    QObject::connect(&m_pause, &QTimer::timeout, &m_pause, [this] { start(); });
}

LogProgram::~LogProgram()
{
    if (m_pause.isActive()) {
        start(); // for what is in the pipe
    }
    m_process.letGo();
}

int LogProgram::open()
{
    const int end = ::open(pathOf(m_writeEnd).constData(), O_WRONLY | O_CLOEXEC);
    // A launch may shorten the time until the next start, but not put it off.
    if (end >= 0 && !m_process.isRunning() && (!m_pause.isActive() || m_pause.remainingTime() > afterLaunch)) {
        m_pause.start(afterLaunch);
    }
    return end;
}

void LogProgram::start()
{
    m_pause.stop();
    m_sinceStart.start();
    ChildProcess::Command command;
    command.program = QStringLiteral("/bin/sh");
    command.arguments = QStringList{QStringLiteral("-c"), m_command};
    command.workingDirectory = QStringLiteral("/");
    command.mask = permissions;
    command.input = pathOf(m_readEnd);
    m_process.start(command);
}

void LogProgram::processFailed(QProcess::ProcessError error)
{
    if (error == QProcess::FailedToStart) {
        startLater(m_process.errorString());
    }
}

void LogProgram::processFinished(int exitCode, QProcess::ExitStatus exitStatus)
{
    startLater(exitText(exitCode, exitStatus == QProcess::CrashExit));
}

void LogProgram::startLater(const QString &reason)
{
    const bool ranWell = m_sinceStart.elapsed() > longestPause;
    m_lastPause = ranWell ? shortestPause : std::clamp(2 * m_lastPause, shortestPause, longestPause);
    m_pause.start(m_lastPause);
    Log::warning("module_output of %1: the log program has ended (%2), next start in %3 s", m_module, reason,
                 m_lastPause / 1000);
}
