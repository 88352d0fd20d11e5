#ifndef BUS_CLIENT_H
#define BUS_CLIENT_H

#include "client/Records.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariant>

/**
 * Calls the daemon over the bus. It builds the messages itself: QDBusInterface would introspect the daemon first, which
 * doubles the time of a short command.
 *
 * Every function throws a Failure: ExitStatus::NoDaemon without a bus or a daemon, else Failed.
 */
class BusClient
{
public:
    static QString service();
    static QString path();

    /// Decides which users the error names when the bus refuses a call.
    enum class Purpose { Look, Control };

    explicit BusClient(Purpose purpose = Purpose::Look);

    [[nodiscard]] QDBusConnection connection() const { return m_connection; }

    [[nodiscard]] ModuleList modules() const;
    [[nodiscard]] StepList steps() const;
    [[nodiscard]] TimelineList timeline() const;
    /// A property of the inspection interface.
    [[nodiscard]] int property(QLatin1String name) const { return value(name).toInt(); }
    [[nodiscard]] QVariant value(QLatin1String name) const;
    void setLogLevel(int level) const;

    /// Calls a method of the control interface and waits for the reply without a time limit. After a second it prints
    /// on standard error what the daemon is waiting for.
    void control(const QString &method, const QVariantList &arguments = {}) const;

    /// Sends an event, as any component could.
    void sendEvent(const QString &name, const QVariantMap &arguments) const;

    /// The unique name of the daemon's connection; empty without a daemon.
    [[nodiscard]] QString owner() const;

private:
    QDBusMessage call(const QString &interface, const QString &method, const QVariantList &arguments = {}) const;

    Purpose m_purpose;
    QDBusConnection m_connection;
};

/// Throws a Failure for the error that a call has got that only looks.
void checkLook(const QDBusMessage &reply);

/// Throws a Failure, with suggestions, for the first name without a module.
void checkNames(const ModuleList &modules, const QStringList &names);

#endif
