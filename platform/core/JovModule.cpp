#include "core/EventBus.h"

#include <jov/BusNames.h>
#include <jov/JovApplication.h>
#include <jov/JovException.h>
#include <jov/JovModule.h>
#include <jov/SettingsParam.h>

namespace {

constexpr int replyLimit = 25000;

/// Null when a name or an argument is nothing that the bus carries.
BusMessage methodCall(const QString &component, const QString &method, const QVariantList &arguments)
{
    BusMessage message = BusMessage::call(BusNames::service(component), BusNames::object(component),
                                          BusNames::methodInterface(), method);
    return message.setArguments(arguments) ? message : BusMessage();
}

JovReply replyOf(const BusMessage &message)
{
    return message.type() == BusMessage::Type::Return ? JovReply(message.arguments())
                                                      : JovReply(message.errorName(), message.firstText());
}

} // namespace

JovModule::JovModule(const QString &moduleName, QObject *parent)
    : QObject(parent)
    , m_moduleName(moduleName)
    , m_bus(std::make_unique<EventBus>(moduleName, *this))
{
    if (JovApplication *application = JovApplication::instance()) {
        application->setModule(this);
    }
}

JovModule::~JovModule()
{
    JovApplication *application = JovApplication::instance();
    if (application && application->m_module == this) {
        application->setModule(nullptr);
    }
}

QMap<QString, QString> JovModule::getParameters() const
{
    return settings_get_section(m_moduleName);
}

bool JovModule::subscribeEvent(const QString &name, QObject *receiver, const char *slot)
{
    return m_bus->subscriptions().add(name, receiver, slot);
}

bool JovModule::unsubscribeEvent(const QString &name, QObject *receiver, const char *slot)
{
    return m_bus->subscriptions().remove(name, receiver, slot);
}

bool JovModule::notifyEvent(const JovEvent &event)
{
    return notifyEvent(event.getEvtName(), event.arguments());
}

bool JovModule::notifyEvent(const QString &name, const QVariantMap &arguments)
{
    return m_bus->notify(name, arguments);
}

JovReply JovModule::syncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments)
{
    if (!m_bus->link().isOpen()) {
        throw new JovException(this, JovException::BusUnavailable,
                               QStringLiteral("no bus to call %1 of %2").arg(method, component));
    }
    const BusMessage call = methodCall(component, method, arguments);
    if (call.isNull()) {
        return {QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"),
                QStringLiteral("a name or an argument of %1 cannot travel on the bus").arg(method)};
    }
    return replyOf(m_bus->link().callAndWait(call, replyLimit));
}

bool JovModule::asyncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments,
                                const std::function<void(const JovReply &)> &reply)
{
    BusMessage call = methodCall(component, method, arguments);
    if (call.isNull() || !m_bus->link().isOpen()) {
        return false;
    }
    if (reply) {
        return m_bus->link().connection().call(call, replyLimit,
                                               [reply](const BusMessage &message) { reply(replyOf(message)); });
    }
    call.setWantsNoReply();
    return m_bus->link().send(call);
}

void JovModule::exit()
{
    if (m_exiting) {
        return;
    }
    m_exiting = true;
    // Queued: a caller on the bus has its reply before anything is stopped.
    if (JovApplication *application = JovApplication::instance()) {
        QMetaObject::invokeMethod(
            application, [application] { application->end(); }, Qt::QueuedConnection);
    }
}

bool JovModule::isBusCall() const
{
    return m_bus->link().object().isCall();
}

void JovModule::failBusCall(const QString &text)
{
    m_bus->link().object().failCall(text);
}

bool JovModule::sendSignal(const QString &path, const QString &interface, const QString &member,
                           const QVariantList &arguments)
{
    BusMessage signal = BusMessage::signal(path, interface.toUtf8(), member.toUtf8());
    return signal.setArguments(arguments) && m_bus->link().send(signal);
}

bool JovModule::check()
{
    return true;
}

bool JovModule::deploy()
{
    return true;
}

bool JovModule::init()
{
    return true;
}

bool JovModule::init_step()
{
    return true;
}

bool JovModule::presentation_loaded()
{
    return true;
}

bool JovModule::presentation_stop()
{
    return true;
}

bool JovModule::stop()
{
    return true;
}

bool JovModule::preSaveForSaveRestore()
{
    return true;
}

bool JovModule::postRestoreForSaveRestore()
{
    return true;
}

bool JovModule::restoreDataToDefault()
{
    return true;
}

bool JovModule::restoreDataToFactory()
{
    return true;
}
