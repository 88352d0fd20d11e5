#include "app/Simulator.h"

#include "app/Installation.h"
#include "app/KeeperLink.h"
#include "app/Summary.h"
#include "app/TerminalRoot.h"

#include <QDir>

#include <csignal>
#include <limits>

#include <sys/wait.h>

namespace {

using Colour = Display::Colour;

const QString bus = QStringLiteral("bus");
const QString daemonProcess = QStringLiteral("daemon");
const QString subject = QStringLiteral("simulator");

constexpr int longestTimeout = std::numeric_limits<int>::max() / 1000; // s: what a timer can wait
constexpr int busInterval = 10; // ms
constexpr int busTriesAllowed = 1000;
constexpr int rebootDelay = 300; // ms: what the supervisor does before it is asked to stop is seen as it happens
/// ms. A module that does not stop is killed by the supervisor after 2 s; this much more, and the supervisor itself
/// hangs.
constexpr int stopLimitOfModule = 2500;
constexpr int stopLimitOfDaemon = 15000;

QString describe(int waitStatus)
{
    return WIFSIGNALED(waitStatus) ? QStringLiteral("by signal %1").arg(WTERMSIG(waitStatus))
                                   : QStringLiteral("with status %1").arg(WEXITSTATUS(waitStatus));
}

} // namespace

Simulator::Simulator(const SimulatorOptions &options, const TerminalRoot &root, KeeperLink &keeper)
    : m_options(options)
    , m_root(root)
    , m_keeper(keeper)
    , m_narrator(m_display, m_bus, root)
    , m_commands(m_display, m_bus, m_narrator, root)
    , m_crashIsDue(!options.crash.isEmpty())
{
    if (!options.once && Prompt::isUsable()) {
        m_prompt = std::make_unique<Prompt>();
    }
    m_busTimer.setInterval(busInterval);
    m_bootLimit.setSingleShot(true);
    m_bootLimit.setInterval(qMin(options.timeout, longestTimeout) * 1000);
    m_stopLimit.setSingleShot(true);
    connectParts();
}

void Simulator::connectParts()
{
    connect(&m_busTimer, &QTimer::timeout, this, &Simulator::tryBus);
    connect(&m_bootLimit, &QTimer::timeout, this, &Simulator::giveUp);
    connect(&m_stopLimit, &QTimer::timeout, this, &Simulator::killDaemon);
    connect(&m_narrator, &Narrator::bootComplete, this, &Simulator::bootComplete);
    connect(&m_narrator, &Narrator::rebootAsked, this, &Simulator::rebootAsked);
    connect(&m_commands, &Commands::quit, this, [this] { goDown(Then::End); });
    connect(&m_commands, &Commands::crashIgnored, this, [this] {
        m_status = m_crashIsDue ? 1 : m_status;
        m_crashIsDue = false;
        if (m_options.once) {
            goDown(Then::End);
        }
    });
    connect(&m_commands, &Commands::idle, this, [this] {
        if (m_prompt) {
            m_display.prompt();
        }
    });
    connect(&m_keeper, &KeeperLink::started, this, [this](const QString &name, qint64 pid) {
        if (name == daemonProcess) {
            m_narrator.tell(subject, QStringLiteral("the supervisor starts, process %1").arg(pid), Colour::Dim);
        }
    });
    connect(&m_keeper, &KeeperLink::failed, this, [this](const QString &name, const QString &why) {
        const QString hint =
            name == bus ? QStringLiteral(" (scripts/install-dependencies installs dbus-daemon)") : QString();
        fail(QStringLiteral("The %1 cannot be started: %2%3").arg(name, why, hint));
    });
    connect(&m_keeper, &KeeperLink::ended, this, &Simulator::processEnded);
    connect(&m_keeper, &KeeperLink::cleared, this, &Simulator::cleared);
    connect(&m_keeper, &KeeperLink::lost, this,
            [this] { fail(QStringLiteral("The simulator's keeper was killed: everything has been cleared away.")); });
    if (m_prompt) {
        connect(m_prompt.get(), &Prompt::line, this, [this](const QString &line) {
            const bool atOnce = Prompt::isTerminal() && line == QLatin1String("quit");
            atOnce ? goDown(Then::End) : m_commands.add(line);
        });
        connect(m_prompt.get(), &Prompt::ended, this, [this] {
            if (Prompt::isTerminal()) {
                goDown(Then::End);
            }
        });
    }
}

