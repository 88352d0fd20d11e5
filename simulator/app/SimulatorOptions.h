#ifndef SIMULATOR_OPTIONS_H
#define SIMULATOR_OPTIONS_H

#include <QString>
#include <QStringList>

/// What the simulator is asked to do on its command line.
struct SimulatorOptions
{
    QString terminal; ///< a folder, or the name of one that comes with the simulator; empty for the usual one
    QString root; ///< empty for a temporary one that is removed in the end
    bool once = false;
    QString crash; ///< the module to crash; empty for none
    int crashAfter = 2000; ///< ms behind the end of the boot
    int timeout = 0; ///< s; 0 for no limit
    int watchdogMinute = 0; ///< ms; 0 for a real one

    enum class Outcome { Go, ShowHelp, Wrong };
    Outcome outcome = Outcome::Go;
    QString text; ///< the help, or what is wrong

    [[nodiscard]] static SimulatorOptions parse(const QStringList &arguments);
};

#endif
