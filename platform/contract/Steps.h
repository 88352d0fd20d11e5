#ifndef STEPS_H
#define STEPS_H

#include "contract/Latin1.h"

/// The numbers of the start-up that the daemon, `jovctl verify` and the simulator must agree on.
namespace Steps {

/// The first step that the start-up takes by itself; below it, the step file or an "init_step" event decides. No
/// restart by a module and no step without the check of the mandatory settings from here on.
inline constexpr int firstOwn = 5;
/// How far the start-up goes without a step file.
inline constexpr int all = 999;
/// The step of modules that name none.
inline constexpr QLatin1String defaultName = latin1("default");

} // namespace Steps

#endif
