#ifndef SIMULATOR_OPTIONS_H
#define SIMULATOR_OPTIONS_H

#include <QString>
#include <QStringList>

/// The command line of the simulator.
struct SimulatorOptions
{
    QString terminal; ///< a directory, or the name of one that comes with the simulator; empty for the default one
    QString root; ///< empty for a temporary one
    bool once = false;
    bool isolate = false; ///< in a PID namespace
    bool force = false; ///< boot in spite of errors in the files
    bool strict = false; ///< warnings about the files are errors
    QString junit; ///< the file for the results of --once; empty for none
    QString crash; ///< the module to crash; empty for none
    int crashAfter = 2000; ///< ms after the end of the boot
    int timeout = 0; ///< s; 0 for no limit
    int watchdogMinute = 0; ///< ms; 0 for a real one

    /// Ends the process after --help with status 0, and after wrong usage with an error message and status 2.
    [[nodiscard]] static SimulatorOptions parse(const QStringList &arguments);
};

#endif
