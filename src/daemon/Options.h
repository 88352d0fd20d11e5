#ifndef OPTIONS_H
#define OPTIONS_H

#include "supervision/SupervisionState.h"

#include <string>

/**
 * The command line. Each option is recognised by how an argument begins; unknown arguments are ignored, and the last
 * `--pidFile=` counts. What was recognised is said on standard output.
 */
struct Options
{
    std::string pidFile; ///< empty: none is written
    bool debugMode = false; ///< standard streams stay open, modules write to them
    bool daemonMode = true;
    bool help = false;
    bool version = false;

    /// Whether the modules print where the daemon prints.
    [[nodiscard]] OwnStreams ownStreams() const;

    [[nodiscard]] static Options parse(int argc, char **argv);
};

/// What `--help` prints.
[[nodiscard]] const char *helpText();

#endif
