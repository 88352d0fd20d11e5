#include "module/LogProgram.h"

#include "contract/ExitText.h"
#include "module/PostponedLogPrograms.h"

#include <jov/Log.h>

#include <QFile>

#include <algorithm>

#include <fcntl.h>

namespace {

constexpr int firstNumber = 64; // of the ends that are held: a start copies the descriptors below the module's output
constexpr int afterLaunch = 500; // milliseconds
constexpr int shortestPause = 1000;
constexpr int longestPause = 60000;

} // namespace

LogProgram::LogProgram(const QString &module, const QString &command)
    : m_module(module)
    , m_command(command)
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) == 0) {
        const Descriptor readEnd(ends[0]);
        Descriptor writeEnd(ends[1]);
        m_readEnd.reset(fcntl(ends[0], F_DUPFD_CLOEXEC, firstNumber));
        m_writeEnd.reset(fcntl(ends[1], F_DUPFD_CLOEXEC, firstNumber));
        if (m_readEnd.isOpen() && m_writeEnd.isOpen()) {
            m_firstEnd.reset(writeEnd.release());
        }
    }
    m_pause.setSingleShot(true);
    QObject::connect(&m_pause, &QTimer::timeout, &m_pause, [this] { start(); });
}

LogProgram::~LogProgram()
{
    if (m_pause.isActive()) {
        start(); // for what is in the pipe
    }
    PostponedLogPrograms::instance().remove(m_readEnd.number());
    m_process.letGo();
}

int LogProgram::open()
{
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(m_writeEnd.number());
    const int end = m_firstEnd.isOpen() ? m_firstEnd.release() : ::open(path.constData(), O_WRONLY | O_CLOEXEC);
    // A launch may shorten the time until the next start, but not put it off.
    if (end >= 0 && !m_process.isRunning() && (!m_pause.isActive() || m_pause.remainingTime() > afterLaunch)) {
        if (postpone()) {
            m_pause.start(afterLaunch);
        } else {
            start();
        }
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
    command.mask = mask;
    command.input = m_readEnd.number();
    if (m_process.start(command)) {
        PostponedLogPrograms::instance().remove(m_readEnd.number());
    }
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
    postpone();
    m_pause.start(m_lastPause);
    Log::warning("module_output of %1: the log program has ended (%2), next start in %3 s", m_module, reason,
                 m_lastPause / 1000);
}

bool LogProgram::postpone()
{
    return PostponedLogPrograms::instance().add(m_readEnd.number(), QFile::encodeName(m_command));
}
