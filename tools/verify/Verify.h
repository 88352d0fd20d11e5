#ifndef VERIFY_H
#define VERIFY_H

#include <QStringList>

/**
 * `jovctl verify [ROOT] [--json]`: says what is wrong with a set of files before it is flashed. Needs no daemon and no
 * bus.
 *
 * `arguments` are those behind the word verify. Without ROOT the files are those of JOV_ROOT, or of this machine. With
 * it, JOV_ROOT of this process is set to it. Returns the exit status: 0 no errors, 1 errors, 2 wrong usage.
 */
int runVerify(const QStringList &arguments);

#endif
