#ifndef COMPONENT_BUS_H
#define COMPONENT_BUS_H

#include "supervision/BusAccess.h"

#include <jov/JovModule.h>

/// The bus as the parts of the supervisor see it: that of its component, which outlives this.
class ComponentBus : public BusAccess
{
public:
    explicit ComponentBus(JovModule &component)
        : m_component(component)
    { }

    bool subscribeEvent(const QString &name, QObject *receiver, const char *slot) override
    {
        return m_component.subscribeEvent(name, receiver, slot);
    }
    bool unsubscribeEvent(const QString &name, QObject *receiver, const char *slot) override
    {
        return m_component.unsubscribeEvent(name, receiver, slot);
    }
    bool notifyEvent(const QString &name, const QVariantMap &arguments) override
    {
        return m_component.notifyEvent(name, arguments);
    }
    JovReply syncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments) override
    {
        return m_component.syncRemoteCall(component, method, arguments);
    }
    bool asyncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments,
                         const std::function<void(const JovReply &)> &reply) override
    {
        return m_component.asyncRemoteCall(component, method, arguments, reply);
    }
    [[nodiscard]] QMap<QString, QString> getParameters() const override { return m_component.getParameters(); }

private:
    JovModule &m_component;
};

#endif
