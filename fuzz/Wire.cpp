#include "Wire.h"

#include "FuzzRoot.h"

#include <jov/BusNames.h>
#include <jov/JovRoot.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

namespace {

constexpr int mostWait = 30000;

template <typename Condition>
void waitFor(Condition condition, const char *otherwise)
{
    // Something to wake up for, should nothing come.
    QTimer alarm;
    alarm.start(mostWait);
    const QDeadlineTimer deadline(mostWait);
    while (!condition()) {
        require(!deadline.hasExpired(), otherwise);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

} // namespace

Wire::Wire()
    : m_server(QStringLiteral("unix:path=") + JovRoot::rooted(QStringLiteral("/wire")))
    , m_near(QString())
    , m_far(QString())
{
    connect(&m_server, &QDBusServer::newConnection, this, [this](const QDBusConnection &bus) { m_far = bus; });
    m_near = QDBusConnection::connectToPeer(m_server.address(), QStringLiteral("near"));
    waitFor([this] { return m_far.isConnected(); }, "nobody connects");
    require(m_near.connect(QString(), QString(), BusNames::eventInterface(), BusNames::eventMember(), this,
                           SLOT(slot_event(QDBusMessage))),
            "no hook for the events");
}

QDBusMessage Wire::carry(const QDBusMessage &event)
{
    m_hasCome = false;
    require(m_far.send(event), "an event that can travel is not sent");
    waitFor([this] { return m_hasCome || !m_near.isConnected() || !m_far.isConnected(); }, "an event is lost");
    require(m_hasCome, "an event that can travel ends the connection");
    return m_event;
}

void Wire::slot_event(const QDBusMessage &event)
{
    m_event = event;
    m_hasCome = true;
}
