#include "Narrator.h"

#include "BusNames.h"
#include "TerminalBus.h"
#include "TerminalRoot.h"

#include <QFileInfo>

namespace {

using Tone = Display::Tone;

/// ms. The log is read a little late, so that an event that came over the bus before a line was written is told before
/// it.
constexpr int logDelay = 15;

const QString supervisor = QStringLiteral("supervisor");
const QString webClient = QStringLiteral("JovWebClient");

/// What stands behind `beginning`; null when the text does not begin so.
QString behind(const QString &text, const char *beginning)
{
    const QLatin1String start(beginning);
    return text.startsWith(start) ? text.mid(start.size()) : QString();
}

} // namespace

Narrator::Narrator(Display &display, const TerminalBus &bus, const TerminalRoot &root)
    : m_display(display)
    , m_root(root)
    , m_log(logDelay)
    , m_requests(0)
    , m_boot(std::make_unique<BootRecord>())
{
    connect(&bus, &TerminalBus::event, this, &Narrator::heard);
    connect(&bus, &TerminalBus::componentGone, this, &Narrator::moduleGone);
    connect(&m_log, &FileFollower::line, this, [this](const QString &line) { read(DaemonLine::parse(line)); });
    connect(&m_requests, &FileFollower::line, this, &Narrator::requested);
}

bool Narrator::open()
{
    return m_log.follow(m_root.daemonLog()) && m_requests.follow(m_root.requests());
}

void Narrator::beginBoot()
{
    m_boot = std::make_unique<BootRecord>();
    m_askedToStop.clear();
    m_isOver = false;
}

void Narrator::catchUp()
{
    m_log.flush();
    m_requests.flush();
}

void Narrator::tell(const QString &subject, const QString &text, Tone tone)
{
    m_display.event(m_boot->now(), subject, text, tone);
}

void Narrator::showProgress()
{
    if (!m_boot->isComplete()) {
        const QString waiting = m_boot->waitingFor();
        m_display.progress(m_boot->upCount(), m_boot->expected(),
                           waiting.isEmpty() ? QString() : QStringLiteral("starting %1").arg(waiting));
    }
}

void Narrator::heard(const QString &event, const QVariantMap &arguments)
{
    const QString ready = behind(event, "end_of_init_");
    const QString asked = behind(event, "stop_module_");
    if (event == QLatin1String("init_message")) {
        const QString message = arguments.value(QStringLiteral("message")).toString();
        const QString module = behind(message, "Starting application ");
        if (module.isNull()) {
            tell(supervisor, message, Tone::Faint);
        } else {
            m_log.flush(); // a start comes after all that was logged before
            m_boot->started(module);
            m_askedToStop.remove(module);
        }
    } else if (event == QLatin1String("end_of_init")) {
        tell(supervisor, QStringLiteral("end of initialisation: the home page is shown"), Tone::Heading);
        Q_EMIT endOfInit();
    } else if (event == QLatin1String("presentationReady")) {
        moduleUp(webClient);
    } else if (ready == webClient) {
        tell(ready, QStringLiteral("ready, its presentation is to come"), Tone::Faint);
    } else if (!ready.isNull()) {
        moduleUp(ready);
    } else if (!asked.isNull()) {
        m_askedToStop.insert(asked);
    }
    showProgress();
}

void Narrator::moduleUp(const QString &name)
{
    m_boot->up(name);
    const qint64 took = m_boot->modules().value(name).took;
    tell(name, took < 0 ? QStringLiteral("up") : QStringLiteral("up after %1 ms").arg(took), Tone::Good);
}

void Narrator::moduleGone(const QString &service)
{
    m_log.flush(); // of a crash the supervisor may have told already
    const QMap<QString, BootRecord::Module> modules = m_boot->modules();
    for (auto module = modules.cbegin(); module != modules.cend(); ++module) {
        const bool isUp = module->upAt >= 0 && !m_askedToStop.contains(module.key());
        if (isUp && !m_isOver && BusNames::service(module.key()) == service) {
            m_boot->down(module.key(), m_boot->now());
            tell(module.key(), QStringLiteral("its process has ended unasked"), Tone::Bad);
        }
    }
}

