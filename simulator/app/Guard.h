#ifndef GUARD_H
#define GUARD_H

#include <string>
#include <vector>

#include <sys/types.h>

/**
 * The reason why nothing survives the simulator.
 *
 * begin() forks. The outer process waits for the inner one, which is the simulator, kills every process that is left
 * and removes the root. Both are subreapers: an orphan becomes a child of the inner process, or of the outer one if
 * the inner one is dead.
 *
 *     outer --- inner --+-- dbus-daemon
 *                       '-- ApplicationManager --- modules
 *
 * If the inner process is killed, the outer one cleans up. If the outer process is killed, the inner one gets SIGTERM,
 * stops the terminal in order and cleans up. If both are killed, the kernel sends SIGTERM to their children (see
 * TerminalProcess): the bus ends, and the supervisor stops its modules itself. Only the root is left then.
 *
 * With a PID namespace, the inner process is the first of it: the kernel kills all others with it, whatever they do.
 */
namespace Guard {

enum class Processes { Shared, InNamespace };

/// Returns in the inner process, or in the only one with what went wrong. Call it before any thread is started. `root`
/// is removed in the end; empty for a root that is kept.
[[nodiscard]] std::string begin(const std::string &root, Processes processes);
/// The end of the inner process: cleans up if the outer process is dead.
void end();
/// Kills the children of this process, and the orphans that become its children, until only `spared` are left. Returns
/// how many processes it has killed. Gives up after ten seconds.
int killChildren(const std::vector<pid_t> &spared = {});

} // namespace Guard

#endif
