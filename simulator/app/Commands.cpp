#include "app/Commands.h"

#include "app/Installation.h"
#include "app/LineEditor.h"
#include "app/Narrator.h"
#include "app/TerminalBus.h"
#include "app/TerminalRoot.h"
#include "components/SettingsFile.h"
#include "contract/Components.h"
#include "contract/Events.h"
#include "contract/InspectionNames.h"

#include <array>
#include <csignal>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using Colour = Display::Colour;

constexpr int crashLimit = 10000; // ms
constexpr int crashLimitAlone = 1000; // ms, where nobody takes the request for a reboot
const QString separator = QStringLiteral(", ");

/// The commands of jovctl that end by themselves and do not end the supervisor.
const QStringList ofJovctl = {QStringLiteral("list"),        QStringLiteral("status"),    QStringLiteral("tree"),
                              QStringLiteral("why"),         QStringLiteral("history"),   QStringLiteral("boot"),
                              QStringLiteral("start"),       QStringLiteral("stop"),      QStringLiteral("restart"),
                              QStringLiteral("start-all"),   QStringLiteral("stop-all"),  QStringLiteral("restart-all"),
                              QStringLiteral("restart-app"), QStringLiteral("log-level"), QStringLiteral("log")};

bool isTerminal()
{
    return isatty(STDIN_FILENO) == 1;
}

const char helpText[] = "  crash NAME           kill the process of module NAME with SIGSEGV\n"
                        "  set SETTING VALUE    change a setting of the terminal, such as MonitoringWatchDelay\n"
                        "  power-cut            kill everything and boot again\n"
                        "  step N               continue a boot that the step file holds\n"
                        "  quit                 stop everything in order (the same as Ctrl-C)\n"
                        "  commands of jovctl:  %1,\n"
                        "                       %2";

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
        m_narrator.catchUp(); // the effects of the command are shown before its answer
        m_display.line(QString::fromUtf8(m_jovctl.readAll().trimmed()));
        finish();
    });
    m_crashLimit.setSingleShot(true);
    connect(&m_crashLimit, &QTimer::timeout, this, [this] {
        m_display.line(m_crashLimit.interval() == crashLimit
                           ? QStringLiteral("  The supervisor did not react within %1 s.").arg(crashLimit / 1000)
                           : QStringLiteral("  No reboot follows: the module Platform, which takes the request, "
                                            "does not run."),
                       Colour::Bad);
        Q_EMIT crashIgnored();
        finish();
    });
}

void Commands::listen()
{
    struct stat input = {};
    const bool isPipe = fstat(STDIN_FILENO, &input) == 0 && (S_ISFIFO(input.st_mode) || S_ISSOCK(input.st_mode));
    // A process in the background that reads from the terminal is stopped.
    if (isTerminal() ? tcgetpgrp(STDIN_FILENO) == getpgrp() : isPipe) {
        if (isTerminal() && m_display.hasBottom()) {
            m_display.setEditor(std::make_unique<LineEditor>(
                Display::promptText, [this](const QStringList &before) { return candidates(before); }));
        }
        m_input = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
        connect(m_input.get(), &QSocketNotifier::activated, this, &Commands::receive);
    }
}

QStringList Commands::candidates(const QStringList &before) const
{
    static const QStringList ofModules = {QStringLiteral("crash"), QStringLiteral("status"),  QStringLiteral("start"),
                                          QStringLiteral("stop"),  QStringLiteral("restart"), QStringLiteral("log")};
    if (before.isEmpty()) {
        return ofJovctl + QStringList{QStringLiteral("crash"), QStringLiteral("set"),  QStringLiteral("power-cut"),
                                      QStringLiteral("step"),  QStringLiteral("help"), QStringLiteral("quit")};
    }
    return ofModules.contains(before.constFirst()) ? moduleNames(m_narrator.boot().modules) : QStringList();
}

void Commands::edit()
{
    const LineEditor::Result result = m_display.editor()->read();
    if (result == LineEditor::Result::Typing) {
        return;
    }
    m_input->setEnabled(result == LineEditor::Result::Line);
    const QString line = m_display.editor()->line();
    if (result == LineEditor::Result::End || line == QLatin1String("quit")) {
        Q_EMIT quit();
        return;
    }
    m_waiting << line;
    next();
}

/// While no line is edited the terminal passes on whole lines.
void Commands::receive()
{
    if (m_display.editor() && m_display.editor()->isActive()) {
        edit();
        return;
    }
    std::array<char, 4096> buffer;
    const ssize_t size = read(STDIN_FILENO, buffer.data(), buffer.size());
    m_pending.append(buffer.data(), qMax(0, int(size)));
    bool isEnd = size <= 0;
    m_input->setEnabled(!isEnd);
    for (int end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
        const QString line = QString::fromLocal8Bit(m_pending.left(end)).trimmed();
        m_pending.remove(0, end + 1);
        isEnd = isEnd || line == QLatin1String("quit");
        m_waiting << line;
    }
    if (isEnd && isTerminal()) {
        Q_EMIT quit(); // also while a command is executed
    } else {
        next();
    }
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
        if (isListening()) {
            m_display.prompt(std::exchange(m_pending, QByteArray()));
        }
        return;
    }
    m_isBusy = true;
    const QString command = m_waiting.takeFirst();
    if (!isTerminal()) {
        m_display.line(Display::promptText + command, Colour::Bold); // a terminal has shown it already
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
    } else if (is("power-cut", 0)) {
        Q_EMIT powerCut();
    } else if (is("step", 1)) {
        m_bus.sendEvent(Events::initStep, {{Events::stepNum, words.at(1).toInt()}});
        finish();
    } else if (is("set", 2)) {
        set(words.at(1), words.at(2));
    } else if (ofJovctl.contains(words.value(0)) && !words.contains(QStringLiteral("-f"))) {
        m_display.noBottomLine();
        m_jovctl.setArguments(words);
        m_jovctl.start();
    } else {
        if (!words.isEmpty() && !is("help", 0)) {
            m_display.line(
                QStringLiteral("  unknown command '%1', or wrong number of arguments:").arg(words.constFirst()),
                Colour::Bad);
        }
        if (!words.isEmpty()) {
            m_display.line(
                QString::fromLatin1(helpText).arg(ofJovctl.mid(0, 9).join(separator), ofJovctl.mid(9).join(separator)));
        }
        finish();
    }
}

void Commands::crash(const QString &module)
{
    m_isBusy = true;
    const ModuleList modules = readModules(m_bus.inspect(Inspect::listModules));
    const ModuleInfo *info = findModule(modules, module);
    if (info && info->pid > 0) {
        m_narrator.tell(module, QStringLiteral("killing process %1 with SIGSEGV").arg(info->pid), Colour::Busy);
        kill(pid_t(info->pid), SIGSEGV);
        const ModuleInfo *platform = findModule(modules, Components::platform);
        m_crashLimit.start(platform && platform->pid > 0 ? crashLimit : crashLimitAlone);
    } else {
        m_display.line(QStringLiteral("  %1: no running module has this name").arg(module), Colour::Bad);
        finish();
    }
}

void Commands::set(const QString &setting, const QString &value)
{
    const SettingsFile file(m_root.at("/etc/JovApplication/settings.ini"));
    const QString section = QStringLiteral("settings");
    const QString before = file.value(section, setting);
    if (file.setValue(section, setting, value)) {
        m_narrator.tell(setting,
                        QStringLiteral("set to %1, was %2").arg(value, before.isNull() ? QStringLiteral("-") : before));
    } else {
        m_display.line(QStringLiteral("  cannot write settings.ini"), Colour::Bad);
    }
    finish();
}
