#ifndef EXIT_TEXT_H
#define EXIT_TEXT_H

#include <QString>

/// "SIGSEGV"; "signal N" of a number without a name.
[[nodiscard]] QString signalName(int signal);

/// How a process has ended, for people: "exit status 4", "killed by SIGILL".
[[nodiscard]] QString exitText(int code, bool isSignal);

#endif
