#include "app/Narrator.h"

#include "app/TerminalBus.h"
#include "app/TerminalRoot.h"
#include "client/Units.h"
#include "components/Announcement.h"
#include "contract/InspectionNames.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <utility>

namespace {

using Colour = Display::Colour;

const QString supervisor = QStringLiteral("supervisor");

QString counted(int count, const char *thing)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(QLatin1String(thing), QLatin1String(count == 1 ? "" : "s"));
}

bool isAnswer(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ReplyMessage;
}

} // namespace

Narrator::Narrator(Display &display, TerminalBus &bus, const TerminalRoot &root)
    : m_display(display)
    , m_bus(bus)
    , m_root(root)
{
    m_soon.setSingleShot(true);
    connect(&m_soon, &QTimer::timeout, this, &Narrator::catchUp);
    connect(&m_logWatcher, &QFileSystemWatcher::fileChanged, &m_soon, qOverload<>(&QTimer::start));
}

bool Narrator::open()
{
    m_log.setFileName(m_root.daemonLog());
    return m_log.open(QIODevice::ReadWrite) && m_log.seek(m_log.size()) && m_logWatcher.addPath(m_log.fileName());
}

void Narrator::watchDaemon()
{
    QDBusConnection bus = m_bus.connection();
    bus.connect(QString(), Announcement::path, Announcement::interface, Announcement::rebootRequested, this,
                SLOT(receiveReboot(QString, QString)));
    bus.connect(QString(), Announcement::path, Announcement::interface, Announcement::pictureShown, this,
                SLOT(receivePicture(QString, QString)));
    m_watch = std::make_unique<DaemonWatch>(bus);
    connect(m_watch.get(), &DaemonWatch::appeared, this, [this] {
        m_isDaemonThere = true;
        m_soon.start();
    });
    connect(m_watch.get(), &DaemonWatch::vanished, this, [this] { m_isDaemonThere = false; });
    connect(m_watch.get(), &DaemonWatch::changed, this,
            [this](const QString &name, const QString &, const QString &newState) {
                m_heard << TimelineEntry{Units::now(), newState, name};
                m_soon.start();
            });
    connect(m_watch.get(), &DaemonWatch::stepDone, &m_soon, qOverload<>(&QTimer::start));
    m_watch->begin();
}

void Narrator::beginBoot()
{
    m_boot = Boot::begin(m_root.path());
    m_isDaemonThere = false; // the signal about the end of the one before may still be on its way
    m_begin = Units::now();
    m_archived = QFileInfo(m_root.at("/log/log.var.tar.gz")).lastModified();
    m_display.restartClock();
}

quint64 Narrator::sinceBegin() const
{
    return Units::now() - m_begin;
}

void Narrator::tell(const QString &subject, const QString &text, Colour colour)
{
    readLog(); // what was logged before comes first
    m_lines << Line{Units::now(), subject, text, colour};
    m_soon.start();
}

void Narrator::catchUp()
{
    readLog(); // before the timeline, which then has everything that led to the lines
    if (!m_boot.isKnown && m_isDaemonThere) {
        readLists();
    }
    const QDBusMessage reply = m_boot.isKnown ? m_bus.inspect(Inspect::getTimeline) : QDBusMessage();
    if (m_watch) {
        QCoreApplication::sendPostedEvents(m_watch.get()); // the signals that arrived before the reply
    }
    m_isExact = isAnswer(reply);
    if (m_isExact) {
        m_timeline = readTimeline(reply);
    }
    const bool wasComplete = m_boot.isComplete;
    addNew(m_isExact ? m_timeline : m_heard);
    forgetHeard();
    m_boot.isComplete = m_boot.isComplete || (m_boot.isKnown && m_boot.lastStep().isEmpty());
    std::stable_sort(m_lines.begin(), m_lines.end(),
                     [](const Line &one, const Line &other) { return one.time < other.time; });
    const QList<Line> lines = std::exchange(m_lines, {});
    for (const Line &line : lines) {
        m_display.event(qint64(line.time - m_begin), line.subject, line.text, line.colour);
    }
    showProgress();
    if (m_boot.isComplete && !wasComplete) {
        readLists(); // with the exit codes
        m_display.noBottomLine();
        Q_EMIT bootComplete();
    }
}

