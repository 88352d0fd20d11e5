#ifndef SIMULATOR_H
#define SIMULATOR_H

#include "app/Commands.h"
#include "app/Display.h"
#include "app/Narrator.h"
#include "app/Prompt.h"
#include "app/SimulatorOptions.h"
#include "app/TerminalBus.h"

#include <QObject>
#include <QTimer>

#include <memory>

class KeeperLink;
class TerminalRoot;

/**
 * The life of the simulated terminal:
 *
 *     StartingBus -> Booting -> Up -> GoingDown -> the end, or Booting again after a reboot was asked for
 *
 * Any state goes to GoingDown on Ctrl-C, and to the end when the bus, the daemon or the keeper ends by itself.
 */
class Simulator : public QObject
{
    Q_OBJECT

public:
    Simulator(const SimulatorOptions &options, const TerminalRoot &root, KeeperLink &keeper);

    void begin();
    void interrupt();

Q_SIGNALS:
    void finished(int status);

private:
    enum class State { StartingBus, Booting, Up, GoingDown };
    enum class Then { End, Reboot };

    void connectParts();
    void tryBus();
    void startDaemon();
    void processEnded(const QString &name, int waitStatus);
    void daemonEnded(int waitStatus);
    void cleared(int count);
    void bootComplete();
    void terminalUp();
    void crashNow();
    void rebootAsked();
    void giveUp();
    void goDown(Then then);
    void killDaemon();
    void fail(const QString &text, int status = 1);

    const SimulatorOptions m_options;
    const TerminalRoot &m_root;
    KeeperLink &m_keeper;
    Display m_display;
    TerminalBus m_bus;
    Narrator m_narrator;
    Commands m_commands;
    std::unique_ptr<Prompt> m_prompt;

    State m_state = State::StartingBus;
    Then m_then = Then::End;
    int m_status = 0;
    int m_busTries = 0;
    bool m_wasUp = false;
    bool m_crashIsDue = false;
    bool m_rebootIsDue = false;
    QTimer m_busTimer;
    QTimer m_bootLimit;
    QTimer m_stopLimit;
};

#endif
