#ifndef COMMANDS_H
#define COMMANDS_H

#include "Display.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

class Narrator;
class QDBusMessage;
class TerminalBus;
class TerminalRoot;

/**
 * What one can do to the terminal while it runs. Commands are taken one at a time, each when the one before it has been
 * answered, and only while the terminal is up; those that come meanwhile wait.
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
    void execute(const QString &command, const QStringList &words);
    void control(const QString &method, const QString &module);
    void call(const QString &method);
    void list();
    void set(const QString &setting, const QString &value);
    void tellState(const QString &module);
    void help();

    Display &m_display;
    TerminalBus &m_bus;
    Narrator &m_narrator;
    const TerminalRoot &m_root;
    QStringList m_waiting;
    QTimer m_crashLimit; ///< how long a crash may take to bring the terminal down
    bool m_isUp = false;
    bool m_isBusy = false;
};

#endif
