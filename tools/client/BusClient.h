#ifndef BUS_CLIENT_H
#define BUS_CLIENT_H

#include "client/Records.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariant>

/**
 * The daemon, as seen from the other end of the bus. Messages are built by hand: asking the daemon first what it offers
 * would double the time of a short command.
 *
 * Everything throws a Failure: ExitStatus::NoDaemon when there is no bus or nobody of the daemon's name, else Failed.
 */
class BusClient
{
public:
    static QString service();
    static QString path();
    static QString inspectionInterface();
    static QString controlInterface();

    /// What it is wanted for: whom a refusal names, who may do that.
    enum class Purpose { Look, Control };

    explicit BusClient(Purpose purpose = Purpose::Look);

    [[nodiscard]] QDBusConnection connection() const { return m_connection; }

    [[nodiscard]] ModuleList modules() const;
    [[nodiscard]] StepList steps() const;
    [[nodiscard]] TimelineList timeline() const;
    [[nodiscard]] QVariantMap properties() const;
    void setLogLevel(int level) const;

    /// Calls a method of the control interface and waits for the answer however long it takes, telling on standard
    /// error what the daemon is waiting for when it takes longer than a second.
    QVariant control(const QString &method, const QVariantList &arguments = {}) const;

    /// The unique name of the daemon's connection; empty when there is no daemon.
    [[nodiscard]] QString owner() const;

private:
    QDBusMessage call(const QString &interface, const QString &method, const QVariantList &arguments = {}) const;

    Purpose m_purpose;
    QDBusConnection m_connection;
};

/// Throws a Failure, with the names that may have been meant, for the first name that is not a module's.
void checkNames(const ModuleList &modules, const QStringList &names);

#endif
