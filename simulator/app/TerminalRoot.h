#ifndef TERMINAL_ROOT_H
#define TERMINAL_ROOT_H

#include <QLockFile>
#include <QString>

#include <memory>

/**
 * The folder that is the file system of the simulated terminal: somebody's set of files, a link to a program for each
 * module, stand-ins for the two commands that touch the hardware, and what the private bus needs.
 *
 * It is removed by whoever keeps the processes (see Keeper), not here.
 */
class TerminalRoot
{
public:
    /// Makes or takes the folder. `wanted` is the one to keep; empty for a temporary one. Both answer with what is
    /// wrong, and with nothing when all is well.
    [[nodiscard]] QString open(const QString &wanted);
    /// Lays the files of the terminal `terminal` into it (see SimulatorOptions), unless they stand there already.
    [[nodiscard]] QString lay(const QString &terminal);

    [[nodiscard]] QString path() const { return m_path; }
    [[nodiscard]] QString at(const char *absolutePath) const { return m_path + QLatin1String(absolutePath); }
    [[nodiscard]] bool isKept() const { return m_kept; }
    [[nodiscard]] bool wasLaidBefore() const { return m_laidBefore; }

    [[nodiscard]] QString busSocket() const { return at("/run/bus"); }
    [[nodiscard]] QString busConfig() const { return at("/run/bus.conf"); }
    /// Where the stand-ins say what they were asked for.
    [[nodiscard]] QString requests() const;
    [[nodiscard]] QString daemonLog() const;

private:
    [[nodiscard]] QString linkPrograms(const QString &terminal) const;
    [[nodiscard]] QString copyImages() const;
    [[nodiscard]] QString writeStandIns() const;
    [[nodiscard]] QString writeBusConfig() const;
    [[nodiscard]] QString adjustLog() const;
    [[nodiscard]] QString makeRequests() const;

    QString m_path;
    bool m_kept = false;
    bool m_laidBefore = false;
    std::unique_ptr<QLockFile> m_lock; ///< of a root that is kept: two simulators may be told to use it
};

#endif