void Narrator::read(const DaemonLine &line)
{
    const auto told = [this, &line](const QString &subject, const QString &text, Tone tone) {
        m_display.event(m_boot->at(line.time), subject, text, tone);
    };
    switch (line.kind) {
    case DaemonLine::Kind::StepStarted:
        stepDone(line);
        break;
    case DaemonLine::Kind::Stopped:
        m_boot->down(line.name, m_boot->at(line.time));
        told(line.name, QStringLiteral("stopped in %1 ms").arg(line.number), Tone::Plain);
        break;
    case DaemonLine::Kind::LaunchFailed:
    case DaemonLine::Kind::StartFailed:
        told(line.name, line.text, Tone::Bad);
        break;
    case DaemonLine::Kind::Crashed:
        m_boot->down(line.name, m_boot->at(line.time));
        m_crashedAt = line.time;
        told(line.name, QStringLiteral("crashed: the supervisor takes the terminal down"), Tone::Bad);
        break;
    case DaemonLine::Kind::Blocked:
        // Usual where a module depends on two: the first of them leads to it while the second is still to be started.
        told(line.name, QStringLiteral("not now: %1 does not run").arg(line.other), Tone::Faint);
        break;
    case DaemonLine::Kind::Complaint:
        told(supervisor, QStringLiteral("%1: %2").arg(line.level, line.text),
             line.level == QLatin1String("warning") ? Tone::Notice : Tone::Bad);
        break;
    case DaemonLine::Kind::Launched:
    case DaemonLine::Kind::Usual:
    case DaemonLine::Kind::Other:
        break;
    }
    showProgress();
}

void Narrator::stepDone(const DaemonLine &line)
{
    m_boot->stepDone(line.name, line.number);
    const int modules = m_boot->files().stepOfModule.keys(line.name).size();
    const QString count = modules == 1 ? QStringLiteral("1 module") : QStringLiteral("%1 modules").arg(modules);
    m_display.event(m_boot->at(line.time), QStringLiteral("step ") + line.name,
                    QStringLiteral("done in %1 ms: %2").arg(line.number).arg(count), Tone::Heading);
    if (!m_boot->isComplete() && line.name == m_boot->files().lastStep()) {
        m_boot->complete();
        m_display.noBottomLine();
        Q_EMIT bootComplete();
    }
}

void Narrator::requested(const QString &line)
{
    m_log.flush(); // why it is asked for was logged before
    const QStringList words = line.split(QLatin1Char('\t'));
    const QString &who = words.constFirst();
    if (who == QLatin1String("jpg2fb")) {
        tell(QStringLiteral("screen"),
             QStringLiteral("shows %1 (on the screen: %2)").arg(words.constLast(), m_root.at("/run/framebuffer.jpg")),
             Tone::Notice);
        return;
    }
    tellOfArchive();
    if (who == QLatin1String("Platform")) {
        tell(who, QStringLiteral("reboot asked for by %1: %2").arg(words.value(3), words.value(4)), Tone::Notice);
    } else {
        tell(who, QStringLiteral("called with %1").arg(words.mid(1).join(QLatin1Char(' '))), Tone::Notice);
    }
    Q_EMIT rebootAsked();
}

void Narrator::tellOfArchive()
{
    const QFileInfo archive(m_root.at("/log/log.var.tar.gz"));
    if (archive.exists() && m_crashedAt.isValid() && archive.lastModified() >= m_crashedAt) {
        tell(QStringLiteral("logs"),
             QStringLiteral("archived: %1, %2 bytes").arg(archive.filePath()).arg(archive.size()), Tone::Notice);
    }
    m_crashedAt = QDateTime();
}