void Simulator::begin()
{
    m_display.line(QStringLiteral("A terminal, %1 %2")
                       .arg(m_root.wasLaidBefore() ? QStringLiteral("as it stands in") : QStringLiteral("laid into"),
                            m_root.path()),
                   Colour::Bold);
    const QStringList modules = QDir(m_root.at("/usr/lib/JovApplication")).entryList(QDir::Files);
    if (m_crashIsDue && !modules.contains(m_options.crash)) {
        fail(QStringLiteral("--crash %1: the terminal has no such module. It has %2")
                 .arg(m_options.crash, modules.join(QStringLiteral(", "))),
             2);
        return;
    }
    if (!m_narrator.open()) {
        fail(QStringLiteral("%1 cannot be opened").arg(m_root.daemonLog()));
        return;
    }
    m_keeper.run(bus, m_root.at("/var/log/bus.out"),
                 {QStringLiteral("dbus-daemon"), QStringLiteral("--config-file=") + m_root.busConfig(),
                  QStringLiteral("--nofork"), QStringLiteral("--nopidfile"), QStringLiteral("--nosyslog")});
    m_busTimer.start();
}

void Simulator::tryBus()
{
    if (m_bus.connectTo(QStringLiteral("unix:path=") + m_root.busSocket())) {
        m_busTimer.stop();
        m_narrator.watchDaemon();
        startDaemon();
    } else if (++m_busTries > busTriesAllowed) {
        fail(QStringLiteral("The private bus does not listen; see %1").arg(m_root.at("/var/log/bus.out")));
    }
}

void Simulator::startDaemon()
{
    m_state = State::Booting;
    m_rebootIsDue = false;
    m_narrator.beginBoot();
    QStringList commandLine = {Installation::program(QStringLiteral("ApplicationManager")),
                               QStringLiteral("--nodaemon")};
    if (m_options.watchdogMinute > 0) {
        commandLine =
            QStringList{Installation::program(QStringLiteral("ApplicationManager-fast-clock")),
                        QStringLiteral("--nodaemon"), QStringLiteral("--minute=%1").arg(m_options.watchdogMinute)};
    }
    m_keeper.run(daemonProcess, m_root.at("/var/log/daemon.out"), commandLine);
    if (m_options.timeout > 0) {
        m_bootLimit.start();
    }
}

void Simulator::processEnded(const QString &name, int waitStatus)
{
    if (name == daemonProcess) {
        m_bootLimit.stop();
        m_stopLimit.stop();
        m_commands.setTerminalUp(false);
        m_narrator.catchUp([this, waitStatus] { daemonEnded(waitStatus); });
    } else {
        fail(QStringLiteral("The private bus ended %1: that is the end of the terminal.").arg(describe(waitStatus)));
    }
}

void Simulator::daemonEnded(int waitStatus)
{
    const bool expected = m_state == State::GoingDown;
    const bool endedWell = waitStatus == 0 && (expected || m_state == State::Up);
    if (!endedWell) {
        m_status = 1;
    }
    m_narrator.tell(subject,
                    expected ? QStringLiteral("the supervisor has ended %1").arg(describe(waitStatus))
                             : QStringLiteral("the supervisor ended by itself, %1").arg(describe(waitStatus)),
                    endedWell ? Colour::None : Colour::Bad);
    if (!expected) {
        m_then = Then::End;
        m_state = State::GoingDown;
    }
    m_keeper.clearAllBut(bus);
}

