#ifndef STEP_FILE_H
#define STEP_FILE_H

#include <QString>

/**
 * The step up to which the step file `/tmp/step` (its first line, a decimal number) lets the start-up go at once: 0 if
 * the line is not a number; 999, which is all steps, if there is no such file, it cannot be read, or its first line is
 * longer than 4,096 bytes. `path` is the file's path under the root prefix.
 */
[[nodiscard]] int readStepFile(const QString &path);

#endif
