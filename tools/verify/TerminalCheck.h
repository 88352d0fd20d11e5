#ifndef TERMINAL_CHECK_H
#define TERMINAL_CHECK_H

#include "verify/Findings.h"

/// The findings about a set of files.
struct TerminalReport
{
    int modules = 0;
    int steps = 0; ///< of the chain that the daemon builds
    QList<Finding> findings; ///< errors first

    [[nodiscard]] int errors() const;
    [[nodiscard]] int warnings() const { return findings.size() - errors(); }
};

/// Reads the files below the root prefix (JOV_ROOT) with the daemon's readers. Starts nothing and writes nothing.
[[nodiscard]] TerminalReport checkTerminal();

#endif
