#ifndef FUZZ_ROOT_H
#define FUZZ_ROOT_H

#include <QString>

#include <cstddef>
#include <cstdint>

/**
 * A root for the files that a fuzzer writes, in memory where that can be had. JOV_ROOT names it from the first call on;
 * the logger is silent there. Removed at the end of the process.
 */
namespace FuzzRoot {

/// Writes the bytes to `absolutePath` under the root, and makes the folders on its way.
void write(const QString &absolutePath, const std::uint8_t *data, std::size_t size);

/// The same bytes where nothing was read before: QSettings keeps what it has read, and tells files apart by the
/// millisecond.
void writeAnew(const QString &absolutePath, const std::uint8_t *data, std::size_t size);

} // namespace FuzzRoot

/// Ends the process, so that the input is kept as a finding.
void require(bool condition, const char *what);

#endif
