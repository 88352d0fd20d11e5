#ifndef PID_FILE_H
#define PID_FILE_H

#include <string>

/// Writes the caller's pid and a line feed to `path`, anew and with permissions 0644. A failure is told on standard
/// output and nothing more: a daemon without its PID file is better than none.
void writePidFile(const std::string &path);

#endif
