#ifndef DESCENDANTS_H
#define DESCENDANTS_H

#include <functional>
#include <vector>

#include <sys/types.h>

/// The processes below this one. It must be a subreaper: then whatever its descendants start stays below it, however
/// their parents end.
namespace Descendants {

/// Children, their children and so on, the ended ones that nobody has waited for included.
[[nodiscard]] std::vector<pid_t> list();

/**
 * Kills them all, those that they start meanwhile too, until none is left, and returns how many it were. `spared` is a
 * child that stays; 0 for none. `reap` is called to collect the children that have ended. A process that the kernel
 * does not let go of is given up after ten seconds.
 */
int kill(pid_t spared, const std::function<void()> &reap);

} // namespace Descendants

#endif
