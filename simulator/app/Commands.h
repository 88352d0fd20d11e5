#ifndef COMMANDS_H
#define COMMANDS_H

#include "app/Display.h"

#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QTimer>

class Narrator;
class TerminalBus;
class TerminalRoot;

/**
 * What one can do to the terminal while it runs: a few commands that only a simulator has, and those of jovctl, which
 * is run for them. Commands are taken one at a time, each when the one before it has been answered, and only while the
 * terminal is up; those that come meanwhile wait.
 */
class Commands : public QObject
{
    Q_OBJECT

public:
    Commands(Display &display, TerminalBus &bus, Narrator &narrator, const TerminalRoot &root);

    void add(const QString &line);
    /// The terminal is up, or it is not any more.
    void setTerminalUp(bool isUp);
    /// Kills the module's process with SIGSEGV.
    void crash(const QString &module);

Q_SIGNALS:
    void quit();
    /// A crash has not brought the terminal down.
    void crashIgnored();
    /// All commands have been answered.
    void idle();

private:
    void next();
    void finish();
    void execute(const QStringList &words);
    void set(const QString &setting, const QString &value);

    Display &m_display;
    TerminalBus &m_bus;
    Narrator &m_narrator;
    const TerminalRoot &m_root;
    QStringList m_waiting;
    QProcess m_jovctl;
    QTimer m_crashLimit; ///< how long a crash may take to bring the terminal down
    bool m_isUp = false;
    bool m_isBusy = false;
};

#endif
