#include "Commands.h"

#include "Narrator.h"
#include "SettingsFile.h"
#include "Summary.h"
#include "TerminalBus.h"
#include "TerminalRoot.h"

#include <csignal>

namespace {

using Tone = Display::Tone;

constexpr int crashLimit = 10000; // ms

const char helpText[] = "  list                 the modules, as the supervisor has them\n"
                        "  crash NAME           kill the module's process: what does the supervisor do?\n"
                        "  stop NAME            stop a module, all that depends on it, and all later steps\n"
                        "  start NAME           start one module\n"
                        "  restart NAME         stop and start one module alone\n"
                        "  start-all            start whatever does not run\n"
                        "  restart-all          stop everything, read the files again, start everything\n"
                        "  step N               lead a boot on that the step file has held\n"
                        "  set SETTING VALUE    change a setting of the terminal, such as MonitoringWatchDelay\n"
                        "  quit                 stop everything in order (Ctrl-C does too)";

} // namespace

Commands::Commands(Display &display, TerminalBus &bus, Narrator &narrator, const TerminalRoot &root)
    : m_display(display)
    , m_bus(bus)
    , m_narrator(narrator)
    , m_root(root)
{
    m_crashLimit.setSingleShot(true);
    m_crashLimit.setInterval(crashLimit);
    connect(&m_crashLimit, &QTimer::timeout, this, [this] {
        m_display.line(QStringLiteral("  Nothing followed within %1 s.").arg(crashLimit / 1000), Tone::Bad);
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
    m_isBusy = false;
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
    const QStringList words = m_waiting.takeFirst().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    execute(words.value(0), words.mid(1));
}

void Commands::finish()
{
    m_narrator.catchUp(); // what the command led to comes before the next one
    m_isBusy = false;
    next();
}

void Commands::execute(const QString &command, const QStringList &words)
{
    const QString first = words.value(0);
    const auto is = [&command, &words](const char *name, int count) {
        return command == QLatin1String(name) && words.size() == count;
    };
    if (is("quit", 0)) {
        Q_EMIT quit();
    } else if (is("list", 0)) {
        list();
    } else if (is("crash", 1)) {
        crash(first);
    } else if (is("stop", 1) || is("start", 1) || is("restart", 1)) {
        control(command + QStringLiteral("Module"), first);
    } else if (is("start-all", 0)) {
        call(QStringLiteral("startAll"));
    } else if (is("restart-all", 0)) {
        call(QStringLiteral("restart"));
    } else if (is("step", 1)) {
        m_bus.sendEvent(QStringLiteral("init_step"), {{QStringLiteral("stepNum"), first.toInt()}});
        finish();
    } else if (is("set", 2)) {
        set(first, words.at(1));
    } else {
        if (!command.isEmpty() && !is("help", 0)) {
            m_display.line(QStringLiteral("  '%1' is no command, or not with so many words:").arg(command), Tone::Bad);
        }
        if (!command.isEmpty()) {
            help();
        }
        finish();
    }
}

void Commands::crash(const QString &module)
{
    m_isBusy = true;
    m_bus.listModules([this, module](const ListApplicationConfig &modules) {
        for (const ApplicationConfig &candidate : modules) {
            const pid_t pid = candidate.getID().toInt();
            if (candidate.getName() == module && pid > 0) {
                m_narrator.tell(module, QStringLiteral("process %1 is killed with SIGSEGV").arg(pid), Tone::Notice);
                kill(pid, SIGSEGV);
                m_crashLimit.start();
                return;
            }
        }
        m_display.line(QStringLiteral("  %1: no module of that name runs").arg(module), Tone::Bad);
        finish();
    });
}

void Commands::control(const QString &method, const QString &module)
{
    m_bus.call(method, {module}, [this, module](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) {
            m_display.line(QStringLiteral("  %1").arg(reply.errorMessage()), Tone::Bad);
            finish();
        } else {
            tellState(module);
        }
    });
}

void Commands::call(const QString &method)
{
    m_bus.call(method, {}, [this](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) {
            m_display.line(QStringLiteral("  %1").arg(reply.errorMessage()), Tone::Bad);
        }
        finish();
    });
}

void Commands::list()
{
    m_bus.listModules([this](const ListApplicationConfig &modules) {
        Summary::showModules(m_display, m_narrator.boot(), modules);
        finish();
    });
}

void Commands::tellState(const QString &module)
{
    m_bus.listModules([this, module](const ListApplicationConfig &modules) {
        QString state = QStringLiteral("is no module of this terminal");
        for (const ApplicationConfig &candidate : modules) {
            if (candidate.getName() == module) {
                state = QStringLiteral("is now %1").arg(candidate.getState());
            }
        }
        m_narrator.catchUp();
        m_narrator.tell(module, state);
        finish();
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
        m_display.line(QStringLiteral("  settings.ini cannot be written"), Tone::Bad);
    }
    finish();
}

void Commands::help()
{
    m_display.line(QString::fromLatin1(helpText));
}
