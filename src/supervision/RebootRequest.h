#ifndef REBOOT_REQUEST_H
#define REBOOT_REQUEST_H

#include "supervision/Timing.h"
#include "system/ForkedTask.h"

#include <QObject>
#include <QTimer>

class BusAccess;
class JovReply;
class SupervisionState;

/**
 * The request to "Platform" to reboot the terminal after a crash, until it is taken. What could not be delivered is
 * sent again; an error reply is not answered by another request. While nobody has taken it, an error line says so from
 * time to time, and after `reboot_fallback` seconds the reboot command is run.
 */
class RebootRequest : public QObject
{
    Q_OBJECT

public:
    RebootRequest(BusAccess &bus, const SupervisionState &state, const RebootTiming &timing);

    void send(const QString &reason);
    /// For a new start: what crashed before it is history.
    void cancel();

Q_SIGNALS:
    /// At the first problem of a request.
    void untaken();

private:
    void ask();
    void answered(const JovReply &reply);
    void undelivered(const QString &error);
    void report(const QString &problem);
    void remind();
    void fallBack();
    void commandEnded(const QByteArray &status);

    BusAccess &m_bus;
    const SupervisionState &m_state;
    const RebootTiming m_timing;
    QTimer m_retry;
    QTimer m_reminder;
    QTimer m_fallback;
    ForkedTask m_command{"am-reboot", ForkedTask::Streams::Kept};
    QString m_reason;
    QString m_problem; ///< why it is not taken; empty: it may still be
    int m_reminders = 0;
    quint64 m_request = 0; ///< a reply to an earlier one is ignored
};

#endif
