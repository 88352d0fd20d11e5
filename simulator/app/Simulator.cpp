#include "app/Simulator.h"

#include "app/Guard.h"
#include "app/Installation.h"
#include "app/Summary.h"
#include "app/TerminalRoot.h"
#include "contract/Components.h"

#include <QDir>

#include <limits>

namespace {

using Colour = Display::Colour;

const QString subject = QStringLiteral("simulator");
const QString bootGroup = QStringLiteral("boot");

constexpr int longestTimeout = std::numeric_limits<int>::max() / 1000; // s: what a timer can wait
constexpr int rebootDelay = 300; // ms, in which the events that follow the request are shown
constexpr int patience = 1000; // ms: `timeout` sends its signal twice, but a user who wants to kill waits before that
/// ms. The supervisor kills a module that does not stop within 2 s. If it takes longer than that, it hangs itself.
constexpr int stopLimitOfModule = 2500;
constexpr int stopLimitOfDaemon = 15000;

} // namespace

Simulator::Simulator(const SimulatorOptions &options, const TerminalRoot &root)
    : m_options(options)
    , m_root(root)
    , m_narrator(m_display, m_bus, root)
    , m_commands(m_display, m_bus, m_narrator, root)
    , m_crashIsDue(!options.crash.isEmpty())
{
    m_bootLimit.setSingleShot(true);
    m_bootLimit.setInterval(qMin(options.timeout, longestTimeout) * 1000);
    m_stopLimit.setSingleShot(true);
    connectParts();
    if (!options.once) {
        m_commands.listen();
    }
}

Simulator::~Simulator()
{
    for (TerminalProcess *process : {&m_daemon, &m_busProcess}) {
        process->disconnect(this);
        process->kill();
        process->waitForFinished();
    }
}

void Simulator::connectParts()
{
    connect(&m_bootLimit, &QTimer::timeout, this, &Simulator::giveUp);
    connect(&m_stopLimit, &QTimer::timeout, this, &Simulator::killDaemon);
    connect(&m_narrator, &Narrator::bootComplete, this, &Simulator::bootComplete);
    connect(&m_narrator, &Narrator::rebootRequested, this, &Simulator::rebootRequested);
    connect(&m_commands, &Commands::quit, this, [this] { goDown(Then::End); });
    connect(&m_commands, &Commands::powerCut, this, &Simulator::cutPower);
    connect(&m_commands, &Commands::crashIgnored, this, [this] {
        m_status = m_crashIsDue ? 1 : m_status;
        m_crashIsDue = false;
        if (m_options.once) {
            goDown(Then::End);
        }
    });
    const auto finished = qOverload<int, QProcess::ExitStatus>(&QProcess::finished);
    connect(&m_busProcess, &QProcess::readyReadStandardOutput, this, &Simulator::busListens);
    connect(&m_busProcess, finished, this, [this] {
        fail(QStringLiteral("The private bus has ended %1; see %2")
                 .arg(m_busProcess.end(), m_root.at("/var/log/bus.out")));
    });
    connect(&m_daemon, &QProcess::started, this, [this] {
        m_narrator.tell(subject, QStringLiteral("starting the supervisor, process %1").arg(m_daemon.processId()),
                        Colour::Dim);
        if (m_state == State::GoingDown) {
            m_daemon.terminate();
        }
    });
    connect(&m_daemon, finished, this, [this] {
        m_bootLimit.stop();
        m_stopLimit.stop();
        m_commands.setTerminalUp(false);
        daemonEnded();
    });
    for (TerminalProcess *process : {&m_busProcess, &m_daemon}) {
        connect(process, &QProcess::errorOccurred, this, [this, process](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart) {
                fail(QStringLiteral("cannot start %1: %2").arg(process->program(), process->errorString()));
            }
        });
    }
}

void Simulator::startProcess(TerminalProcess &process, const QStringList &commandLine)
{
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(commandLine.constFirst(), commandLine.mid(1));
}

