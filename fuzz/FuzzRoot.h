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

/// Makes the bytes the content of `absolutePath` under the root, and the folders on its way. One path a process.
void write(const QString &absolutePath, const std::uint8_t *data, std::size_t size);

} // namespace FuzzRoot

/// Ends the process, so that the input is kept as a finding.
void require(bool condition, const char *what);

#endif
