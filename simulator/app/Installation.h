#ifndef INSTALLATION_H
#define INSTALLATION_H

#include <QString>

/// The paths of the simulator's own parts, in a build tree or installed.
namespace Installation {

/// A program of this project.
[[nodiscard]] QString program(const QString &name);
/// The directory of a terminal that comes with the simulator; `name` is the part after "terminal-", empty for the
/// default one.
[[nodiscard]] QString terminal(const QString &name);
/// The directory of the pictures that the terminal shows after a crash.
[[nodiscard]] QString images();

} // namespace Installation

#endif
