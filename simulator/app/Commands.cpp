#include "app/Commands.h"

#include "app/Installation.h"
#include "app/Narrator.h"
#include "app/Prompt.h"
#include "app/TerminalBus.h"
#include "app/TerminalRoot.h"
#include "components/SettingsFile.h"

#include <csignal>

namespace {

using Colour = Display::Colour;

constexpr int crashLimit = 10000; // ms

/// Those of jovctl's that come to an end by themselves and leave the end of the terminal to the simulator.
const QStringList ofJovctl = {
    QStringLiteral("list"),        QStringLiteral("status"),      QStringLiteral("tree"),
    QStringLiteral("boot"),        QStringLiteral("start"),       QStringLiteral("stop"),
    QStringLiteral("restart"),     QStringLiteral("start-all"),   QStringLiteral("stop-all"),
    QStringLiteral("restart-all"), QStringLiteral("restart-app"), QStringLiteral("log-level")};

QString namesOf(const QStringList &commands)
{
    return commands.join(QStringLiteral(", "));
}

const char helpText[] = "  crash NAME           kill the module's process: what does the supervisor do?\n"
                        "  set SETTING VALUE    change a setting of the terminal, such as MonitoringWatchDelay\n"
                        "  step N               lead a boot on that the step file has held\n"
                        "  quit                 stop everything in order (Ctrl-C does too)\n"
                        "  and of jovctl: %1,\n"
                        "                 %2";

} // namespace

Commands::Commands(Display &display, TerminalBus &bus, Narrator &narrator, const TerminalRoot &root)
    : m_display(display)
    , m_bus(bus)
    , m_narrator(narrator)
    , m_root(root)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (Console::hasColour()) {
        environment.insert(QStringLiteral("CLICOLOR_FORCE"), QStringLiteral("1"));
    }
    m_jovctl.setProcessEnvironment(environment);
    m_jovctl.setProgram(Installation::program(QStringLiteral("jovctl")));
    m_jovctl.setProcessChannelMode(QProcess::MergedChannels);
    connect(&m_jovctl, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            m_display.line(QStringLiteral("  %1: %2").arg(m_jovctl.program(), m_jovctl.errorString()), Colour::Bad);
            finish();
        }
    });
    connect(&m_jovctl, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this, [this] {
        m_narrator.catchUp([this] { // what the command led to comes before its answer
            m_display.line(QString::fromUtf8(m_jovctl.readAll().trimmed()));
            finish();
        });
    });
    m_crashLimit.setSingleShot(true);
    m_crashLimit.setInterval(crashLimit);
    connect(&m_crashLimit, &QTimer::timeout, this, [this] {
        m_display.line(QStringLiteral("  Nothing followed within %1 s.").arg(crashLimit / 1000), Colour::Bad);
        Q_EMIT crashIgnored();
        finish();
    });
}

void Commands::add(const QString &line)
{
    m_waiting.append(line);
    next();
}

void Commands::setTerminalUp(bool isUp)
{
    m_isUp = isUp;
    m_isBusy = m_jovctl.state() != QProcess::NotRunning;
    m_crashLimit.stop();
    next();
}

void Commands::next()
{
    if (!m_isUp || m_isBusy) {
        return;
    }
    if (m_waiting.isEmpty()) {
        Q_EMIT idle();
        return;
    }
    m_isBusy = true;
    const QString command = m_waiting.takeFirst();
    if (!Prompt::isTerminal()) {
        m_display.line(Display::promptText + command, Colour::Bold); // what a terminal shows as it is typed
    }
    execute(command.split(QLatin1Char(' '), Qt::SkipEmptyParts));
}

void Commands::finish()
{
    m_isBusy = false;
    next();
}

void Commands::execute(const QStringList &words)
{
    const auto is = [&words](const char *name, int operands) {
        return words.value(0) == QLatin1String(name) && words.size() == operands + 1;
    };
    if (is("quit", 0)) {
        Q_EMIT quit();
    } else if (is("crash", 1)) {
        crash(words.at(1));
    } else if (is("step", 1)) {
        m_bus.sendEvent(QStringLiteral("init_step"), {{QStringLiteral("stepNum"), words.at(1).toInt()}});
        finish();
    } else if (is("set", 2)) {
        set(words.at(1), words.at(2));
    } else if (ofJovctl.contains(words.value(0))) {
        m_display.noBottomLine();
        m_jovctl.setArguments(words);
        m_jovctl.start();
    } else {
        if (!words.isEmpty() && !is("help", 0)) {
            m_display.line(QStringLiteral("  '%1' is no command, or not with so many words:").arg(words.constFirst()),
                           Colour::Bad);
        }
        if (!words.isEmpty()) {
            m_display.line(QString::fromLatin1(helpText).arg(namesOf(ofJovctl.mid(0, 7)), namesOf(ofJovctl.mid(7))));
        }
        finish();
    }
}

void Commands::crash(const QString &module)
{
    m_isBusy = true;
    m_bus.inspect(QStringLiteral("ListModules"), [this, module](const QDBusMessage &reply) {
        const ModuleList modules = readModules(reply);
        const ModuleInfo *info = findModule(modules, module);
        if (info && info->pid > 0) {
            m_narrator.tell(module, QStringLiteral("process %1 is killed with SIGSEGV").arg(info->pid), Colour::Busy);
            kill(pid_t(info->pid), SIGSEGV);
            m_crashLimit.start();
        } else {
            m_display.line(QStringLiteral("  %1: no module of that name runs").arg(module), Colour::Bad);
            finish();
        }
    });
}

void Commands::set(const QString &setting, const QString &value)
{
    const SettingsFile file(m_root.at("/etc/JovApplication/settings.ini"));
    const QString section = QStringLiteral("settings");
    const QString before = file.value(section, setting);
    if (file.setValue(section, setting, value)) {
        m_narrator.tell(setting,
                        QStringLiteral("%1, before: %2").arg(value, before.isNull() ? QStringLiteral("-") : before));
    } else {
        m_display.line(QStringLiteral("  settings.ini cannot be written"), Colour::Bad);
    }
    finish();
}