void Simulator::cleared(int count)
{
    if (count > 0) {
        m_narrator.tell(subject, QStringLiteral("%1 processes were left, and have been killed").arg(count),
                        Colour::Busy);
    }
    m_narrator.catchUp([this] {
        m_display.noBottomLine();
        if (m_then == Then::Reboot) {
            m_display.line(QStringLiteral("\nThe terminal boots again."), Colour::Bold);
            startDaemon();
        } else {
            Q_EMIT finished(m_status);
        }
    });
}

void Simulator::bootComplete()
{
    m_bootLimit.stop();
    if (m_state != State::Booting) {
        return;
    }
    m_state = State::Up;
    Summary::show(m_display, m_narrator.boot(), m_narrator.timeline(), m_narrator.sinceBegin());
    if (!m_narrator.boot().missing().isEmpty()) {
        m_status = 1;
    }
    if (m_crashIsDue) {
        QTimer::singleShot(m_options.crashAfter, this, &Simulator::crashNow);
    }
    terminalUp();
}

void Simulator::terminalUp()
{
    if (m_options.once && !m_crashIsDue) {
        goDown(Then::End);
        return;
    }
    if (!m_options.once && !m_wasUp) {
        Summary::showWhatNext(m_display, m_narrator.boot(), m_prompt != nullptr);
        m_display.line(QStringLiteral("For other programs this terminal is the bus\n"
                                      "  export DBUS_SYSTEM_BUS_ADDRESS=unix:path=%1\n")
                           .arg(m_root.busSocket()));
    }
    m_wasUp = true;
    m_commands.setTerminalUp(true);
}

void Simulator::crashNow()
{
    if (m_state == State::Up && m_crashIsDue) {
        m_commands.crash(m_options.crash);
    }
}

void Simulator::rebootAsked()
{
    if (m_state == State::GoingDown || m_rebootIsDue) {
        return;
    }
    m_rebootIsDue = true;
    const bool isWanted = !m_options.once || (m_crashIsDue && m_state == State::Up);
    m_crashIsDue = false;
    if (!isWanted) {
        m_status = 1;
    }
    const Then then = isWanted ? Then::Reboot : Then::End;
    QTimer::singleShot(rebootDelay, this, [this, then] { goDown(then); });
}

void Simulator::giveUp()
{
    const Boot &boot = m_narrator.boot();
    const QString waitingFor = boot.waitingFor();
    m_display.line(
        QStringLiteral("Given up after %1 s.%2 Not up: %3")
            .arg(m_options.timeout)
            .arg(waitingFor.isEmpty() ? QString() : QStringLiteral(" The supervisor waits for %1.").arg(waitingFor),
                 boot.missing().join(QStringLiteral(", "))),
        Colour::Bad);
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
                    then == Then::Reboot ? QStringLiteral("the terminal goes down for its reboot")
                                         : QStringLiteral("the supervisor is asked to end"),
                    Colour::Bold);
    if (m_narrator.isDaemonThere()) {
        m_bus.stopDaemon();
    } else {
        m_keeper.signal(daemonProcess, SIGTERM);
    }
    m_stopLimit.start(stopLimitOfDaemon + stopLimitOfModule * m_narrator.boot().modules.size());
}

void Simulator::interrupt()
{
    if (m_state == State::GoingDown) {
        m_then = Then::End;
        killDaemon();
        return;
    }
    if (m_state != State::Up && m_options.once) {
        m_status = 1;
    }
    goDown(Then::End);
}

void Simulator::killDaemon()
{
    m_narrator.tell(subject, QStringLiteral("the supervisor is killed, and its modules with it"), Colour::Bad);
    m_status = 1;
    m_keeper.signal(daemonProcess, SIGKILL);
}

void Simulator::fail(const QString &text, int status)
{
    m_display.noBottomLine();
    m_display.line(text, Colour::Bad);
    m_status = status;
    Q_EMIT finished(m_status);
}
