#include "supervision/RebootRequest.h"

#include "contract/Components.h"
#include "supervision/BusAccess.h"
#include "supervision/SupervisionState.h"

#include <jov/JovProcess.h>
#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <QFile>
#include <QPointer>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include <unistd.h>

namespace {

constexpr int minutesBetweenLines[] = {1, 4, 30};

QString errorOf(const JovReply &reply)
{
    return reply.errorText().isEmpty() ? reply.errorName() : reply.errorText();
}

bool isUndelivered(const JovReply &reply)
{
    const QLatin1String errors[] = {latin1("org.freedesktop.DBus.Error.ServiceUnknown"),
                                    latin1("org.freedesktop.DBus.Error.NameHasNoOwner"),
                                    latin1("org.freedesktop.DBus.Error.Disconnected")};
    return std::find(std::begin(errors), std::end(errors), reply.errorName()) != std::end(errors);
}

QString rebootCommand()
{
    return JovRoot::rooted(QStringLiteral("/sbin/reboot"));
}

} // namespace

RebootRequest::RebootRequest(BusAccess &bus, const SupervisionState &state, const RebootTiming &timing)
    : m_bus(bus)
    , m_state(state)
    , m_timing(timing)
{
    for (QTimer *timer : {&m_retry, &m_reminder, &m_fallback}) {
        timer->setSingleShot(true);
    }
    m_retry.setInterval(timing.retry);
    connect(&m_retry, &QTimer::timeout, this, &RebootRequest::ask);
    connect(&m_reminder, &QTimer::timeout, this, &RebootRequest::remind);
    connect(&m_fallback, &QTimer::timeout, this, &RebootRequest::fallBack);
    connect(&m_command, &ForkedTask::done, this, &RebootRequest::commandEnded);
}

void RebootRequest::send(const QString &reason)
{
    cancel();
    m_reason = reason;
    if (const std::optional<int> seconds = m_state.parameters().rebootFallback) {
        m_fallback.start(*seconds * m_timing.second);
    }
    ask();
}

void RebootRequest::cancel()
{
    ++m_request;
    m_problem.clear();
    m_retry.stop();
    m_reminder.stop();
    m_fallback.stop();
}

void RebootRequest::ask()
{
    const QVariantList arguments = {1, true, QString(Components::applicationManager), m_reason};
    const QPointer<RebootRequest> self(this);
    const bool isSent = m_bus.asyncRemoteCall(Components::platform, Components::rebootMethod, arguments,
                                              [self, request = m_request](const JovReply &reply) {
                                                  if (self && self->m_request == request) {
                                                      self->answered(reply);
                                                  }
                                              });
    if (!isSent) {
        undelivered(QStringLiteral("no bus"));
    }
}

void RebootRequest::answered(const JovReply &reply)
{
    if (!reply.isError()) {
        if (!m_problem.isEmpty()) {
            Log::info("the request for a reboot is taken: %1", m_reason);
        }
        cancel();
    } else if (isUndelivered(reply)) {
        undelivered(errorOf(reply));
    } else {
        report(QStringLiteral("Platform answers with an error: %1").arg(errorOf(reply)));
    }
}

void RebootRequest::undelivered(const QString &error)
{
    m_retry.start();
    report(QStringLiteral("Platform cannot be asked: %1; trying again every second").arg(error));
}

void RebootRequest::report(const QString &problem)
{
    if (m_problem.isEmpty()) {
        Q_EMIT untaken();
    }
    if (m_problem != problem) {
        m_problem = problem;
        m_reminders = 0;
        remind();
    }
}

void RebootRequest::remind()
{
    Log::error("no reboot yet (%1): %2", m_reason, m_problem);
    m_reminder.start(minutesBetweenLines[m_reminders] * m_timing.minute);
    m_reminders = qMin(m_reminders + 1, int(std::size(minutesBetweenLines)) - 1);
}

void RebootRequest::fallBack()
{
    cancel();
    const QString command = rebootCommand();
    Log::error("nobody has taken the request for a reboot within %1 s: running %2 (%3)",
               m_state.parameters().rebootFallback.value_or(0), command, m_reason);
    const QByteArray reason = m_reason.toUtf8();
    const bool isStarted = m_command.start([&command, &reason](int output) {
        const QByteArray status = QByteArray::number(qor_execute(
            QFile::encodeName(command), {"reboot", "--soft", "--owner", "ApplicationManager", "--reason", reason}));
        return write(output, status.constData(), std::size_t(status.size())) == status.size() ? 0 : errno;
    });
    if (!isStarted) {
        Log::error("%1 cannot be run: %2", command, qt_error_string(errno));
    }
}

void RebootRequest::commandEnded(const QByteArray &status)
{
    if (status != "0") {
        Log::error("%1 failed with the wait status %2", rebootCommand(), QString::fromLatin1(status));
    }
}
