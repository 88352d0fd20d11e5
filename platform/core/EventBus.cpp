#include "core/EventBus.h"

#include <jov/BusNames.h>
#include <jov/Log.h>

#include <utility>

namespace {

// With more of them the bus compares each event with so many rules that it costs more than waking this process for the
// events of others does (docs/performance.md).
constexpr int mostOwnRules = 128;
// The bus refuses a longer one.
constexpr int longestRule = 1024;
constexpr char eventSignature[] = "sa{sv}";

const QByteArray &interfaceOfEvents()
{
    static const QByteArray name = BusNames::eventInterface().toUtf8();
    return name;
}

const QByteArray &memberOfEvents()
{
    static const QByteArray name = BusNames::eventMember().toUtf8();
    return name;
}

const QString &commonRule()
{
    static const QString rule = QStringLiteral("type='signal',interface='%1',member='%2'")
                                    .arg(BusNames::eventInterface(), BusNames::eventMember());
    return rule;
}

QString ruleOf(const QString &name)
{
    // A quote ends the quoted part, is written as \' outside it, and begins the next.
    QString value = name;
    return commonRule() + QStringLiteral(",arg0='") + value.replace(u'\'', QLatin1String("'\\''")) + u'\'';
}

} // namespace

EventBus::EventBus(const QString &component, QObject &target)
    : m_path(BusNames::object(component))
    , m_link(component, target)
    , m_announcements(component, m_link)
{
    connect(&m_link, &BusLink::opened, this, &EventBus::takeRules);
    connect(&m_link, &BusLink::closed, this, &EventBus::forgetRules);
    connect(&m_subscriptions, &EventSubscriptions::nameTaken, this, &EventBus::takeRule);
    connect(&m_subscriptions, &EventSubscriptions::nameGone, this, &EventBus::dropRule);
    m_link.setSignalHandler([this](BusMessage signal) {
        m_announcements.receive(signal);
        receive(std::move(signal));
    });
}

bool EventBus::notify(const QString &name, const QVariantMap &arguments)
{
    m_announcements.note(name);
    BusMessage signal = BusMessage::signal(m_path, interfaceOfEvents(), memberOfEvents());
    return m_link.isOpen() && signal.setArguments({name, arguments}) && m_link.send(signal);
}

void EventBus::receive(BusMessage signal)
{
    if (!signal.isSignal(interfaceOfEvents().constData(), memberOfEvents().constData())) {
        return;
    }
    const QString name = signal.firstText();
    if (!m_subscriptions.contains(name)) {
        return;
    }
    if (signal.signature() != eventSignature) {
        Log::debug("event %1 of %2 has the signature %3: ignored", name, QString::fromUtf8(signal.origin().sender),
                   QString::fromUtf8(signal.signature()));
        return;
    }
    const JovEvent event(name, signal.arguments().at(1).toMap());
    signal = BusMessage();
    m_subscriptions.deliver(event);
}

void EventBus::takeRules()
{
    const QStringList names = m_subscriptions.names();
    for (const QString &name : names) {
        takeRule(name);
    }
}

void EventBus::forgetRules()
{
    m_ownNames.clear();
    m_hasCommonRule = false;
}

void EventBus::sendRule(const char *method, const QString &rule)
{
    BusMessage request = BusMessage::busCall(method, {rule});
    request.setWantsNoReply();
    m_link.send(request);
}

void EventBus::takeRule(const QString &name)
{
    if (!m_link.isOpen() || m_hasCommonRule) {
        return;
    }
    const QString rule = ruleOf(name);
    if (m_ownNames.size() < mostOwnRules && rule.toUtf8().size() <= longestRule) {
        m_ownNames.insert(name);
        sendRule("AddMatch", rule);
        return;
    }
    m_hasCommonRule = true;
    sendRule("AddMatch", commonRule());
    const QSet<QString> covered = std::exchange(m_ownNames, {});
    for (const QString &own : covered) {
        sendRule("RemoveMatch", ruleOf(own));
    }
}

void EventBus::dropRule(const QString &name)
{
    if (m_ownNames.remove(name)) {
        sendRule("RemoveMatch", ruleOf(name));
    } else if (m_hasCommonRule && m_subscriptions.isEmpty()) {
        m_hasCommonRule = false;
        sendRule("RemoveMatch", commonRule());
    }
}
