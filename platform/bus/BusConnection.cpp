#include "bus/BusConnection.h"

#include "bus/ConnectLimit.h"
#include "system/LifeSign.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QPointer>

#include <dbus/dbus.h>

namespace {

constexpr char defaultAddress[] = "unix:path=/var/run/dbus/system_bus_socket";

// How long a wait can be deaf to an interruption that came just before it began.
constexpr int longestSleep = 500;

// How long descriptors and posted events alone are served. GLib's dispatcher lets timers wait while one is ready.
constexpr int longestWithoutTimers = 20;

constexpr quint32 helloSerial = 1;
constexpr quint32 firstSerial = 2;

bool (*isInterrupted)() = [] { return false; };

BusMessage noReply(const char *name, const QString &text)
{
    return BusMessage::error({}, name, text);
}

} // namespace

BusConnection::BusConnection(const BusLimits &limits)
    : m_limits(limits)
    , m_limiter(limits.callsPerSecond)
{
    m_more.setInterval(0);
    connect(&m_more, &QTimer::timeout, this, &BusConnection::dispatch);
    connect(&m_watches, &BusWatches::readable, this, &BusConnection::readAndDispatch);
    m_busy.start();
}

BusConnection::~BusConnection()
{
    // Whoever waits for these replies may be half destroyed.
    m_pending.clear();
    drop();
}

void BusConnection::setInterruption(bool (*interrupted)())
{
    isInterrupted = interrupted;
}

bool BusConnection::open()
{
    const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    DBusError error = DBUS_ERROR_INIT;
    dbus_connection_set_change_sigpipe(false);
    {
        const ConnectLimit limit;
        m_connection = dbus_connection_open_private(address.isEmpty() ? defaultAddress : address.constData(), &error);
    }
    if (!m_connection) {
        m_errorText = QString::fromUtf8(error.message);
        dbus_error_free(&error);
        return false;
    }
    ++m_generation;
    dbus_connection_set_exit_on_disconnect(m_connection, false);
    dbus_connection_set_max_received_size(m_connection, m_limits.received);
    m_watches.attach(m_connection);
    greet();
    return true;
}

void BusConnection::greet()
{
    // libdbus sends this one, behind its authentication.
    DBusMessage *hello = dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "Hello");
    dbus_message_set_serial(hello, helloSerial);
    dbus_connection_send(m_connection, hello, nullptr);
    dbus_message_unref(hello);
    expect(helloSerial, m_limits.answer, [this](const BusMessage &reply) {
        if (reply.errorName() == QLatin1String(DBUS_ERROR_DISCONNECTED)) {
            return; // and closed() follows
        }
        if (reply.type() != BusMessage::Type::Return) {
            const bool isMute = reply.errorName() == QLatin1String(DBUS_ERROR_NO_REPLY);
            lose(isMute ? QStringLiteral("the bus does not answer") : reply.firstText());
            return;
        }
        dbus_bus_set_unique_name(m_connection, reply.firstText().toUtf8().constData());
        int socket = -1;
        dbus_connection_get_socket(m_connection, &socket);
        m_outbox.open(socket);
        m_isOpen = true;
        Q_EMIT opened();
    });
}

void BusConnection::lose(const QString &reason)
{
    m_errorText = reason;
    drop();
    Q_EMIT closed();
}

void BusConnection::close(int limit)
{
    const QDeadlineTimer deadline(limit);
    for (m_outbox.flush(); m_outbox.size() > 0 && !deadline.hasExpired(); m_outbox.flush()) {
        m_watches.waitFor(int(deadline.remainingTime()), BusWatches::Room);
    }
    drop();
}

void BusConnection::drop()
{
    m_isOpen = false;
    m_more.stop();
    m_held.clear();
    m_outbox.close();
    if (!m_connection) {
        return;
    }
    m_watches.detach();
    DBusConnection *connection = std::exchange(m_connection, nullptr);
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    const auto pending = std::exchange(m_pending, {});
    for (const PendingCall &call : pending) {
        delete call.limit;
    }
    for (const PendingCall &call : pending) {
        call.reply(noReply(DBUS_ERROR_DISCONNECTED, QStringLiteral("the bus is lost")));
    }
}

bool BusConnection::hasMore() const
{
    return !m_held.empty()
        || (m_connection && dbus_connection_get_dispatch_status(m_connection) == DBUS_DISPATCH_DATA_REMAINS);
}

void BusConnection::readAndDispatch(quintptr watch)
{
    // What is read but not handled yet comes first: meanwhile the rest waits in the socket.
    if (!hasMore()) {
        BusWatches::read(watch);
    }
    dispatch();
}

void BusConnection::dispatch()
{
    const QPointer<BusConnection> self(this);
    const quint64 generation = m_generation;
    const QDeadlineTimer turn(m_limits.millisecondsPerTurn);
    // Started again where it is needed: Qt does not call a timer again while its slot is on the stack.
    m_more.stop();
    for (int count = 0; count < m_limits.messagesPerTurn && !turn.hasExpired(); ++count) {
        const bool wasHeld = !m_held.empty();
        BusMessage message = wasHeld ? std::move(m_held.front()) : pop();
        if (wasHeld) {
            m_held.pop_front();
        }
        if (message.isNull()) {
            break;
        }
        if (!wasHeld && !admits(message)) {
            continue;
        }
        // Before the handler: it may turn a loop of its own, which no descriptor would wake for what was read already.
        if (!m_more.isActive() && hasMore()) {
            m_more.start();
        }
        handle(std::move(message));
        if (!self || m_generation != generation || !m_connection) {
            return;
        }
    }
    rest();
}

