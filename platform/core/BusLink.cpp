#include "core/BusLink.h"

#include <jov/BusNames.h>
#include <jov/JovException.h>
#include <jov/Log.h>

#include <memory>

namespace {

constexpr int firstPause = 10;
constexpr int longestPause = 1000;
// How long a component waits for a bus that does not answer before it gives up its start.
constexpr int patience = 25000;

// What RequestName takes and returns.
constexpr uint doNotQueue = 4;
constexpr uint isOwner = 1;
constexpr uint wasOwner = 4;

std::optional<QString> runSlot(const std::function<void()> &slot)
{
    try {
        slot();
        return std::nullopt;
    } catch (JovException *thrown) { // NOLINT(misc-throw-by-value-catch-by-reference): the platform throws pointers
        const QString text = thrown->message();
        logAndDelete(thrown);
        return text;
    }
}

} // namespace

BusLink::BusLink(const QString &component, QObject &target)
    : m_component(component)
    , m_object(m_connection, BusNames::object(component), target, runSlot)
{
    m_connection.setHandler([this](BusMessage message) { receive(std::move(message)); });
    connect(&m_connection, &BusConnection::opened, this, &BusLink::connectionOpened);
    connect(&m_connection, &BusConnection::closed, this, &BusLink::connectionClosed);
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &BusLink::connectAgain);
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, [this] { nameRefused(m_connection.errorText()); });
}

BusLink::~BusLink()
{
    m_connection.disconnect(this);
    m_connection.setHandler({});
}

void BusLink::open()
{
    if (isOpen()) {
        Q_EMIT opened();
        return;
    }
    m_patience.start();
    connectAgain();
}

void BusLink::takeName()
{
    m_object.serve();
    m_wantsName = true;
    m_patience.start();
    if (isOpen()) {
        requestName();
    } else if (m_connection.isClosed()) {
        connectAgain();
    }
}

void BusLink::close()
{
    m_retry.stop();
    m_patience.stop();
    m_wantsName = false;
    m_hasName = false;
    m_hadName = false;
    m_connection.close();
}

void BusLink::connectAgain()
{
    m_retry.stop();
    if (!m_connection.isClosed() || m_connection.open()) {
        return;
    }
    if (m_patience.isActive()) {
        nameRefused(m_connection.errorText());
    } else {
        tryAgain();
    }
}

void BusLink::tryAgain()
{
    m_retry.start(m_pause);
    m_pause = qBound(firstPause, 2 * m_pause, longestPause);
}

void BusLink::connectionOpened()
{
    m_pause = 0;
    if (!m_wantsName) {
        m_patience.stop();
        if (std::exchange(m_isLost, false)) {
            Log::info("%1: the bus is there again", m_component);
        }
    }
    // Its subscriptions go out before it has its name.
    Q_EMIT opened();
    if (m_wantsName && isOpen()) {
        requestName();
    }
}

void BusLink::connectionClosed()
{
    m_hasName = false;
    if (!m_patience.isActive() && !std::exchange(m_isLost, true)) {
        Log::error("%1: the bus is lost, trying again every second", m_component);
    }
    Q_EMIT closed();
    tryAgain();
}

void BusLink::requestName()
{
    const BusMessage request =
        BusMessage::busCall("RequestName", {BusNames::service(m_component), QVariant(doNotQueue)});
    m_connection.call(request, patience, [this](const BusMessage &reply) { nameAnswered(reply); });
}

void BusLink::nameAnswered(const BusMessage &reply)
{
    if (!isOpen() || !m_wantsName) {
        return; // lost meanwhile: asked for again when there is a bus
    }
    const QString service = BusNames::service(m_component);
    const uint answer = reply.arguments().value(0).toUInt();
    QString reason;
    if (reply.type() != BusMessage::Type::Return) {
        reason = QStringLiteral("the bus name %1 cannot be taken: %2").arg(service, reply.firstText());
    } else if (answer != isOwner && answer != wasOwner) {
        reason = QStringLiteral("the bus name %1 is already owned: is another one running?").arg(service);
    }
    if (!reason.isEmpty()) {
        nameRefused(reason);
        return;
    }
    m_patience.stop();
    m_hasName = true;
    m_knownRefusal.clear();
    if (std::exchange(m_isLost, false)) {
        Log::info("%1: the bus is there again", m_component);
    }
    if (!std::exchange(m_hadName, true)) {
        Q_EMIT nameTaken();
    }
}

void BusLink::nameRefused(const QString &reason)
{
    if (m_patience.isActive() || !m_hadName) {
        m_patience.stop();
        m_retry.stop();
        m_wantsName = false;
        Q_EMIT failed(reason);
        return;
    }
    if (std::exchange(m_knownRefusal, reason) != reason) {
        Log::error("%1: %2", m_component, reason);
    }
    QTimer::singleShot(longestPause, this, [this, generation = m_connection.generation()] {
        if (m_wantsName && isOpen() && !m_hasName && generation == m_connection.generation()) {
            requestName();
        }
    });
}

void BusLink::receive(BusMessage message)
{
    if (message.type() == BusMessage::Type::Call) {
        m_object.handle(std::move(message));
    } else if (m_signalHandler) {
        m_signalHandler(std::move(message));
    }
}

BusMessage BusLink::callAndWait(const BusMessage &call, int limit)
{
    const bool isOwn = m_hasName && !call.isNull() && call.destination() == BusNames::service(m_component).toUtf8();
    return isOwn ? m_object.handleLocally(call) : m_connection.callAndWait(call, limit);
}
