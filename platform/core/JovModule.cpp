#include "core/EventBus.h"
#include "qtdbus/EventValue.h"
#include "system/LifeSign.h"

#include <jov/BusNames.h>
#include <jov/JovApplication.h>
#include <jov/JovException.h>
#include <jov/JovModule.h>
#include <jov/SettingsParam.h>

#include <QDBusError>

namespace {

constexpr int replyLimit = 25000;

const QString errorName = QStringLiteral("com.velmora.Jovara.Error.Failed");

QDBusMessage methodCall(const QString &component, const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(BusNames::service(component), BusNames::object(component),
                                                          BusNames::methodInterface(), method);
    message.setArguments(arguments);
    return message;
}

} // namespace

JovModule::JovModule(const QString &moduleName, QObject *parent)
    : QObject(parent)
    , m_moduleName(moduleName)
    , m_bus(std::make_unique<EventBus>(moduleName, this))
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
    QDBusMessage message =
        QDBusMessage::createSignal(BusNames::object(m_moduleName), BusNames::eventInterface(), BusNames::eventMember());
    message.setArguments({name, arguments});
    return m_bus->send(message);
}

QDBusMessage JovModule::syncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments)
{
    if (!m_bus->link().isOpen()) {
        throw new JovException(this, JovException::BusUnavailable,
                               QStringLiteral("no bus to call %1 of %2").arg(method, component));
    }
    const QDBusMessage call = methodCall(component, method, arguments);
    if (!EventValue::canTravel(call)) {
        return call.createErrorReply(QDBusError::InvalidArgs,
                                     QStringLiteral("an argument of %1 cannot travel on the bus").arg(method));
    }
    LifeSign::give();
    return m_bus->link().connection().call(call, QDBus::Block, replyLimit);
}

bool JovModule::asyncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments)
{
    return m_bus->send(methodCall(component, method, arguments));
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

void JovModule::failBusCall(const QString &text)
{
    if (calledFromDBus()) {
        sendErrorReply(errorName, text);
    }
}

QDBusConnection JovModule::busConnection() const
{
    return m_bus->link().connection();
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
