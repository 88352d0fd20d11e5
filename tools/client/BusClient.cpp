#include "client/BusClient.h"

#include "client/Console.h"
#include "client/Failure.h"
#include "client/NearMiss.h"
#include "client/WaitNotice.h"
#include "qtdbus/BusExchange.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QTimer>

#include <limits>

namespace {

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
/// Longer than the daemon is ever busy with something that keeps it from answering a question.
constexpr int questionLimit = 60000;
constexpr int withoutLimit = std::numeric_limits<int>::max();

QDBusMessage message(const QString &interface, const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(BusClient::service(), BusClient::path(), interface, method);
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return call;
}

/// Who may, by the policy that is installed with the daemon.
const char forControl[] = "root and the group jovmodules";
const char forLooking[] = "root and the groups jovmodules and jovtech";
const char forSettings[] = "root alone";

void check(const QDBusMessage &reply, const char *whoMay)
{
    if (reply.type() != QDBusMessage::ErrorMessage) {
        return;
    }
    const QDBusError error(reply);
    if (reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")) {
        throw Failure(ExitStatus::NoDaemon, QStringLiteral("ApplicationManager is not running"));
    }
    switch (error.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::UnknownObject:
        throw Failure(ExitStatus::NoDaemon, QStringLiteral("ApplicationManager is not running"));
    case QDBusError::NoReply:
    case QDBusError::Disconnected:
        throw Failure(ExitStatus::NoDaemon,
                      QStringLiteral("ApplicationManager has ended, or has not answered for a minute"));
    case QDBusError::AccessDenied:
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("the bus does not allow it: its policy, com.velmora.Jovara.conf, "
                                     "leaves that to %1")
                          .arg(QLatin1String(whoMay)));
    default:
        throw Failure(ExitStatus::Failed, QStringLiteral("ApplicationManager refused: %1").arg(error.message()));
    }
}

} // namespace

QString BusClient::service()
{
    return QStringLiteral("com.velmora.Jovara.ApplicationManager");
}

QString BusClient::path()
{
    return QStringLiteral("/ApplicationManager");
}

QString BusClient::inspectionInterface()
{
    return QStringLiteral("com.velmora.Jovara.Inspection");
}

QString BusClient::controlInterface()
{
    return QStringLiteral("com.velmora.Jovara.JovInterface");
}

BusClient::BusClient(Purpose purpose)
    : m_purpose(purpose)
    , m_connection(QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("jovctl")))
{
    if (!m_connection.isConnected()) {
        throw Failure(ExitStatus::NoDaemon,
                      QStringLiteral("there is no bus: %1").arg(m_connection.lastError().message()));
    }
    exchangeWithBus(m_connection);
}

QDBusMessage BusClient::call(const QString &interface, const QString &method, const QVariantList &arguments) const
{
    const QDBusMessage reply = m_connection.call(message(interface, method, arguments), QDBus::Block, questionLimit);
    // Who may control may look, too: a question that only precedes an order is refused for the order's sake.
    const char *whoMay = m_purpose == Purpose::Control ? forControl : forLooking;
    check(reply, method == QLatin1String("Set") ? forSettings : whoMay);
    return reply;
}

ModuleList BusClient::modules() const
{
    return readModules(call(inspectionInterface(), QStringLiteral("ListModules")));
}

StepList BusClient::steps() const
{
    return readSteps(call(inspectionInterface(), QStringLiteral("ListSteps")));
}

TimelineList BusClient::timeline() const
{
    return readTimeline(call(inspectionInterface(), QStringLiteral("GetTimeline")));
}

QVariantMap BusClient::properties() const
{
    const QDBusMessage reply = call(propertiesInterface, QStringLiteral("GetAll"), {inspectionInterface()});
    return qdbus_cast<QVariantMap>(reply.arguments().value(0));
}

void BusClient::setLogLevel(int level) const
{
    call(propertiesInterface, QStringLiteral("Set"),
         {inspectionInterface(), QStringLiteral("LogLevel"), QVariant::fromValue(QDBusVariant(level))});
}

QVariant BusClient::control(const QString &method, const QVariantList &arguments) const
{
    QDBusPendingCallWatcher watcher(
        m_connection.asyncCall(message(controlInterface(), method, arguments), withoutLimit));
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
    return watcher.reply().arguments().value(0);
}

QString BusClient::owner() const
{
    return m_connection.interface()->serviceOwner(service()).value();
}

void checkNames(const ModuleList &modules, const QStringList &names)
{
    for (const QString &name : names) {
        if (findModule(modules, name)) {
            continue;
        }
        QStringList misses = nearMisses(name, moduleNames(modules));
        for (QString &miss : misses) {
            miss = Console::printable(miss);
        }
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("there is no module \"%1\". %2")
                          .arg(Console::printable(name),
                               misses.isEmpty()
                                   ? QStringLiteral("jovctl list shows them all.")
                                   : QStringLiteral("Did you mean %1?").arg(misses.join(QStringLiteral(", ")))));
    }
}
