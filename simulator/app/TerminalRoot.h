#ifndef TERMINAL_ROOT_H
#define TERMINAL_ROOT_H

#include <QString>
#include <QStringList>

/**
 * The directory that is the file system of the simulated terminal: a copy of somebody's set of files, a program for
 * each module without one, replacements for the two commands that touch the hardware, and the configuration of the
 * private bus. Guard removes it.
 */
class TerminalRoot
{
public:
    /// Creates the directory. `wanted` is one that is kept; empty for a temporary one. Both functions return what is
    /// wrong, and an empty text on success.
    [[nodiscard]] QString open(const QString &wanted);
    /// Creates the files of the terminal `terminal` (see SimulatorOptions), unless an earlier run has done so.
    [[nodiscard]] QString fill(const QString &terminal);

    /// The modules that the simulator plays, because the set has no program for them.
    [[nodiscard]] QStringList played() const { return m_played; }
    /// Those of them that the set does not name in modules.ini.
    [[nodiscard]] QStringList standIns() const { return m_standIns; }
    /// `text` with the paths of the set in the place of those in this directory, which is removed.
    [[nodiscard]] QString inSet(const QString &text) const;

    [[nodiscard]] QString path() const { return m_path; }
    [[nodiscard]] QString at(const char *absolutePath) const { return m_path + QLatin1String(absolutePath); }
    [[nodiscard]] bool isKept() const { return m_kept; }
    [[nodiscard]] bool isFilled() const { return m_filled; }

    [[nodiscard]] QString busAddress() const { return QStringLiteral("unix:path=") + busSocket(); }
    [[nodiscard]] QString busConfig() const { return at("/run/bus.conf"); }
    [[nodiscard]] QString daemonLog() const;
    /// The last lines that the module has printed, if they go to a file.
    [[nodiscard]] static QStringList printed(const QString &module);
    /// What the kernel does at each boot.
    void drawBootId() const;

private:
    [[nodiscard]] QString busSocket() const { return at("/run/bus"); }
    [[nodiscard]] QString findSet(const QString &terminal);
    [[nodiscard]] QString installPrograms();
    [[nodiscard]] QString install(const QString &name, const QString &player) const;
    [[nodiscard]] QString writeFiles() const;

    QString m_path;
    QString m_set; ///< the directory of the set
    QStringList m_played;
    QStringList m_standIns;
    bool m_kept = false;
    bool m_filled = false; ///< by an earlier run
};

#endif