void Simulator::begin()
{
    m_display.line((m_root.isFilled() ? QStringLiteral("Terminal of an earlier run in %1")
                                      : QStringLiteral("Terminal created in %1"))
                       .arg(m_root.path()),
                   Colour::Bold);
    const QStringList modules = QDir(m_root.at("/usr/lib/JovApplication")).entryList(QDir::Files);
    if (m_crashIsDue && !modules.contains(m_options.crash)) {
        fail(QStringLiteral("--crash %1: unknown module. The modules are %2")
                 .arg(m_options.crash, modules.join(QStringLiteral(", "))),
             2);
        return;
    }
    if (!m_narrator.open()) {
        fail(QStringLiteral("cannot open %1").arg(m_root.daemonLog()));
        return;
    }
    m_busProcess.setStandardErrorFile(m_root.at("/var/log/bus.out"), QIODevice::Append);
    // It prints its address when it listens.
    startProcess(m_busProcess,
                 {QStringLiteral("dbus-daemon"), QStringLiteral("--config-file=") + m_root.busConfig(),
                  QStringLiteral("--nofork"), QStringLiteral("--nopidfile"), QStringLiteral("--nosyslog"),
                  QStringLiteral("--print-address")});
}

void Simulator::busListens()
{
    m_busProcess.closeReadChannel(QProcess::StandardOutput);
    if (!m_bus.connectTo(m_root.busAddress())) {
        fail(QStringLiteral("cannot connect to the private bus; see %1").arg(m_root.at("/var/log/bus.out")));
        return;
    }
    m_narrator.watchDaemon();
    startDaemon();
}

void Simulator::startDaemon()
{
    m_state = State::Booting;
    m_rebootIsDue = false;
    m_powerIsCut = false;
    m_root.drawBootId();
    m_narrator.beginBoot();
    QString program = Components::applicationManager;
    if (m_options.watchdogMinute > 0) {
        program += QStringLiteral("-fast-clock");
        qputenv("JOV_DURATIONS", "minute=" + QByteArray::number(m_options.watchdogMinute));
    }
    m_daemon.setProcessChannelMode(QProcess::MergedChannels);
    m_daemon.setStandardOutputFile(m_root.at("/var/log/daemon.out"), QIODevice::Append);
    startProcess(m_daemon, {Installation::program(program), QStringLiteral("--nodaemon")});
    if (m_options.timeout > 0) {
        m_bootLimit.start();
    }
}

void Simulator::daemonEnded()
{
    m_narrator.catchUp();
    const bool expected = m_state == State::GoingDown;
    const bool endedWell = m_powerIsCut
        || ((expected || m_state == State::Up) && m_daemon.exitStatus() == QProcess::NormalExit
            && m_daemon.exitCode() == 0);
    if (!endedWell) {
        m_status = 1;
        m_cases.append(
            {bootGroup, QStringLiteral("supervisor"), 0, QStringLiteral("has ended %1").arg(m_daemon.end())});
    }
    m_narrator.tell(subject,
                    (expected ? QStringLiteral("the supervisor has ended %1")
                              : QStringLiteral("the supervisor has ended unexpectedly, %1"))
                        .arg(m_daemon.end()),
                    endedWell ? Colour::None : Colour::Bad);
    if (!expected) {
        m_then = Then::End;
        m_state = State::GoingDown;
    }
    clearAway();
}

void Simulator::clearAway()
{
    const int count = Guard::killChildren({pid_t(m_busProcess.processId()), m_commands.process()});
    if (count > 0) {
        m_narrator.tell(subject, QStringLiteral("processes left by the supervisor, killed: %1").arg(count),
                        Colour::Busy);
    }
    m_narrator.catchUp();
    m_display.noBottomLine();
    if (m_then == Then::Reboot) {
        m_display.line(QStringLiteral("\nThe terminal boots again."), Colour::Bold);
        startDaemon();
    } else {
        Q_EMIT finished(m_status);
    }
}

void Simulator::bootComplete()
{
    m_bootLimit.stop();
    if (m_state != State::Booting) {
        return;
    }
    m_state = State::Up;
    Summary::show(m_display, m_narrator.boot(), m_narrator.timeline(), m_narrator.sinceBegin());
    judgeBoot();
    if (m_crashIsDue) {
        QTimer::singleShot(m_options.crashAfter, this, [this] {
            if (m_state == State::Up && m_crashIsDue) {
                m_commands.crash(m_options.crash);
            }
        });
    } else if (m_options.once) {
        goDown(Then::End);
        return;
    }
    if (!m_options.once && !m_wasUp) {
        Summary::showWhatNext(m_display, m_narrator.boot(), m_commands.isListening());
        m_display.line(QStringLiteral("Other programs reach this terminal with\n"
                                      "  export DBUS_SYSTEM_BUS_ADDRESS=%1\n")
                           .arg(m_root.busAddress()));
    }
    m_wasUp = true;
    m_commands.setTerminalUp(true);
}

