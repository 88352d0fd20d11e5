#ifndef KEEPER_H
#define KEEPER_H

#include "app/KeeperMessage.h"

#include <map>
#include <string>

#include <sys/types.h>

/**
 * The process between the simulator and everything that it starts. It starts the bus and the daemon, and it sees to it
 * that nothing survives the simulator: when the simulator's end of the socket closes, for whatever reason, it kills all
 * its descendants and removes the terminal's root.
 *
 * It is a subreaper, so the modules of a daemon that was killed fall to it; and it is in a session of its own, so that
 * neither Ctrl-C nor a kill of the simulator's process group reaches it or what it keeps.
 *
 * It is forked from the simulator before that has threads, and uses no Qt.
 */
class Keeper
{
public:
    /// `root` is removed in the end; empty for a root that stays.
    Keeper(int socket, std::string root);

    /// Returns when everything has been cleared away.
    void run();

private:
    void serve(const KeeperMessage &message);
    void start(const KeeperMessage &message);
    void reap();
    [[nodiscard]] pid_t pidOf(const std::string &name) const;

    int m_socket;
    std::string m_root;
    std::map<std::string, pid_t> m_running;
};

#endif
