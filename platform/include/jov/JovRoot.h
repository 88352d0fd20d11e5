#ifndef JOV_ROOT_H
#define JOV_ROOT_H

#include <QString>

/**
 * Where the terminal's file system begins.
 *
 * Every absolute path of the system goes through rooted(), which puts the value of the environment variable JOV_ROOT
 * in front. On a terminal the variable is unset and nothing changes; a developer's PC, the simulator and the tests set
 * it to a folder of their own, and then no path of the host is touched. `/proc` and the path of `--pidFile=` are not
 * moved.
 */
namespace JovRoot {

/// The absolute path of the folder that JOV_ROOT names, without a slash at its end; empty when it is unset.
[[nodiscard]] QString prefix();

/// `absolutePath` under the root prefix.
[[nodiscard]] QString rooted(const QString &absolutePath);

/// `text` as one word of a POSIX shell: in single quotes where it holds anything but plain path characters.
[[nodiscard]] QString shellQuoted(const QString &text);

/**
 * `absolutePath` under the root prefix, for use in a shell command: the prefix is quoted, the rest is not, so that a
 * pattern in it ("/var/log/" and a star) still works and the text is unchanged on a terminal.
 */
[[nodiscard]] QString shellRooted(const QString &absolutePath);

} // namespace JovRoot

#endif