void Simulator::judgeBoot()
{
    m_cases = BootReport::casesOf(m_narrator.boot());
    if (!m_narrator.boot().isGood()) {
        m_status = 1;
        Summary::showFailures(m_display, m_narrator.boot());
        m_display.line(m_root.isKept() ? QStringLiteral("The terminal's files and logs are in %1").arg(m_root.path())
                                       : QStringLiteral("--root DIR keeps the terminal's files and logs in DIR"));
    }
}

void Simulator::rebootRequested()
{
    if (m_state == State::GoingDown || m_rebootIsDue) {
        return;
    }
    m_rebootIsDue = true;
    const bool isWanted = !m_options.once || (m_crashIsDue && m_state == State::Up);
    m_crashIsDue = false;
    if (!isWanted) {
        m_status = 1;
        m_cases.append({bootGroup, QStringLiteral("no reboot"), 0, QStringLiteral("the terminal was to be rebooted")});
    }
    const Then then = isWanted ? Then::Reboot : Then::End;
    QTimer::singleShot(rebootDelay, this, [this, then] { goDown(then); });
}

void Simulator::giveUp()
{
    const Boot &boot = m_narrator.boot();
    const QString waitingFor = boot.waitingFor();
    m_display.line(
        QStringLiteral("Gave up after %1 s.%2 Not running: %3")
            .arg(m_options.timeout)
            .arg(waitingFor.isEmpty() ? QString() : QStringLiteral(" The supervisor waits for %1.").arg(waitingFor),
                 boot.missing().join(QStringLiteral(", "))),
        Colour::Bad);
    m_narrator.readLists();
    judgeBoot();
    m_cases.append({bootGroup, QStringLiteral("end of the boot"), 0,
                    QStringLiteral("not reached after %1 s").arg(m_options.timeout)});
    m_status = 1;
    goDown(Then::End);
}

void Simulator::goDown(Then then)
{
    if (m_state == State::GoingDown) {
        m_then = then == Then::End ? Then::End : m_then;
        return;
    }
    if (m_state == State::StartingBus) {
        Q_EMIT finished(1);
        return;
    }
    m_state = State::GoingDown;
    m_then = then;
    m_bootLimit.stop();
    m_commands.setTerminalUp(false);
    m_display.noBottomLine();
    m_narrator.tell(subject,
                    then == Then::Reboot ? QStringLiteral("rebooting the terminal")
                                         : QStringLiteral("asking the supervisor to end"),
                    Colour::Bold);
    if (m_narrator.isDaemonThere()) {
        m_bus.stopDaemon();
    } else if (m_daemon.state() == QProcess::Running) { // before that, our own handler would take the signal
        m_daemon.terminate();
    }
    m_stopLimit.start(stopLimitOfDaemon + stopLimitOfModule * m_narrator.boot().modules.size());
}

void Simulator::interrupt()
{
    if (m_state != State::GoingDown) {
        m_status = m_state != State::Up && m_options.once ? 1 : m_status;
        goDown(Then::End);
        return;
    }
    m_then = Then::End;
    if (m_stopLimit.interval() - m_stopLimit.remainingTime() > patience) {
        killDaemon();
    }
}

void Simulator::killDaemon()
{
    m_narrator.tell(subject, QStringLiteral("killing the supervisor and its modules"), Colour::Bad);
    m_status = 1;
    m_daemon.kill();
}

void Simulator::cutPower()
{
    m_narrator.tell(subject, QStringLiteral("cutting the power"), Colour::Bad);
    m_state = State::GoingDown;
    m_then = Then::Reboot;
    m_powerIsCut = true;
    m_commands.setTerminalUp(false);
    m_daemon.kill();
}

void Simulator::fail(const QString &text, int status)
{
    m_display.noBottomLine();
    m_display.line(text, Colour::Bad);
    m_status = status;
    Q_EMIT finished(m_status);
}
