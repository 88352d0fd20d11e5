#ifndef TERMINAL_CHECK_H
#define TERMINAL_CHECK_H

#include "verify/Findings.h"

/// The findings about a set of files.
struct TerminalReport
{
    int modules = 0;
    int steps = 0; ///< of the chain that the daemon builds
    Findings findings;

    [[nodiscard]] int errors() const { return findings.count(Severity::Error); }
    [[nodiscard]] int warnings() const { return findings.count(Severity::Warning); }
};

/// Reads the files below the root prefix (JOV_ROOT) with the daemon's readers. Starts nothing, writes nothing, and
/// opens no file outside the root. A module of `played` is treated as installed.
[[nodiscard]] TerminalReport checkTerminal(const QStringList &played = {});

#endif
