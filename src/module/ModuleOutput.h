#ifndef MODULE_OUTPUT_H
#define MODULE_OUTPUT_H

#include "system/Descriptor.h"

#include <memory>

class LogProgram;
class QString;
struct OutputSetting;

/**
 * Opens what the standard output and error of a module go to: its file, the socket of the journal, or the pipe to its
 * log program, which is started if it does not run. The module writes there itself: nothing of it passes through the
 * daemon, and it goes on when the daemon is killed.
 *
 * A file takes what is written, and the socket of the journal refuses what it has no room for: only a log program that
 * does not read blocks the module. If it cannot be opened there is a warning, and the output is discarded.
 */
void openModuleOutput(const OutputSetting &setting, const QString &module, std::unique_ptr<LogProgram> &program,
                      Descriptor &output);

#endif
