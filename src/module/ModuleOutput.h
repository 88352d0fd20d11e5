#ifndef MODULE_OUTPUT_H
#define MODULE_OUTPUT_H

#include "system/Descriptor.h"

class QString;
struct OutputSetting;

/**
 * Opens what the standard output and error of a module go to: its file, or the socket of the journal. The module writes
 * there itself: nothing of it passes through the daemon, and it goes on when the daemon is killed.
 *
 * It does not block the module: a file takes what is written, and the socket of the journal refuses what it has no room
 * for. If it cannot be opened there is a warning, and the output is discarded.
 */
void openModuleOutput(const OutputSetting &setting, const QString &module, Descriptor &output);

#endif