void BusConnection::rest()
{
    if (!m_more.isActive() && hasMore()) {
        m_more.start();
    }
    // A posted event makes GLib's dispatcher look at the timers.
    if (m_busy.hasExpired(longestWithoutTimers)) {
        m_busy.start();
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    }
}

BusMessage BusConnection::pop()
{
    return BusMessage(dbus_connection_pop_message(m_connection));
}

bool BusConnection::admits(const BusMessage &message, bool isHeld)
{
    if (message.type() != BusMessage::Type::Call) {
        return true;
    }
    const BusMessage::Origin origin = message.origin();
    if (m_limiter.admits(origin.sender) && !(isHeld && int(m_held.size()) >= m_limits.heldCalls)) {
        return true;
    }
    if (origin.wantsReply) {
        send(BusMessage::error(
            origin, DBUS_ERROR_LIMITS_EXCEEDED,
            QStringLiteral("more than %1 calls in a second: wait for the replies").arg(m_limits.callsPerSecond)));
    }
    return false;
}

void BusConnection::handle(BusMessage message)
{
    switch (message.type()) {
    case BusMessage::Type::Return:
    case BusMessage::Type::Error: {
        const quint32 serial = message.replySerial();
        finish(serial, std::move(message));
        return;
    }
    case BusMessage::Type::Signal:
        if (message.isSignal(DBUS_INTERFACE_LOCAL, "Disconnected")) {
            lose(QStringLiteral("the bus is lost"));
            return;
        }
        break;
    default:
        break;
    }
    if (m_handler) {
        const Handler handler = m_handler;
        handler(std::move(message));
    }
}

quint32 BusConnection::sendNumbered(const BusMessage &message)
{
    if (!m_isOpen || message.isNull() || m_outbox.size() >= m_limits.queued) {
        return 0;
    }
    m_lastSerial = qMax(m_lastSerial + 1, firstSerial);
    m_outbox.add(message.wire(m_lastSerial));
    return m_lastSerial;
}

bool BusConnection::send(const BusMessage &message)
{
    return sendNumbered(message) != 0;
}

bool BusConnection::call(const BusMessage &message, int limit, const Handler &reply)
{
    const quint32 serial = sendNumbered(message);
    if (serial != 0) {
        expect(serial, limit, reply);
    }
    return serial != 0;
}

void BusConnection::expect(quint32 serial, int limit, const Handler &reply)
{
    auto *timer = new QTimer(this);
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, this,
            [this, serial] { finish(serial, noReply(DBUS_ERROR_NO_REPLY, QStringLiteral("no reply in time"))); });
    timer->start(limit);
    m_pending.insert(serial, {reply, timer});
}

void BusConnection::finish(quint32 serial, BusMessage reply)
{
    const auto found = m_pending.find(serial);
    if (found == m_pending.end()) {
        return;
    }
    const PendingCall pending = *found;
    m_pending.erase(found);
    // It may be what calls this.
    pending.limit->stop();
    pending.limit->deleteLater();
    pending.reply(std::move(reply));
}

BusMessage BusConnection::callAndWait(const BusMessage &message, int limit)
{
    const quint32 serial = sendNumbered(message);
    return serial != 0 ? waitForReply(serial, limit)
                       : noReply(DBUS_ERROR_DISCONNECTED, QStringLiteral("the call cannot be sent"));
}

BusMessage BusConnection::waitForReply(quint32 serial, int limit)
{
    const QDeadlineTimer deadline(limit);
    for (;;) {
        m_outbox.flush();
        while (dbus_connection_get_dispatch_status(m_connection) == DBUS_DISPATCH_DATA_REMAINS) {
            BusMessage message = pop();
            const bool isReply =
                message.type() == BusMessage::Type::Return || message.type() == BusMessage::Type::Error;
            if (isReply && message.replySerial() == serial) {
                rest(); // What was read together with the reply: no descriptor would wake the loop for it.
                return message;
            }
            hold(std::move(message));
        }
        if (isInterrupted()) {
            return noReply(DBUS_ERROR_NO_REPLY, QStringLiteral("the call was interrupted: the process ends"));
        }
        if (!dbus_connection_get_is_connected(m_connection)) {
            return noReply(DBUS_ERROR_DISCONNECTED, QStringLiteral("the bus is lost"));
        }
        if (deadline.hasExpired()) {
            return noReply(DBUS_ERROR_NO_REPLY, QStringLiteral("no reply in time"));
        }
        LifeSign::give();
        m_watches.waitFor(int(qMin<qint64>(longestSleep, deadline.remainingTime())),
                          m_outbox.size() > 0 ? BusWatches::RoomOrData : BusWatches::Data);
    }
}

void BusConnection::hold(BusMessage message)
{
    if (!message.isNull() && admits(message, true)) {
        m_held.push_back(std::move(message));
        m_more.start();
    }
}
