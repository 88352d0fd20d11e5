#ifndef LIFE_SIGN_H
#define LIFE_SIGN_H

#include <functional>

/**
 * Links a process that is watched by its event loop with the calls that block the loop for a limited time: they call
 * give() before and, if they can, meanwhile. A call without a limit does it only before: if it hangs, the process does.
 */
namespace LifeSign {

/// What give() calls; an empty function for nothing.
void set(std::function<void()> sign);
void give();

} // namespace LifeSign

#endif
