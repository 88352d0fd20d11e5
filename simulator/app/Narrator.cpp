#include "app/Narrator.h"

#include "app/TerminalBus.h"
#include "app/TerminalRoot.h"
#include "client/DaemonWatch.h"
#include "client/Units.h"

#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

using Colour = Display::Colour;

const QString supervisor = QStringLiteral("supervisor");

bool is(const QString &text, const char *other)
{
    return text == QLatin1String(other);
}

/// In microseconds since 1970.
qint64 wallClock()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

QString counted(int count, const QString &thing)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(thing, count == 1 ? QString() : QStringLiteral("s"));
}

} // namespace

Narrator::Narrator(Display &display, TerminalBus &bus, const TerminalRoot &root)
    : m_display(display)
    , m_bus(bus)
    , m_root(root)
{
    connect(&m_log, &FileFollower::changed, this, &Narrator::look);
    connect(&m_requests, &FileFollower::changed, this, &Narrator::look);
}

Narrator::~Narrator() = default;

bool Narrator::open()
{
    return m_log.follow(m_root.daemonLog()) && m_requests.follow(m_root.requests());
}

void Narrator::watchDaemon()
{
    m_watch = std::make_unique<DaemonWatch>(m_bus.connection());
    connect(m_watch.get(), &DaemonWatch::appeared, this, [this] {
        m_isDaemonThere = true;
        look();
    });
    connect(m_watch.get(), &DaemonWatch::vanished, this, [this] { m_isDaemonThere = false; });
    connect(m_watch.get(), &DaemonWatch::changed, this,
            [this](const QString &name, const QString &, const QString &newState) {
                m_heard << TimelineEntry{Units::now(), newState, name};
                look();
            });
    connect(m_watch.get(), &DaemonWatch::stepDone, this, [this](int, const QString &name) {
        m_heard << TimelineEntry{Units::now(), QStringLiteral("step_done"), name};
        look();
    });
    m_watch->begin();
}

void Narrator::beginBoot()
{
    m_boot = Boot::begin(m_root.path());
    m_begin = Units::now();
    m_clockOffset = wallClock() - qint64(m_begin);
    m_toldUpTo = m_begin;
    m_display.restartClock();
    m_endedUnasked = 0;
}

quint64 Narrator::sinceBegin() const
{
    return Units::now() - m_begin;
}

void Narrator::tell(const QString &subject, const QString &text, Colour colour)
{
    add(Units::now(), subject, text, colour);
    look();
}

void Narrator::catchUp(const std::function<void()> &then)
{
    m_wanted.push_back(then);
    look();
}

void Narrator::showProgress()
{
    if (!m_boot.isComplete && !m_boot.modules.isEmpty()) {
        const QString waiting = m_boot.waitingFor();
        const int expected = m_boot.expected().size();
        m_display.progress(expected - m_boot.missing().size(), expected,
                           waiting.isEmpty() ? QString() : QStringLiteral("starting %1").arg(waiting));
    }
}

/// The files as the daemon has read them; their order and its notion of a usable file are its own.
void Narrator::readLists()
{
    m_bus.inspect(QStringLiteral("ListModules"),
                  [this](const QDBusMessage &reply) { m_boot.modules = readModules(reply); });
    m_bus.inspect(QStringLiteral("ListSteps"), [this](const QDBusMessage &reply) {
        m_boot.steps = readSteps(reply);
        if (m_boot.lastStep().isEmpty() && !m_boot.steps.isEmpty()) {
            checkComplete(QString()); // held before the first step
        }
    });
}

void Narrator::look()
{
    m_lookAgain = m_isLooking;
    if (m_isLooking) {
        return;
    }
    m_isLooking = true;
    readFiles();
    if (m_boot.steps.isEmpty()) {
        readLists();
    }
    m_bus.inspect(QStringLiteral("GetTimeline"),
                  [this, wanted = std::exchange(m_wanted, {})](const QDBusMessage &reply) {
                      m_isLooking = false;
                      const bool answered = reply.type() == QDBusMessage::ReplyMessage;
                      if (answered && m_boot.steps.isEmpty()) {
                          // It came to the bus between two questions: nothing can be told without the lists.
                          m_wanted.insert(m_wanted.begin(), wanted.begin(), wanted.end());
                          look();
                          return;
                      }
                      if (answered) {
                          m_timeline = readTimeline(reply);
                      }
                      m_isExact = answered;
                      tellAll(unknown(answered ? m_timeline : m_heard));
                      for (const auto &then : wanted) {
                          then();
                      }
                      if (m_lookAgain) {
                          look();
                      }
                  });
}

