#ifndef SPAWN_H
#define SPAWN_H

#include <QByteArray>

#include <vector>

#include <spawn.h>

/// posix_spawn for a process that begins without the caller's settings: no blocked signal, every handler at its
/// default.
class Spawn
{
public:
    Spawn();
    ~Spawn();
    Q_DISABLE_COPY(Spawn)

    /// A process group of its own instead of the caller's.
    void separateGroup();
    /// The child opens `path` as its standard input, after the descriptors of this process are copied.
    void openInput(const QByteArray &path);
    /// Standard output and error go to `/dev/null`.
    void discardOutput();
    /// Standard output and error go to `descriptor`. SIGPIPE is ignored as in the caller, so that its other end can
    /// end.
    void takeOutput(int descriptor);
    /// Standard streams that are closed here are open there, to `/dev/null`.
    void fillClosedStreams();
    void changeDirectory(const QByteArray &directory);
    /// "NAME=VALUE" each, instead of the caller's environment.
    void replaceEnvironment(const std::vector<QByteArray> &entries) { m_environment = entries; }

    /// Runs the file `program`; the first argument is the name that it is given. 0, or the error's number.
    int run(pid_t &pid, const QByteArray &program, const std::vector<QByteArray> &arguments);

private:
    void openNull(int descriptor, int flags);

    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
    std::vector<QByteArray> m_environment;
};

#endif
