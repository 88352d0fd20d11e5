#include "system/Spawn.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// What exec takes; it does not change the texts.
std::vector<char *> pointersTo(const std::vector<QByteArray> &texts)
{
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (const QByteArray &text : texts) {
        pointers.push_back(const_cast<char *>(text.constData()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// The daemon holds the numbers of closed streams by descriptors that only name a file.
bool isOpen(int descriptor)
{
    const int flags = fcntl(descriptor, F_GETFL);
    return flags >= 0 && !(flags & O_PATH);
}

} // namespace

Spawn::Spawn()
{
    posix_spawn_file_actions_init(&m_actions);
    posix_spawnattr_init(&m_attributes);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&m_attributes, &none);
    posix_spawnattr_setsigdefault(&m_attributes, &all);
    posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
}

Spawn::~Spawn()
{
    posix_spawnattr_destroy(&m_attributes);
    posix_spawn_file_actions_destroy(&m_actions);
}

void Spawn::separateGroup()
{
    // The group's number, 0 from the initialisation, stands for the child's pid.
    posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
}

void Spawn::openInput(const QByteArray &path)
{
    posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, path.constData(), O_RDONLY, 0);
}

void Spawn::discardOutput()
{
    openNull(STDOUT_FILENO, O_WRONLY);
    openNull(STDERR_FILENO, O_WRONLY);
}

void Spawn::takeOutput(int descriptor)
{
    posix_spawn_file_actions_adddup2(&m_actions, descriptor, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&m_actions, descriptor, STDERR_FILENO);
    sigset_t others;
    sigfillset(&others);
    sigdelset(&others, SIGPIPE);
    posix_spawnattr_setsigdefault(&m_attributes, &others);
}

void Spawn::fillClosedStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (!isOpen(descriptor)) {
            openNull(descriptor, O_RDWR);
        }
    }
}

void Spawn::changeDirectory(const QByteArray &directory)
{
    posix_spawn_file_actions_addchdir_np(&m_actions, directory.constData());
}

int Spawn::run(pid_t &pid, const QByteArray &program, const std::vector<QByteArray> &arguments)
{
    const std::vector<char *> words = pointersTo(arguments);
    const std::vector<char *> entries = pointersTo(m_environment);
    return posix_spawn(&pid, program.constData(), &m_actions, &m_attributes, words.data(),
                       m_environment.empty() ? environ : entries.data());
}

void Spawn::openNull(int descriptor, int flags)
{
    posix_spawn_file_actions_addopen(&m_actions, descriptor, "/dev/null", flags, 0);
}