/// Before the timeline is asked for: so it will have all that came before what the files say.
void Narrator::readFiles()
{
    const QStringList logLines = m_log.take();
    for (const QString &line : logLines) {
        complaint(line);
    }
    const QStringList requests = m_requests.take();
    for (const QString &line : requests) {
        QStringList words = line.split(QLatin1Char('\t'));
        const quint64 time = clockOf(QDateTime::fromMSecsSinceEpoch(words.takeFirst().toLongLong()));
        m_happenings << Happening{time, [this, words, time] { requested(words, time); }};
    }
}

void Narrator::tellAll(const TimelineList &entries)
{
    // The answer came behind every signal that the daemon had sent before it.
    m_heard.clear();
    for (const TimelineEntry &happened : entries) {
        m_happenings << Happening{happened.time, [this, happened] { entry(happened); }};
    }
    QList<Happening> told = std::exchange(m_happenings, {});
    std::stable_sort(told.begin(), told.end(),
                     [](const Happening &one, const Happening &other) { return one.time < other.time; });
    for (const Happening &happening : qAsConst(told)) {
        happening.tell();
    }
    showProgress();
}

/// Those of `entries`, which are ordered by time, that have not been told.
TimelineList Narrator::unknown(const TimelineList &entries)
{
    TimelineList found;
    int atThatTime = 0;
    for (const TimelineEntry &entry : entries) {
        const bool isNew = entry.time > m_toldUpTo || (entry.time == m_toldUpTo && ++atThatTime > m_toldAtThatTime);
        if (isNew) {
            found << entry;
        }
    }
    for (const TimelineEntry &entry : qAsConst(found)) {
        m_toldAtThatTime = entry.time == m_toldUpTo ? m_toldAtThatTime + 1 : 1;
        m_toldUpTo = entry.time;
    }
    return found;
}

void Narrator::entry(const TimelineEntry &entry)
{
    const auto told = [this, &entry](const QString &text, Colour colour) {
        m_display.event(qint64(entry.time - m_begin), supervisor, text, colour);
    };
    if (is(entry.event, "start")) {
        told(QStringLiteral("begins with %1 in %2")
                 .arg(counted(m_boot.modules.size(), QStringLiteral("module")),
                      counted(m_boot.steps.size(), QStringLiteral("step"))),
             Colour::Bold);
    } else if (is(entry.event, "restart")) {
        told(QStringLiteral("begins again"), Colour::Bold);
        readLists();
    } else if (is(entry.event, "stop_all")) {
        told(QStringLiteral("stops everything, last step first"), Colour::Bold);
    } else if (is(entry.event, "end_of_init")) {
        told(QStringLiteral("end of initialisation: the home page is shown"), Colour::Bold);
    } else if (is(entry.event, "step_started") || is(entry.event, "step_done")) {
        stepEntry(entry);
    } else if (!is(entry.event, "exited")) {
        moduleEntry(entry);
    }
}

void Narrator::moduleEntry(const TimelineEntry &entry)
{
    Boot::Part &part = m_boot.moduleParts[entry.name];
    const QString took = Units::duration(entry.time - part.since);
    const QString before = part.state;
    const auto told = [this, &entry](const QString &text, Colour colour) {
        m_display.event(qint64(entry.time - m_begin), entry.name, text, colour);
    };
    if (is(entry.event, "launched")) {
        part.since = entry.time;
        ++m_launchedInStep;
        return;
    }
    part.state = entry.event;
    if (is(entry.event, "RUNNING")) {
        told(QStringLiteral("up after %1").arg(took), Colour::Good);
    } else if (is(entry.event, "WEB_CLIENT_STARTED")) {
        told(QStringLiteral("ready, its presentation is to come"), Colour::Dim);
    } else if (is(entry.event, "STOPPING")) {
        part.since = entry.time;
    } else if (is(entry.event, "STOPPED") && is(before, "STOPPING")) {
        told(m_isExact ? QStringLiteral("stopped in %1").arg(took) : QStringLiteral("stopped"), Colour::None);
    } else if (is(entry.event, "STOPPED") && is(before, "STARTING")) {
        told(QStringLiteral("ended before it was ready, after %1").arg(took), Colour::Bad);
    } else if (is(entry.event, "STOPPED")) {
        m_endedUnasked = entry.time;
        told(QStringLiteral("ended unasked"), Colour::Bad);
    }
}

