#include "module/ChildProcess.h"

#include "bus/BusOutbox.h"
#include "module/ChildReaper.h"
#include "system/Spawn.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::vector<QByteArray> wordsOf(const ChildProcess::Command &command)
{
    std::vector<QByteArray> words{QFile::encodeName(command.program)};
    for (const QString &argument : command.arguments) {
        words.push_back(QFile::encodeName(argument));
    }
    return words;
}

/// The children's standard input: a pipe to which nobody writes and which ends with the daemon. Each child opens it
/// itself, because children that shared one description would share O_NONBLOCK. -1, with errno, on an error.
int silentInput()
{
    static int ends[2] = {-1, -1};
    return ends[0] < 0 && pipe2(ends, O_CLOEXEC) != 0 ? -1 : ends[0];
}

} // namespace

ChildProcess::~ChildProcess()
{
    m_left.kill();
    if (isRunning()) {
        kill();
        ChildReaper::instance().giveUp(m_pid, m_name);
    }
}

bool ChildProcess::start(const Command &command)
{
    m_left.kill();
    m_name = command.name;
    const int input = command.input < 0 ? silentInput() : command.input;
    int error = input < 0 ? errno : 0;
    if (error == 0) {
        Spawn spawn;
        spawn.separateGroup();
        spawn.isolate();
        spawn.openInput(input);
        spawn.changeDirectory(QFile::encodeName(command.workingDirectory));
        spawn.setMask(command.mask);
        if (command.output >= 0) {
            spawn.takeOutput(command.output);
        } else if (command.quiet) {
            spawn.discardOutput();
        }
        const std::vector<QByteArray> words = wordsOf(command);
        // Nothing that the child sends may come before what was sent before its start.
        BusOutbox::flushAll();
        error = spawn.run(m_pid, words.front(), words);
    }
    if (error == 0) {
        ChildReaper::instance().add(m_pid, this);
        return true;
    }
    m_pid = 0;
    m_errorString = QStringLiteral("execvp: ") + QString::fromLocal8Bit(std::strerror(error));
    m_listener.processFailed(QProcess::FailedToStart);
    return false;
}

void ChildProcess::kill()
{
    // Its number is its own, and that of its group, until it is reaped. It can have left the group.
    if (isRunning()) {
        BusOutbox::flushAll();
        ::kill(-m_pid, SIGKILL);
        ::kill(m_pid, SIGKILL);
    }
}

void ChildProcess::letGo()
{
    if (isRunning()) {
        ChildReaper::instance().letGo(std::exchange(m_pid, 0));
    }
}

void ChildProcess::reap()
{
    int status = 0;
    if (!isRunning() || !ProcessGroup::reapLeader(m_pid, status, m_left)) {
        return;
    }
    m_pid = 0;
    if (WIFSIGNALED(status)) {
        m_errorString = QStringLiteral("Process crashed");
        m_listener.processFailed(QProcess::Crashed);
        m_listener.processFinished(WTERMSIG(status), QProcess::CrashExit);
    } else {
        m_listener.processFinished(WEXITSTATUS(status), QProcess::NormalExit);
    }
}
