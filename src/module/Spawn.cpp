#include "module/Spawn.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

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
    posix_spawnattr_setpgroup(&m_attributes, 0);
    posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
}

Spawn::~Spawn()
{
    posix_spawnattr_destroy(&m_attributes);
    posix_spawn_file_actions_destroy(&m_actions);
}

void Spawn::takeInput(int descriptor)
{
    posix_spawn_file_actions_adddup2(&m_actions, descriptor, STDIN_FILENO);
}

void Spawn::discardOutput()
{
    posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&m_actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
}

void Spawn::changeDirectory(const QByteArray &directory)
{
    posix_spawn_file_actions_addchdir_np(&m_actions, directory.constData());
}

int Spawn::run(pid_t &pid, std::vector<QByteArray> words)
{
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (QByteArray &word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    return posix_spawn(&pid, arguments.front(), &m_actions, &m_attributes, arguments.data(), environ);
}
