#ifndef SIMULATOR_H
#define SIMULATOR_H

#include "app/BootReport.h"
#include "app/Commands.h"
#include "app/Display.h"
#include "app/Narrator.h"
#include "app/SimulatorOptions.h"
#include "app/TerminalBus.h"
#include "app/TerminalProcess.h"

#include <QObject>
#include <QTimer>

class TerminalRoot;

/**
 * The life of the simulated terminal:
 *
 *     StartingBus -> Booting -> Up -> GoingDown -> the end, or Booting again after a requested reboot
 *
 * Ctrl-C leads from any state to GoingDown. If the bus or the supervisor ends by itself, the simulator ends.
 */
class Simulator : public QObject
{
    Q_OBJECT

public:
    Simulator(const SimulatorOptions &options, const TerminalRoot &root);
    ~Simulator() override;

    void begin();
    void interrupt();
    /// Of the boot, once it has ended.
    [[nodiscard]] const TestCases &cases() const { return m_cases; }

Q_SIGNALS:
    void finished(int status);

private:
    enum class State { StartingBus, Booting, Up, GoingDown };
    enum class Then { End, Reboot };

    void connectParts();
    void startProcess(TerminalProcess &process, const QStringList &commandLine);
    void busListens();
    void startDaemon();
    void daemonEnded();
    void clearAway();
    void bootComplete();
    void rebootRequested();
    void giveUp();
    void judgeBoot();
    void goDown(Then then);
    void killDaemon();
    void cutPower();
    void fail(const QString &text, int status = 1);

    const SimulatorOptions m_options;
    const TerminalRoot &m_root;
    Display m_display;
    TerminalBus m_bus;
    TerminalProcess m_busProcess;
    TerminalProcess m_daemon;
    Narrator m_narrator;
    Commands m_commands;

    State m_state = State::StartingBus;
    Then m_then = Then::End;
    int m_status = 0;
    TestCases m_cases;
    bool m_wasUp = false;
    bool m_crashIsDue = false;
    bool m_rebootIsDue = false;
    bool m_powerIsCut = false;
    QTimer m_bootLimit;
    QTimer m_stopLimit;
};

#endif
