#ifndef BEHAVIOUR_H
#define BEHAVIOUR_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/**
 * The arguments of a sample module. Times are milliseconds; an absent one means "never". parse() writes an error for
 * each invalid argument to standard error, and uses the others.
 */
struct Behaviour
{
    QString moduleName;
    bool help = false;

    int readyAfter = 0;
    bool neverReady = false;
    std::optional<int> presentationAfter; ///< counted from the moment it is ready

    int exitCode = 0;
    std::optional<int> exitAfter; ///< counted from the start
    bool exitOnReady = false;
    int crashSignal = 0;
    std::optional<int> crashAfter;

    bool ignoreStop = false;
    int stopAfter = 0;
    int stopExitCode = 0;
    int stopSignal = 0; ///< the signal that ends it when it is asked to stop; 0 for none

    int allocateKb = 0;
    int leakKbPerSecond = 0;
    bool chatter = false;
    bool busy = false;
    bool child = false;

    /// The arguments without the program's own name.
    [[nodiscard]] static Behaviour parse(const QStringList &arguments);
    [[nodiscard]] static QByteArray helpText();
};

#endif
