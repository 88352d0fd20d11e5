#include "client/BusClient.h"

#include "client/BusDeadline.h"
#include "client/Console.h"
#include "client/Failure.h"
#include "client/NearMiss.h"
#include "client/WaitNotice.h"
#include "contract/Components.h"
#include "contract/InspectionNames.h"
#include "qtdbus/BusExchange.h"

#include <jov/BusNames.h>

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QTimer>

#include <limits>

namespace {

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
/// Longer than any work of the daemon that delays its replies.
constexpr int questionLimit = 60000;
constexpr int withoutLimit = std::numeric_limits<int>::max();

QDBusMessage message(const QString &interface, const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(BusClient::service(), BusClient::path(), interface, method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return call;
}

/// Whom the bus policy of the daemon's package permits the calls.
const char forControl[] = "root and the group jovmodules";
const char forLooking[] = "root and the groups jovmodules and jovtech";
const char forSettings[] = "root";

void check(const QDBusMessage &reply, const char *permitted)
{
    if (reply.type() != QDBusMessage::ErrorMessage) {
        return;
    }
    const QDBusError error(reply);
    if (reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")
        || error.type() == QDBusError::ServiceUnknown || error.type() == QDBusError::UnknownObject) {
        throw Failure(ExitStatus::NoDaemon, QStringLiteral("ApplicationManager is not running"));
    }
    switch (error.type()) {
    case QDBusError::NoReply:
    case QDBusError::Disconnected:
        throw Failure(ExitStatus::NoDaemon,
                      QStringLiteral("ApplicationManager ended, or did not answer within a minute"));
    case QDBusError::AccessDenied:
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("the bus does not allow this: its policy, com.velmora.Jovara.conf, "
                                     "permits it only to %1")
                          .arg(QLatin1String(permitted)));
    default:
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("ApplicationManager refused the request: %1").arg(error.message()));
    }
}

} // namespace

void checkLook(const QDBusMessage &reply)
{
    check(reply, forLooking);
}

namespace {

QDBusConnection connectToBus()
{
    const BusDeadline deadline;
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("jovctl"));
}

} // namespace

QString BusClient::service()
{
    return BusNames::service(Components::applicationManager);
}

QString BusClient::path()
{
    return BusNames::object(Components::applicationManager);
}

BusClient::BusClient(Purpose purpose)
    : m_purpose(purpose)
    , m_connection(connectToBus())
{
    if (!m_connection.isConnected()) {
        throw Failure(ExitStatus::NoDaemon,
                      QStringLiteral("cannot connect to the bus: %1").arg(m_connection.lastError().message()));
    }
    exchangeWithBus(m_connection);
}

QDBusMessage BusClient::call(const QString &interface, const QString &method, const QVariantList &arguments) const
{
    const QDBusMessage reply = m_connection.call(message(interface, method, arguments), QDBus::Block, questionLimit);
    // A command that controls asks for the modules first. If that is refused, the error names who may control.
    const char *permitted = m_purpose == Purpose::Control ? forControl : forLooking;
    check(reply, method == QLatin1String("Set") ? forSettings : permitted);
    return reply;
}

ModuleList BusClient::modules() const
{
    return readModules(call(Inspect::interface, Inspect::listModules));
}

StepList BusClient::steps() const
{
    return readSteps(call(Inspect::interface, Inspect::listSteps));
}

TimelineList BusClient::timeline() const
{
    return readTimeline(call(Inspect::interface, Inspect::getTimeline));
}

QVariant BusClient::value(QLatin1String name) const
{
    const QDBusMessage reply = call(propertiesInterface, QStringLiteral("Get"), {Inspect::interface, name});
    return qdbus_cast<QDBusVariant>(reply.arguments().value(0)).variant();
}

void BusClient::setLogLevel(int level) const
{
    call(propertiesInterface, QStringLiteral("Set"),
         {Inspect::interface, Inspect::logLevel, QVariant::fromValue(QDBusVariant(level))});
}

void BusClient::control(const QString &method, const QVariantList &arguments) const
{
    QDBusPendingCallWatcher watcher(
        m_connection.asyncCall(message(BusNames::methodInterface(), method, arguments), withoutLimit));
    WaitNotice notice(*this);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&notice] { notice.tick(); });
    timer.start(WaitNotice::interval);
    QEventLoop loop;
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    if (!watcher.isFinished()) {
        loop.exec();
    }
    check(watcher.reply(), forControl);
}

void BusClient::sendEvent(const QString &name, const QVariantMap &arguments) const
{
    QDBusMessage signal =
        QDBusMessage::createSignal(QStringLiteral("/jovctl"), BusNames::eventInterface(), BusNames::eventMember());
    signal << name << arguments;
    m_connection.send(signal);
    exchangeWithBus(m_connection); // or the process could end before it is sent
}

QString BusClient::owner() const
{
    return m_connection.interface()->serviceOwner(service()).value();
}

void checkNames(const ModuleList &modules, const QStringList &names)
{
    for (const QString &name : names) {
        if (!findModule(modules, name)) {
            throw Failure(
                ExitStatus::Usage,
                QStringLiteral("unknown module \"%1\". %2")
                    .arg(Console::printable(name),
                         didYouMean(name, moduleNames(modules), QStringLiteral("List all modules with: jovctl list"))));
        }
    }
}
