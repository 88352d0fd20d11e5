#ifndef NARRATOR_H
#define NARRATOR_H

#include "app/Boot.h"
#include "app/Display.h"
#include "app/FileFollower.h"

#include <QDateTime>
#include <QObject>

#include <functional>
#include <memory>
#include <vector>

class DaemonWatch;
class TerminalBus;
class TerminalRoot;

/**
 * Tells what happens on the terminal, a line for each thing, in the order in which it happened.
 *
 * The daemon's timeline is the source: it has the times, by the daemon's own clock, so a simulator that gets little
 * processor time still tells the truth. Signals of the daemon, its log and what the stand-ins were asked for make the
 * narrator look at the timeline; what it then finds, and the new complaints and requests, are told together, by time.
 * A daemon that has ended does not answer any more: then its last signals are told instead, as they came, and without
 * durations.
 */
class Narrator : public QObject
{
    Q_OBJECT

public:
    using Colour = Display::Colour;

    Narrator(Display &display, TerminalBus &bus, const TerminalRoot &root);
    ~Narrator() override;

    /// False when the files to follow cannot be read.
    bool open();
    /// To be called once, when the bus is there.
    void watchDaemon();
    /// From here on it tells of a new boot.
    void beginBoot();
    void tell(const QString &subject, const QString &text, Colour colour = Colour::None);
    /// Calls `then` when everything that has happened so far is told.
    void catchUp(const std::function<void()> &then);
    void showProgress();

    [[nodiscard]] const Boot &boot() const { return m_boot; }
    [[nodiscard]] const TimelineList &timeline() const { return m_timeline; }
    [[nodiscard]] quint64 sinceBegin() const;
    [[nodiscard]] bool isDaemonThere() const { return m_isDaemonThere; }

Q_SIGNALS:
    void bootComplete();
    void rebootAsked();

private:
    /// Something to be told: when it happened, and how it is told.
    struct Happening
    {
        quint64 time = 0;
        std::function<void()> tell;
    };

    void readLists();
    void look();
    void readFiles();
    void tellAll(const TimelineList &entries);
    [[nodiscard]] TimelineList unknown(const TimelineList &entries);
    void entry(const TimelineEntry &entry);
    void moduleEntry(const TimelineEntry &entry);
    void stepEntry(const TimelineEntry &entry);
    void complaint(const QString &logLine);
    void requested(const QStringList &words, quint64 time);
    void tellOfArchive(quint64 time);
    void add(quint64 time, const QString &subject, const QString &text, Colour colour);
    void checkComplete(const QString &step);
    [[nodiscard]] quint64 clockOf(const QDateTime &time) const;

    Display &m_display;
    TerminalBus &m_bus;
    const TerminalRoot &m_root;
    FileFollower m_log;
    FileFollower m_requests;
    std::unique_ptr<DaemonWatch> m_watch;
    Boot m_boot;
    quint64 m_begin = 0;
    qint64 m_clockOffset = 0; ///< of the wall clock to that of the timeline
    TimelineList m_timeline; ///< as it was at the last look
    TimelineList m_heard; ///< by signals since the last look
    quint64 m_toldUpTo = 0;
    int m_toldAtThatTime = 0; ///< entries of that very microsecond
    QList<Happening> m_happenings;
    std::vector<std::function<void()>> m_wanted; ///< by catchUp()
    bool m_isLooking = false;
    bool m_lookAgain = false;
    bool m_isDaemonThere = false;
    bool m_isExact = true; ///< what is being told comes from the timeline: differences of its times mean something
    int m_launchedInStep = 0; ///< since the last step began
    quint64 m_endedUnasked = 0; ///< when a module did so
};

#endif
