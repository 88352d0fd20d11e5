#ifndef BLACK_BOX_H
#define BLACK_BOX_H

#include "history/HistoryRing.h"
#include "history/HistoryText.h"
#include "system/ForkedTask.h"

#include <QJsonObject>
#include <QQueue>
#include <QTimer>
#include <QVariantMap>

#include <functional>

/**
 * Writes down why the terminal was rebooted, in a file that outlives it: a record at the start of the daemon, at the
 * end of the start-up, before a reboot is requested or run, and at the end of the daemon. At most five a boot.
 *
 * A child process reads and writes the file. The daemon goes on meanwhile, and without the record when that fails,
 * which it logs once. Only a reboot and the end of the daemon wait for what is to be written, for a second at most.
 *
 * The first cause that is noted stays the cause of the end, until a restart: the SIGTERM of a reboot that a crash has
 * caused is not the cause.
 */
class BlackBox : public QObject
{
    Q_OBJECT

public:
    /// Milliseconds. After `hang` nothing is written any more.
    struct Limits
    {
        int reboot = 1000;
        int hang = 30000;
    };

    /// `step` returns the last step reached.
    explicit BlackBox(std::function<int()> step);
    BlackBox(std::function<int()> step, Limits limits);

    /// The daemon has started, or reads its parameters again: a new path has a record of the start, too. `path` is a
    /// path of this machine, or empty for no history; `size` is in kB.
    void begin(const QString &path, int size);
    /// Everything is started again: nothing has failed yet.
    void noteRestart() { m_reason = {}; }
    void noteStarted(const QJsonObject &boot);
    /// The start-up has failed, for a reason with the keys of History::Key.
    void noteFailed(const QVariantMap &reason);
    /// What an end that follows is due to.
    void noteReason(const QVariantMap &reason);
    /// A reboot is about to be requested or run. Returns when the record is on the disk.
    void noteReboot(const QVariantMap &reason);
    /// Nobody took the request for the reboot.
    void noteUntaken();
    /// The end of the daemon, if it has begun.
    void noteEnd();

private:
    enum class State { Off, Reading, Ready };

    void add(const QString &kind, QJsonObject record);
    int readAndBegin(int output);
    void taskDone(const QByteArray &output, int error);
    void readPrevious(const QByteArray &text);
    void writeNext();
    QJsonObject nextRecord();
    void complete(QJsonObject &record);
    void count(const QString &cause, const QString &module = QString());
    void warn(const char *what, const QString &why);
    void hang();
    void flush();

    const std::function<int()> m_step;
    const Limits m_limits;
    State m_state = State::Off;
    HistoryRing m_ring;
    ForkedTask m_task{"am-history"};
    QTimer m_hangTimer;
    QQueue<QJsonObject> m_queue;
    QVariantMap m_reason; ///< the first one of this boot
    QJsonObject m_totals;
    QJsonObject m_moduleTotals;
    QString m_previousCause;
    int m_reboots = 0;
    bool m_untakenNoted = false;
    bool m_startedNoted = false;
    bool m_isWarned = false;
    bool m_isCounted = false; ///< the cause of this boot's end is part of the totals
};

#endif
