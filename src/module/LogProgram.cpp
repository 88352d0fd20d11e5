#include "module/LogProgram.h"

#include "contract/ExitText.h"

#include <jov/Log.h>

#include <algorithm>

#include <fcntl.h>

namespace {

constexpr int shortestPause = 1000; // milliseconds
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
    m_process.letGo();
}

int LogProgram::open()
{
    const int end = ::open(pathOf(m_writeEnd).constData(), O_WRONLY | O_CLOEXEC);
    if (end >= 0 && !m_process.isRunning()) {
        start();
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
    m_pause.setInterval(ranWell ? shortestPause : std::clamp(2 * m_pause.interval(), shortestPause, longestPause));
    m_pause.start();
    Log::warning("module_output of %1: the log program has ended (%2), next start in %3 s", m_module, reason,
                 m_pause.interval() / 1000);
}
