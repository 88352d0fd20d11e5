#ifndef BUS_ACCESS_H
#define BUS_ACCESS_H

#include <jov/JovReply.h>

#include <QMap>
#include <QString>
#include <QVariant>

#include <functional>

class QObject;

/// What a part of the supervisor needs of the bus. The component implements it; its functions are those of JovModule.
class BusAccess
{
public:
    virtual ~BusAccess() = default;

    virtual bool subscribeEvent(const QString &name, QObject *receiver, const char *slot) = 0;
    virtual bool unsubscribeEvent(const QString &name, QObject *receiver, const char *slot) = 0;
    virtual bool notifyEvent(const QString &name, const QVariantMap &arguments = QVariantMap()) = 0;
    /// Blocks until the reply has come: nothing else of the manager runs in between. Throws a `JovException *` without
    /// a bus.
    [[nodiscard]] virtual JovReply syncRemoteCall(const QString &component, const QString &method,
                                                  const QVariantList &arguments) = 0;
    /// `reply` is called later, once, unless this returns false: the call was not sent.
    virtual bool asyncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments,
                                 const std::function<void(const JovReply &)> &reply) = 0;
    /// The manager's own section of platform.ini.
    [[nodiscard]] virtual QMap<QString, QString> getParameters() const = 0;
};

#endif
