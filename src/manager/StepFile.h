#ifndef STEP_FILE_H
#define STEP_FILE_H

#include <QString>

/**
 * How far the step file `/tmp/step` (its first line, a decimal number) lets the start-up go at once: 0 when the line is
 * not a number; 999, that is through all steps, when there is no such file, it cannot be read, or its first line is
 * longer than 4,096 bytes. `path` is the file's path under the root prefix.
 */
[[nodiscard]] int readStepFile(const QString &path);

#endif