/// Of the log the lines that are worse than information and not a usual part of a boot.
void Narrator::readLog()
{
    if (m_log.size() < m_log.pos()) {
        m_log.seek(0); // truncated
    }
    m_pending += m_log.readAll();
    for (int end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
        const QString line = QString::fromUtf8(m_pending.left(end));
        m_pending.remove(0, end + 1);
        const QString level = line.section(QLatin1Char(' '), 1, 1);
        const QString text = line.section(QLatin1Char(' '), 2);
        const bool isWarning = level == QLatin1String("warning");
        // Without a step file the boot starts everything. If a module needs two others, the end of the first one
        // already makes the supervisor try to start it.
        const bool isUsual = isWarning
            && (text == QLatin1String("No Step file")
                || text.startsWith(QLatin1String("[InitStep]Cannot be started: ")));
        if (!isUsual && (isWarning || level == QLatin1String("error") || level == QLatin1String("emergency"))) {
            m_lines << Line{Units::now(), supervisor, QStringLiteral("%1: %2").arg(level, text),
                            isWarning ? Colour::Busy : Colour::Bad};
        }
    }
}

void Narrator::readLists()
{
    const QDBusMessage modules = m_bus.inspect(Inspect::listModules);
    const QDBusMessage steps = m_bus.inspect(Inspect::listSteps);
    m_boot.isKnown = isAnswer(modules) && isAnswer(steps);
    if (m_boot.isKnown) {
        m_boot.modules = readModules(modules);
        m_boot.steps = readSteps(steps);
    }
}

void Narrator::addNew(const TimelineList &entries)
{
    const auto isLast = [this](const TimelineEntry &entry) {
        return entry.time == m_lastShown.time && entry.event == m_lastShown.event && entry.name == m_lastShown.name;
    };
    for (auto entry = std::find_if(entries.rbegin(), entries.rend(), isLast).base(); entry != entries.end(); ++entry) {
        if (entry->time >= m_begin) {
            add(*entry);
        }
    }
    if (m_isExact && !entries.isEmpty()) {
        m_lastShown = entries.constLast();
    }
}

/// Forgets what has been shown. A signal that arrived after the reply is not in the timeline yet.
void Narrator::forgetHeard()
{
    QSet<QString> shown;
    for (int i = m_heard.size() - 1; i >= 0; --i) {
        const QString name = m_heard.at(i).name;
        if (shown.contains(name) || m_boot.moduleParts.value(name).state == stateOf(m_heard.at(i).event)) {
            shown << name;
            m_heard.removeAt(i);
        }
    }
}

void Narrator::add(const TimelineEntry &entry)
{
    namespace Happened = Inspect::Happened;
    const auto addLine = [this, &entry](const QString &text) {
        m_lines << Line{entry.time, supervisor, text, Colour::Bold};
    };
    if (entry.event == Happened::start) {
        addLine(QStringLiteral("begins with %1 in %2")
                    .arg(counted(m_boot.modules.size(), "module"), counted(m_boot.steps.size(), "step")));
    } else if (entry.event == Happened::restart) {
        addLine(QStringLiteral("begins again"));
        readLists(); // it has read its files again
    } else if (entry.event == Happened::stopAll) {
        addLine(QStringLiteral("stops everything, last step first"));
    } else if (entry.event == Happened::endOfInit) {
        m_boot.hasHomePage = true;
        addLine(QStringLiteral("end of initialisation: the home page is shown"));
    } else if (entry.event == Happened::stepStarted || entry.event == Happened::stepDone) {
        addStep(entry);
    } else if (entry.event != Happened::exited) {
        addModule(entry);
    }
}

