#ifndef BOOT_IDENTITY_H
#define BOOT_IDENTITY_H

#include <QString>

/// What tells one boot of the terminal from another.
namespace BootIdentity {

/// A text that the kernel draws at each boot. Below a root prefix the file `/run/boot_id` replaces it, if it exists.
[[nodiscard]] QString bootId();

/// The version of the terminal's image, or of its system, of `/etc/os-release`; empty without one.
[[nodiscard]] QString firmware();

/// The name and version of the system, of `/etc/os-release`; empty without the file.
[[nodiscard]] QString systemVersion();

} // namespace BootIdentity

#endif
