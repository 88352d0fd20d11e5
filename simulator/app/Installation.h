#ifndef INSTALLATION_H
#define INSTALLATION_H

#include <QString>

/// Where the simulator's own parts are: beside its program, in a build tree as well as installed.
namespace Installation {

/// A program that stands beside the simulator.
[[nodiscard]] QString program(const QString &name);
/// The folder of a terminal that comes with the simulator; `name` is what stands behind "terminal-", empty for the
/// usual one.
[[nodiscard]] QString terminal(const QString &name);
/// The folder of the pictures that a crash puts on the screen.
[[nodiscard]] QString images();

} // namespace Installation

#endif
