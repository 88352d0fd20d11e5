#include "core/Announcements.h"

#include "contract/Components.h"
#include "contract/Events.h"
#include "core/BusLink.h"

#include <jov/BusNames.h>

#include <unistd.h>

namespace {

constexpr int answerLimit = 25000;

QString supervisor()
{
    return BusNames::service(Components::applicationManager);
}

QString ownerRule()
{
    return QStringLiteral("type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
                          "member='NameOwnerChanged',arg0='%1'")
        .arg(supervisor());
}

void sendRule(BusLink &link, const char *method)
{
    BusMessage request = BusMessage::busCall(method, {ownerRule()});
    request.setWantsNoReply();
    link.send(request);
}

} // namespace

Announcements::Announcements(const QString &component, BusLink &link)
    : m_component(component)
    , m_link(link)
{
    connect(&link, &BusLink::opened, this, [this] {
        if (std::exchange(m_wasConnected, true) && !m_sent.isEmpty()) {
            findSupervisor();
        }
    });
    connect(&link, &BusLink::closed, this, [this] { m_isWatching = false; });
}

void Announcements::note(const QString &event)
{
    const bool isAnnouncement = event == Events::endOfInitOf(m_component) || event == Events::presentationReady;
    if (isAnnouncement && !m_sent.contains(event)) {
        m_sent.append(event);
    }
}

void Announcements::findSupervisor()
{
    // Watched first: it may come between the question and the answer.
    m_isWatching = true;
    sendRule(m_link, "AddMatch");
    m_link.connection().call(BusMessage::busCall("GetNameOwner", {supervisor()}), answerLimit,
                             [this](const BusMessage &reply) {
                                 if (reply.type() == BusMessage::Type::Return) {
                                     examine(reply.firstText());
                                 }
                             });
}

void Announcements::receive(const BusMessage &signal)
{
    if (!m_isWatching || !signal.isSignal("org.freedesktop.DBus", "NameOwnerChanged")) {
        return;
    }
    const QVariantList arguments = signal.arguments();
    if (arguments.value(0).toString() == supervisor() && !arguments.value(2).toString().isEmpty()) {
        examine(arguments.value(2).toString());
    }
}

void Announcements::examine(const QString &owner)
{
    m_link.connection().call(BusMessage::busCall("GetConnectionUnixProcessID", {owner}), answerLimit,
                             [this](const BusMessage &reply) {
                                 if (m_isWatching && reply.type() == BusMessage::Type::Return
                                     && reply.arguments().value(0).toLongLong() == getppid()) {
                                     repeat();
                                 }
                             });
}

void Announcements::repeat()
{
    m_isWatching = false;
    sendRule(m_link, "RemoveMatch");
    for (const QString &event : qAsConst(m_sent)) {
        BusMessage signal = BusMessage::signal(BusNames::object(m_component), BusNames::eventInterface().toUtf8(),
                                               BusNames::eventMember().toUtf8());
        if (signal.setArguments({event, QVariantMap{{Events::repeated, true}}})) {
            m_link.send(signal);
        }
    }
}
