#ifndef NARRATOR_H
#define NARRATOR_H

#include "app/Boot.h"
#include "app/Display.h"
#include "client/DaemonWatch.h"

#include <QDateTime>
#include <QFile>
#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

#include <memory>

class TerminalBus;
class TerminalRoot;

/**
 * Shows what happens on the terminal, a line for each event, in order.
 *
 * The source is the supervisor's timeline, with its times. Signals of the supervisor and of the stand-ins, and new
 * lines of the log, make the narrator read the timeline. What is not in the timeline has the time at which the
 * simulator received it. All times are microseconds of CLOCK_MONOTONIC. A supervisor that has ended no longer sends its
 * timeline; then the last state changes are shown as the signals reported them, without durations.
 */
class Narrator : public QObject
{
    Q_OBJECT

public:
    using Colour = Display::Colour;

    Narrator(Display &display, TerminalBus &bus, const TerminalRoot &root);

    /// False when the log cannot be read.
    bool open();
    /// Call it once, when the bus is there.
    void watchDaemon();
    /// Everything from here on belongs to a new boot.
    void beginBoot();
    void tell(const QString &subject, const QString &text, Colour colour = Colour::None);
    /// Reads the modules and steps as the supervisor has them now.
    void readLists();
    /// Shows everything that has happened so far.
    void catchUp();

    [[nodiscard]] const Boot &boot() const { return m_boot; }
    [[nodiscard]] const TimelineList &timeline() const { return m_timeline; }
    [[nodiscard]] quint64 sinceBegin() const;
    [[nodiscard]] bool isDaemonThere() const { return m_isDaemonThere; }

Q_SIGNALS:
    void bootComplete();
    void rebootRequested();

private Q_SLOTS:
    void receiveReboot(const QString &who, const QString &text);
    void receivePicture(const QString &who, const QString &text);

private:
    struct Line
    {
        quint64 time = 0;
        QString subject;
        QString text;
        Colour colour = Colour::None;
    };

    void readLog();
    void addNew(const TimelineList &entries);
    void forgetHeard();
    void showArchive();
    void showProgress();
    void add(const TimelineEntry &entry);
    void addModule(const TimelineEntry &entry);
    void addStep(const TimelineEntry &entry);
    [[nodiscard]] QString exitOf(const TimelineEntry &stopped) const;

    Display &m_display;
    TerminalBus &m_bus;
    const TerminalRoot &m_root;
    QFile m_log;
    QFileSystemWatcher m_logWatcher;
    QByteArray m_pending; ///< a line of the log whose end has not been written yet
    std::unique_ptr<DaemonWatch> m_watch;
    Boot m_boot;
    quint64 m_begin = 0;
    TimelineList m_timeline; ///< the last one that was read
    TimelineList m_heard; ///< state changes that are not in the last timeline
    TimelineEntry m_lastShown; ///< of the timeline
    QList<Line> m_lines; ///< to be shown with the next timeline
    QTimer m_soon; ///< catchUp() once for all the signals that have arrived
    bool m_isDaemonThere = false;
    bool m_isExact = true; ///< the entries come from the timeline: differences of their times are durations
    int m_launchedInStep = 0;
    QDateTime m_archived; ///< when the log archive was last changed
};

#endif
