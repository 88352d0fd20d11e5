#ifndef TERMINAL_BUS_H
#define TERMINAL_BUS_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariant>

/// The simulator's connection to the terminal's private bus.
class TerminalBus
{
public:
    /// False when the bus does not listen.
    bool connectTo(const QString &address);
    [[nodiscard]] QDBusConnection connection() const { return m_bus; }

    /// Calls a method of the daemon's inspection interface and waits for the reply, five seconds at most. An error
    /// message on failure.
    [[nodiscard]] QDBusMessage inspect(const QString &method) const;
    /// Makes the daemon stop everything in order and end.
    void stopDaemon() const;
    void sendEvent(const QString &name, const QVariantMap &arguments) const;

private:
    QDBusConnection m_bus = QDBusConnection(QString());
};

#endif