void Narrator::addModule(const TimelineEntry &entry)
{
    Boot::Part &part = m_boot.moduleParts[entry.name];
    // An announcement of somebody else can make a module run that was not launched.
    const QString took = Units::duration(entry.time - part.since);
    const QString after = part.since > 0 ? QStringLiteral(" after ") + took : QString();
    const ModuleState before = part.state;
    const auto addLine = [this, &entry](const QString &text, Colour colour) {
        m_lines << Line{entry.time, entry.name, text, colour};
    };
    if (entry.event == Inspect::Happened::launched) {
        part.since = entry.time;
        ++m_launchedInStep;
        return;
    }
    part.state = stateOf(entry.event);
    if (part.state == ModuleState::Running) {
        addLine(QStringLiteral("up") + after, Colour::Good);
    } else if (part.state == ModuleState::WebClientStarted) {
        addLine(QStringLiteral("ready, waiting for its presentation"), Colour::Dim);
    } else if (part.state == ModuleState::Stopping || part.state == ModuleState::Starting) {
        part.since = entry.time;
    } else if (part.state != ModuleState::Stopped) {
        return;
    } else if (before == ModuleState::Stopping) {
        addLine(m_isExact ? QStringLiteral("stopped in %1").arg(took) : QStringLiteral("stopped"), Colour::None);
    } else if (before == ModuleState::Starting) {
        addLine(QStringLiteral("ended before it was ready%1%2")
                    .arg(part.since > 0 ? QLatin1Char(',') + after : after, exitOf(entry)),
                Colour::Bad);
        const QStringList printed = TerminalRoot::printed(entry.name);
        for (const QString &line : printed) {
            addLine(QStringLiteral("printed: ") + line, Colour::None);
        }
    } else {
        addLine(QStringLiteral("ended unexpectedly"), Colour::Bad);
    }
}

/// " (exit status 4)" of the module that has stopped; nothing when it was started again, or the supervisor has ended.
QString Narrator::exitOf(const TimelineEntry &stopped) const
{
    const ModuleList modules = readModules(m_bus.inspect(Inspect::listModules));
    const ModuleInfo *module = findModule(modules, stopped.name);
    return module && module->exitedAt > module->launchedAt ? QStringLiteral(" (%1)").arg(module->lastExit())
                                                           : QString();
}

void Narrator::addStep(const TimelineEntry &entry)
{
    Boot::Part &part = m_boot.stepParts[entry.name];
    if (entry.event == Inspect::Happened::stepStarted) {
        part.since = entry.time;
        m_launchedInStep = 0;
        return;
    }
    const QString text = m_launchedInStep == 0
        ? QStringLiteral("done, nothing to start")
        : QStringLiteral("done in %1: %2")
              .arg(Units::duration(entry.time - part.since), counted(m_launchedInStep, "module"));
    m_lines << Line{entry.time, QStringLiteral("step ") + entry.name, text, Colour::Bold};
    m_boot.isComplete = m_boot.isComplete || entry.name == m_boot.lastStep();
}

void Narrator::receiveReboot(const QString &who, const QString &text)
{
    showArchive();
    tell(who, text, Colour::Busy);
    Q_EMIT rebootRequested();
}

void Narrator::receivePicture(const QString &who, const QString &text)
{
    tell(who, text, Colour::Busy);
}

/// A crash archives the logs before it requests the reboot.
void Narrator::showArchive()
{
    const QFileInfo archive(m_root.at("/log/log.var.tar.gz"));
    if (archive.exists() && archive.lastModified() != m_archived) {
        m_archived = archive.lastModified();
        tell(QStringLiteral("logs"),
             QStringLiteral("archived: %1, %2 bytes").arg(archive.filePath()).arg(archive.size()), Colour::Busy);
    }
}

void Narrator::showProgress()
{
    if (!m_boot.isComplete && m_boot.isKnown) {
        const QString waiting = m_boot.waitingFor();
        const int expected = m_boot.expected().size();
        m_display.progress(expected - m_boot.missing().size(), expected,
                           waiting.isEmpty() ? QString() : QStringLiteral("starting %1").arg(waiting));
    }
}
