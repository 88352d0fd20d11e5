#ifndef SUPERVISING_COMPONENT_H
#define SUPERVISING_COMPONENT_H

#include "supervision/Supervisor.h"

#include <jov/JovModule.h>

/// A component of the platform whose place on the bus is the supervisor's too.
class SupervisingComponent : public JovModule, public Supervisor
{
public:
    using JovModule::JovModule;

    bool subscribeEvent(const QString &name, QObject *receiver, const char *slot) override
    {
        return JovModule::subscribeEvent(name, receiver, slot);
    }
    bool unsubscribeEvent(const QString &name, QObject *receiver, const char *slot) override
    {
        return JovModule::unsubscribeEvent(name, receiver, slot);
    }
    bool notifyEvent(const QString &name, const QVariantMap &arguments) override
    {
        return JovModule::notifyEvent(name, arguments);
    }
    QDBusMessage syncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments) override
    {
        return JovModule::syncRemoteCall(component, method, arguments);
    }
    bool asyncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments) override
    {
        return JovModule::asyncRemoteCall(component, method, arguments);
    }
    [[nodiscard]] QMap<QString, QString> getParameters() const override { return JovModule::getParameters(); }
};

#endif
