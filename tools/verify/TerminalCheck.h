#ifndef TERMINAL_CHECK_H
#define TERMINAL_CHECK_H

#include "verify/Findings.h"

/// What a set of files is, and what is wrong with it.
struct TerminalReport
{
    int modules = 0;
    int steps = 0; ///< of the chain that the daemon makes
    QList<Finding> findings; ///< errors first

    [[nodiscard]] int errors() const;
    [[nodiscard]] int warnings() const { return findings.size() - errors(); }
};

/// Reads everything under the present root prefix (JOV_ROOT) with the daemon's readers. Starts nothing, writes nothing.
[[nodiscard]] TerminalReport checkTerminal();

#endif
