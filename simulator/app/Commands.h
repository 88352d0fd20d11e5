#ifndef COMMANDS_H
#define COMMANDS_H

#include "app/Display.h"

#include <QObject>
#include <QProcess>
#include <QSocketNotifier>
#include <QStringList>
#include <QTimer>

#include <memory>

class Narrator;
class TerminalBus;
class TerminalRoot;

/**
 * The commands of the simulator, from its standard input: a few of its own, and those of jovctl, which it runs. They
 * are executed one at a time and only while the terminal is up; the others wait.
 */
class Commands : public QObject
{
    Q_OBJECT

public:
    Commands(Display &display, TerminalBus &bus, Narrator &narrator, const TerminalRoot &root);

    /// Reads standard input, if that is a terminal with this process in the foreground, or a pipe.
    void listen();
    [[nodiscard]] bool isListening() const { return m_input != nullptr; }
    void setTerminalUp(bool isUp);
    /// Kills the module's process with SIGSEGV.
    void crash(const QString &module);
    /// Of jovctl, which is a child of the simulator; 0 when it does not run.
    [[nodiscard]] pid_t process() const { return pid_t(m_jovctl.processId()); }

Q_SIGNALS:
    void quit();
    void powerCut();
    /// The supervisor has not rebooted the terminal after a crash.
    void crashIgnored();

private:
    void receive();
    void edit();
    /// What can follow these words on the prompt.
    [[nodiscard]] QStringList candidates(const QStringList &before) const;
    void next();
    void finish();
    void execute(const QStringList &words);
    void set(const QString &setting, const QString &value);

    Display &m_display;
    TerminalBus &m_bus;
    Narrator &m_narrator;
    const TerminalRoot &m_root;
    std::unique_ptr<QSocketNotifier> m_input;
    QByteArray m_pending; ///< a line whose end has not arrived yet
    QStringList m_waiting;
    QProcess m_jovctl;
    QTimer m_crashLimit; ///< from a crash to the reboot
    bool m_isUp = false;
    bool m_isBusy = false;
};

#endif