void Narrator::stepEntry(const TimelineEntry &entry)
{
    Boot::Part &part = m_boot.stepParts[entry.name];
    if (is(entry.event, "step_started")) {
        part.since = entry.time;
        m_launchedInStep = 0;
        return;
    }
    const QString text = m_launchedInStep == 0
        ? QStringLiteral("done, nothing was to be started")
        : QStringLiteral("done in %1: %2")
              .arg(Units::duration(entry.time - part.since), counted(m_launchedInStep, QStringLiteral("module")));
    m_display.event(qint64(entry.time - m_begin), QStringLiteral("step ") + entry.name, text, Colour::Bold);
    checkComplete(entry.name);
}

void Narrator::checkComplete(const QString &step)
{
    if (!m_boot.isComplete && step == m_boot.lastStep()) {
        m_boot.isComplete = true;
        m_display.noBottomLine();
        Q_EMIT bootComplete();
    }
}

/// A line of the daemon's log: what is worse than information, and no usual part of a boot.
void Narrator::complaint(const QString &logLine)
{
    const QString level = logLine.section(QLatin1Char(' '), 1, 1);
    const QString text = logLine.section(QLatin1Char(' '), 2);
    const bool isWarning = is(level, "warning");
    // Without a step file everything is started. Of two that a module needs the first leads to it, too early.
    const bool isUsual = is(text, "No Step file") || text.startsWith(QLatin1String("[InitStep]Cannot be started: "));
    if ((isWarning && !isUsual) || is(level, "error") || is(level, "emergency")) {
        const QDateTime time = QDateTime::fromString(logLine.section(QLatin1Char(' '), 0, 0), Qt::ISODateWithMs);
        add(clockOf(time), supervisor, QStringLiteral("%1: %2").arg(level, text),
            isWarning ? Colour::Busy : Colour::Bad);
    }
}

void Narrator::requested(const QStringList &words, quint64 time)
{
    const QString who = words.value(0);
    const auto told = [this, time](const QString &subject, const QString &text) {
        m_display.event(qint64(time - m_begin), subject, text, Colour::Busy);
    };
    if (is(who, "jpg2fb")) {
        told(QStringLiteral("screen"),
             QStringLiteral("shows %1").arg(QFileInfo(words.value(words.size() - 1)).fileName()));
        return;
    }
    tellOfArchive(time);
    told(who,
         is(who, "Platform") ? QStringLiteral("reboot asked for by %1: %2").arg(words.value(3), words.value(4))
                             : QStringLiteral("called with %1").arg(words.mid(1).join(QLatin1Char(' '))));
    Q_EMIT rebootAsked();
}

void Narrator::tellOfArchive(quint64 time)
{
    constexpr quint64 fileClockTick = 10000; // how far behind the file system's clock may be
    const QFileInfo archive(m_root.at("/log/log.var.tar.gz"));
    if (m_endedUnasked > 0 && archive.exists() && clockOf(archive.lastModified()) + fileClockTick >= m_endedUnasked) {
        m_display.event(qint64(time - m_begin), QStringLiteral("logs"),
                        QStringLiteral("archived: %1, %2 bytes").arg(archive.filePath()).arg(archive.size()),
                        Colour::Busy);
    }
    m_endedUnasked = 0;
}

void Narrator::add(quint64 time, const QString &subject, const QString &text, Colour colour)
{
    m_happenings << Happening{
        time, [this, time, subject, text, colour] { m_display.event(qint64(time - m_begin), subject, text, colour); }};
}

/// What the clock of the timeline showed at `time`, which is cut to milliseconds: at its end, behind what it is about.
quint64 Narrator::clockOf(const QDateTime &time) const
{
    constexpr qint64 cutOff = 999;
    return quint64(qMax(qint64(m_begin), time.toMSecsSinceEpoch() * 1000 + cutOff - m_clockOffset));
}
