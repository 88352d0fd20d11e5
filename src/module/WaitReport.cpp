#include "module/WaitReport.h"

#include "bus/BusConnection.h"
#include "contract/Events.h"

#include <jov/BusNames.h>
#include <jov/Log.h>

#include <algorithm>

namespace {

constexpr int longestInterval = 3600 * 1000; // milliseconds
constexpr int replyLimit = 5000;

QString announcementRule()
{
    return QStringLiteral("type='signal',interface='%1',member='%2'")
        .arg(BusNames::eventInterface(), BusNames::eventMember());
}

} // namespace

WaitReport::WaitReport(const QString &module, qint64 pid, int interval)
    : m_module(module)
    , m_pid(pid)
{
    m_elapsed.start();
    m_timer.setSingleShot(true);
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &WaitReport::report);
    m_timer.start();
}

WaitReport::~WaitReport() = default;

void WaitReport::report()
{
    Log::warning("[Module] waiting for %1 (process %2) since %3 s", m_module, m_pid, m_elapsed.elapsed() / 1000);
    m_timer.start(std::min(longestInterval, m_timer.interval() * 2));
    if (m_connection && m_connection->isOpen()) {
        askForNames();
    } else {
        inquire();
    }
}

void WaitReport::inquire()
{
    m_connection = std::make_unique<BusConnection>();
    m_connection->setHandler([this](const BusMessage &message) { hear(message); });
    connect(m_connection.get(), &BusConnection::opened, this, [this] {
        BusMessage rule = BusMessage::busCall("AddMatch", {announcementRule()});
        rule.setWantsNoReply();
        m_connection->send(rule);
        askForNames();
    });
    m_connection->open();
}

void WaitReport::askForNames()
{
    m_connection->call(BusMessage::busCall("ListNames"), replyLimit, [this](const BusMessage &reply) {
        const QString prefix = BusNames::service(m_module).chopped(BusNames::element(m_module).size());
        const QStringList names = reply.arguments().value(0).toStringList();
        for (const QString &name : names) {
            if (name.startsWith(prefix)) {
                logIfOurs(name, name);
            }
        }
    });
}

void WaitReport::hear(const BusMessage &signal)
{
    const QString name = signal.firstText();
    const bool isEvent =
        signal.isSignal(BusNames::eventInterface().toUtf8().constData(), BusNames::eventMember().toUtf8().constData());
    if (isEvent && name.startsWith(Events::endOfInitOf(QString())) && name != Events::endOfInitOf(m_module)) {
        logIfOurs(QString::fromUtf8(signal.origin().sender), name);
    }
}

void WaitReport::logIfOurs(const QString &busName, const QString &finding)
{
    const BusMessage call = BusMessage::busCall("GetConnectionUnixProcessID", {busName});
    m_connection->call(call, replyLimit, [this, finding](const BusMessage &reply) {
        if (reply.arguments().value(0).toLongLong() != m_pid || m_logged.contains(finding)) {
            return;
        }
        m_logged.insert(finding);
        if (finding.startsWith(Events::endOfInitOf(QString()))) {
            Log::warning("[Module] process %1 announces %2, but it is installed as %3", m_pid, finding, m_module);
        } else if (finding == BusNames::service(m_module)) {
            Log::warning("[Module] process %1 is on the bus as %2, and has not announced that it is ready", m_pid,
                         finding);
        } else {
            Log::warning("[Module] process %1 is on the bus as %2, but it is installed as %3", m_pid, finding,
                         m_module);
        }
    });
}
