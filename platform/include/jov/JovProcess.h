#ifndef JOV_PROCESS_H
#define JOV_PROCESS_H

#include <QString>

#include <functional>
#include <vector>

/// The text for an exit code: 0 "EXITED_OK", 127 "BAD_LIBRARIES", 4 6 7 8 9 11 15 the signal's name, else "EXITED_n".
[[nodiscard]] QString getExitCodeInString(int exitCode);

/// The text for a QProcess::ProcessError: "FailedToStart", "Crashed", "Timedout", "ReadError", "WriteError",
/// "UnknownError".
[[nodiscard]] QString getProcessErrorInString(int processError);

/**
 * Runs a command line with `/bin/sh -c` and waits for its end, as system(3) does, but with open standard streams
 * whatever the caller's are, and, with JOV_ROOT set, with a PATH that begins with its `usr/bin`. Returns the wait
 * status, -1 when no process could be made.
 *
 * With `goOn` the command has a process group of its own, and `goOn` is asked several times in a second: when it
 * returns false, the group is killed.
 */
int qor_system(const QByteArray &commandLine, const std::function<bool()> &goOn = {});

/// The same for the file `program`, without a shell. The first argument is the name that it is given.
int qor_execute(const QByteArray &program, const std::vector<QByteArray> &arguments,
                const std::function<bool()> &goOn = {});

#endif
