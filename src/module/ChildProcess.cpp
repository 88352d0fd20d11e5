#include "module/ChildProcess.h"

#include "module/ChildReaper.h"
#include "system/Spawn.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

rlimit ownLimit = {0, 0};
rlimit childLimit = {0, 0};

/// The children's limit of open files while it lives: a spawned child takes what its parent has.
class ChildLimit
{
public:
    ChildLimit()
    {
        if (childLimit.rlim_max != 0) {
            setrlimit(RLIMIT_NOFILE, &childLimit);
        }
    }
    ~ChildLimit()
    {
        if (childLimit.rlim_max != 0) {
            setrlimit(RLIMIT_NOFILE, &ownLimit);
        }
    }
    ChildLimit(const ChildLimit &) = delete;
    ChildLimit &operator=(const ChildLimit &) = delete;
};

/// The children's umask while it lives.
class ChildMask
{
public:
    explicit ChildMask(std::optional<mode_t> mask)
        : m_ownMask(mask ? std::optional(umask(*mask)) : std::nullopt)
    { }
    ~ChildMask()
    {
        if (m_ownMask) {
            umask(*m_ownMask);
        }
    }
    Q_DISABLE_COPY(ChildMask)

private:
    const std::optional<mode_t> m_ownMask;
};

std::vector<QByteArray> wordsOf(const ChildProcess::Command &command)
{
    std::vector<QByteArray> words{QFile::encodeName(command.program)};
    for (const QString &argument : command.arguments) {
        words.push_back(QFile::encodeName(argument));
    }
    return words;
}

} // namespace

void ChildProcess::raiseDescriptorLimit()
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        childLimit = limit;
        limit.rlim_cur = limit.rlim_max;
        ownLimit = limit;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

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
    m_input.reset();
    int input[2] = {-1, -1};
    int error = pipe2(input, O_CLOEXEC) == 0 ? 0 : errno;
    if (error == 0) {
        const Descriptor childsInput(input[0]);
        m_input.reset(input[1]);
        Spawn spawn;
        spawn.separateGroup();
        spawn.takeInput(childsInput.number());
        spawn.changeDirectory(QFile::encodeName(command.workingDirectory));
        if (command.output >= 0) {
            spawn.takeOutput(command.output);
        } else if (command.quiet) {
            spawn.discardOutput();
        }
        const std::vector<QByteArray> words = wordsOf(command);
        const ChildLimit limit;
        const ChildMask mask(command.mask);
        error = spawn.run(m_pid, words.front(), words);
    }
    if (error == 0) {
        ChildReaper::instance().add(m_pid, this);
        return true;
    }
    m_pid = 0;
    m_input.reset();
    m_errorString = QStringLiteral("execvp: ") + QString::fromLocal8Bit(std::strerror(error));
    m_listener.processFailed(QProcess::FailedToStart);
    return false;
}

void ChildProcess::kill()
{
    // Its number is its own, and that of its group, until it is reaped. It can have left the group.
    if (isRunning()) {
        ::kill(-m_pid, SIGKILL);
        ::kill(m_pid, SIGKILL);
    }
}

void ChildProcess::reap()
{
    int status = 0;
    if (!isRunning() || !ProcessGroup::reapLeader(m_pid, status, m_left)) {
        return;
    }
    m_pid = 0;
    m_input.reset();
    if (WIFSIGNALED(status)) {
        m_errorString = QStringLiteral("Process crashed");
        m_listener.processFailed(QProcess::Crashed);
        m_listener.processFinished(WTERMSIG(status), QProcess::CrashExit);
    } else {
        m_listener.processFinished(WEXITSTATUS(status), QProcess::NormalExit);
    }
}
